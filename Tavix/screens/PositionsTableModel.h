#pragma once

#include "screens/TextTableModel.h"

namespace tavix {

// What the account holds, one position a row: Symbol, Quantity, Average price, Market value and
// Unrealised P/L, the last in green or red.
class PositionsTableModel : public TextTableModel {
    Q_OBJECT

public:
    enum Column { symbolColumn, quantityColumn, averageColumn, valueColumn, profitColumn, columnTotal };

    // The app model must outlive the table model.
    explicit PositionsTableModel(const AppModel& model, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
};

}  // namespace tavix
