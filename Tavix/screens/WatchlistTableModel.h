#pragma once

#include "screens/TextTableModel.h"

#include <QElapsedTimer>
#include <QStringList>

#include <map>

class QTimer;

namespace tavix {

struct Quote;

// The model's watchlist as table rows, in the order its sort gives: one symbol a row, its quote as
// the text the user reads. A price that changes flashes its cell briefly, green up and red down.
// While the list is in the user's own order, rows can be dragged to a new place.
class WatchlistTableModel : public TextTableModel {
    Q_OBJECT

public:
    enum Column {
        symbolColumn,
        lastColumn,
        changeColumn,
        percentColumn,
        bidColumn,
        askColumn,
        volumeColumn,
        highColumn,
        lowColumn,
        columnTotal
    };
    // How long a changed price stays tinted.
    static constexpr int flashMs = 450;

    // The app model must outlive the table model. It is changed only through its actions (moving
    // a dragged row).
    explicit WatchlistTableModel(AppModel& model, QObject* parent = nullptr);

    // The symbol of a row, or nothing past the end.
    QString symbolAt(int row) const;
    // The row of a symbol, or -1.
    int rowOf(const QString& symbol) const;
    // The sort a column's header chooses: the figure that column shows.
    static WatchlistSort sortOf(int column);
    // Column names as they are saved ("symbol", "last" …), and back.
    static QString columnName(int column);
    static int columnNamed(const QString& name);
    // Whether rows may be dragged: only in the user's own order.
    bool canReorder() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    void reorder(bool reset);
    void noteChangedPrices();
    void endFlashes();
    const Quote* quote(const QString& symbol) const;
    QVariant text(const QString& symbol, int column) const;
    QVariant colour(const QString& symbol, int column) const;
    QVariant flash(const QString& symbol, int column) const;

    AppModel& actions_;
    QStringList rows_;
    std::map<QString, Decimal> lastSeen_;
    struct Flash {
        bool rose = false;
        qint64 until = 0;
    };
    std::map<QString, Flash> flashes_;
    QElapsedTimer clock_;
    QTimer* flashTimer_;
};

}  // namespace tavix
