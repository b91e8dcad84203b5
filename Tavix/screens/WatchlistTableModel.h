#pragma once

#include <QAbstractTableModel>

namespace tavix {

class WatchlistModel;

// The watchlist as table rows: one symbol a row, its prices as the text the user reads.
class WatchlistTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { symbolColumn, lastColumn, changeColumn, percentColumn, bidColumn, askColumn, columnTotal };

    // The watchlist must outlive the table model.
    explicit WatchlistTableModel(const WatchlistModel& watchlist, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    QVariant text(const QString& symbol, int column) const;
    QVariant colour(const QString& symbol, int column) const;

    const WatchlistModel& watchlist_;
};

}  // namespace tavix
