#include "screens/TableStyle.h"

#include <QHeaderView>
#include <QTableView>

namespace tavix {

void styleTable(QTableView& table) {
    table.setShowGrid(false);
    table.setAlternatingRowColors(true);
    table.setSelectionBehavior(QAbstractItemView::SelectRows);
    table.setSelectionMode(QAbstractItemView::SingleSelection);
    table.setEditTriggers(QAbstractItemView::NoEditTriggers);
    table.setWordWrap(false);
    table.setCornerButtonEnabled(false);
    table.verticalHeader()->hide();
    table.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table.verticalHeader()->setDefaultSectionSize(table.fontMetrics().height() + 12);

    QHeaderView* header = table.horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setMinimumSectionSize(64);
    header->setSectionResizeMode(QHeaderView::Stretch);
}

}  // namespace tavix
