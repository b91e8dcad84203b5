#pragma once

#include "market/Date.h"
#include "screens/TextTableModel.h"

#include <functional>
#include <vector>

namespace tavix {

struct Order;

// The account's orders in the words of the mode in use, one a row, each bracket's or pair's exits
// on rows of their own under it: Symbol, Side (by the part the order plays), How much, Price,
// How long it lasts, What happened, and when it was sent. A working order's price can be edited in
// place, which moves the order there.
class OrdersTableModel : public TextTableModel {
    Q_OBJECT

public:
    enum Column {
        symbolColumn,
        sideColumn,
        quantityColumn,
        priceColumn,
        lastsColumn,
        happenedColumn,
        submittedColumn,
        columnTotal
    };

    // The app model must outlive the table model. `now` tells which day is today, so a time of
    // today shows without its date.
    explicit OrdersTableModel(AppModel& model, QObject* parent = nullptr, std::function<Date()> now = &Date::now);

    // The order of a row and the order it hangs under (nothing for a top-level order).
    const Order* orderAt(int row) const;
    const Order* parentAt(int row) const;
    // Whether cancelling the order of a row takes linked exits with it.
    bool isLinked(int row) const;
    // How much: the count, or for an order placed by an amount of money, that amount (with what
    // has filled so far once something has).
    static QString quantityCell(const Order& order);
    // The local time of `at`, with the day when it is not the day of `today`.
    static QString submittedText(Date at, Date today);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

private:
    struct Row {
        const Order* order;
        const Order* parent;
    };
    void rebuild();

    AppModel& actions_;
    std::function<Date()> now_;
    std::vector<Row> rows_;
};

}  // namespace tavix
