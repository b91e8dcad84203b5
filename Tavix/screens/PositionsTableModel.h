#pragma once

#include <QAbstractTableModel>

namespace tavix {

class AppModel;

// What the account holds, one position a row: Symbol, Quantity, Average price, Market value and
// Unrealised P/L, the last in green or red.
class PositionsTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { symbolColumn, quantityColumn, averageColumn, valueColumn, profitColumn, columnTotal };

    // The app model must outlive the table model.
    explicit PositionsTableModel(const AppModel& model, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    const AppModel& model_;
};

}  // namespace tavix
