#pragma once

#include "market/Date.h"
#include "screens/TextTableModel.h"

#include <functional>

namespace tavix {

struct Order;

// The account's orders, one a row: Symbol, Side, Type, Quantity, Limit / Stop, Status and the
// time it was submitted, all in plain words.
class OrdersTableModel : public TextTableModel {
    Q_OBJECT

public:
    enum Column {
        symbolColumn,
        sideColumn,
        typeColumn,
        quantityColumn,
        priceColumn,
        statusColumn,
        submittedColumn,
        columnTotal
    };

    // The app model must outlive the table model. `now` tells which day is today, so a time of
    // today shows without its date.
    explicit OrdersTableModel(const AppModel& model, QObject* parent = nullptr,
                              std::function<Date()> now = &Date::now);

    // The prices an order waits for: "101.00", "stop 99.50", "101.00, stop 99.50", "trail 2.00",
    // or a dash for a market order.
    // How much: the count, or for an order placed by an amount of money, that amount (with what
    // has filled so far once something has).
    static QString quantityCell(const Order& order);
    static QString pricesText(const Order& order);
    // The local time of `at`, with the day when it is not the day of `today`.
    static QString submittedText(Date at, Date today);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    std::function<Date()> now_;
};

}  // namespace tavix
