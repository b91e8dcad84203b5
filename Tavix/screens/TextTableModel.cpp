#include "screens/TextTableModel.h"

#include <utility>

namespace tavix {

TextTableModel::TextTableModel(const AppModel& model, AppModel::Field rows, QStringList titles,
                               QList<int> wordColumns, QObject* parent)
    : QAbstractTableModel(parent),
      model_(model),
      titles_(std::move(titles)),
      wordColumns_(std::move(wordColumns)) {
    QObject::connect(&model_, &AppModel::changed, this, [this, rows](AppModel::Field field) {
        if (field != rows) return;
        // The rows have already changed when the model says so; a reset makes views read them afresh.
        beginResetModel();
        endResetModel();
    });
}

int TextTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(titles_.size());
}

QVariant TextTableModel::alignment(int column) const {
    return wordColumns_.contains(column) ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                         : QVariant(Qt::AlignRight | Qt::AlignVCenter);
}

QVariant TextTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) return alignment(section);
    if (role != Qt::DisplayRole || section < 0 || section >= titles_.size()) return {};
    return titles_.at(section);
}

}  // namespace tavix
