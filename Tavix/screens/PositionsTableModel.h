#pragma once

#include "screens/TextTableModel.h"

#include <vector>

namespace tavix {

// What the account holds, one position a row: Symbol, Quantity, Average price, Market value,
// Unrealised P/L (in green or red), and the exits that work on it by the part they play ("Sell
// price 190.00 · Get-out 175.00 STP").
class PositionsTableModel : public TextTableModel {
    Q_OBJECT

public:
    enum Column { symbolColumn, quantityColumn, averageColumn, valueColumn, profitColumn, exitsColumn, columnTotal };
    // The open exits on a symbol, in words: each one's part and price.
    static QString exitsText(const QString& symbol, const std::vector<Order>& orders, Mode mode);

    // The app model must outlive the table model.
    explicit PositionsTableModel(const AppModel& model, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
};

}  // namespace tavix
