#pragma once

#include "core/AppModel.h"

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

namespace tavix {

// A read-only table of text over the app model: named columns, words aligned left and figures
// right, and rows read afresh whenever the model says the field they show changed.
class TextTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

protected:
    // The app model must outlive the table model. `titles` name the columns in order;
    // `wordColumns` are the ones aligned left.
    TextTableModel(const AppModel& model, AppModel::Field rows, QStringList titles, QList<int> wordColumns,
                   QObject* parent);

    // Whether `index` is a cell of a row there is something for.
    bool holds(const QModelIndex& index) const { return index.isValid() && index.row() < rowCount(); }
    // The answer to Qt::TextAlignmentRole for a column.
    QVariant alignment(int column) const;

    const AppModel& model_;

private:
    QStringList titles_;
    QList<int> wordColumns_;
};

}  // namespace tavix
