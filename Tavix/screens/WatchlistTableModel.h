#pragma once

#include "screens/TextTableModel.h"

namespace tavix {

struct Quote;

// The model's watchlist as table rows: one symbol a row, its quote as the text the user reads.
class WatchlistTableModel : public TextTableModel {
    Q_OBJECT

public:
    enum Column { symbolColumn, lastColumn, changeColumn, percentColumn, bidColumn, askColumn, columnTotal };

    // The app model must outlive the table model.
    explicit WatchlistTableModel(const AppModel& model, QObject* parent = nullptr);

    // The symbol of a row, or nothing past the end.
    QString symbolAt(int row) const;
    // The row of a symbol, or -1.
    int rowOf(const QString& symbol) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    const Quote* quote(const QString& symbol) const;
    QVariant text(const QString& symbol, int column) const;
    QVariant colour(const QString& symbol, int column) const;
};

}  // namespace tavix
