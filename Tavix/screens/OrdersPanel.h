#pragma once

#include <QWidget>

class QPushButton;
class QTableView;

namespace tavix {

class AppModel;
class OrdersTableModel;

// The orders tab: the account's orders in plain words with a Cancel button for the selected
// working order (also Delete), and the price of a working order edited in place to move it.
class OrdersPanel : public QWidget {
    Q_OBJECT

public:
    // The app model must outlive the panel.
    explicit OrdersPanel(AppModel& model, QWidget* parent = nullptr);

    QTableView* table() const { return table_; }
    OrdersTableModel* rows() const { return rows_; }
    // Cancels the selected order, with its linked exits; nothing when none is selected or it ended.
    void cancelSelected();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showButton();

    AppModel& model_;
    OrdersTableModel* rows_;
    QTableView* table_;
    QPushButton* cancel_;
};

}  // namespace tavix
