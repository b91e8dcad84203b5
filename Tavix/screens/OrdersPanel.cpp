#include "screens/OrdersPanel.h"

#include "core/AppModel.h"
#include "screens/ModelTask.h"
#include "screens/OrdersTableModel.h"
#include "screens/TableStyle.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace tavix {

OrdersPanel::OrdersPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      rows_(new OrdersTableModel(model, this)),
      table_(new QTableView),
      cancel_(new QPushButton(QStringLiteral("Cancel Order"))) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->setSpacing(6);
    auto* top = new QHBoxLayout;
    cancel_->setObjectName(QStringLiteral("cancelOrder"));
    cancel_->setToolTip(QStringLiteral("Cancel the selected order (Delete)"));
    top->addWidget(cancel_);
    top->addStretch(1);
    layout->addLayout(top);

    table_->setObjectName(QStringLiteral("orders"));
    table_->setModel(rows_);
    styleTable(*table_);
    table_->setTabKeyNavigation(false);
    table_->setTextElideMode(Qt::ElideRight);
    table_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->installEventFilter(this);
    layout->addWidget(table_, 1);
    setFocusProxy(table_);

    QObject::connect(cancel_, &QPushButton::clicked, this, &OrdersPanel::cancelSelected);
    QObject::connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &OrdersPanel::showButton);
    QObject::connect(rows_, &QAbstractItemModel::modelReset, this, &OrdersPanel::showButton);
    showButton();
}

void OrdersPanel::showButton() {
    const Order* order = rows_->orderAt(table_->currentIndex().row());
    cancel_->setEnabled(order && order->isOpen());
}

void OrdersPanel::cancelSelected() {
    const int row = table_->currentIndex().row();
    const Order* order = rows_->orderAt(row);
    if (!order || !order->isOpen()) return;
    startModelTask(model_.cancel(*order, rows_->isLinked(row)));
}

bool OrdersPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == table_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        // While a price is edited the keys go to its editor, not here.
        if (key->key() == Qt::Key_Delete || key->key() == Qt::Key_Backspace) {
            cancelSelected();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace tavix
