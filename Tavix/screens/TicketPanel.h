#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

namespace tavix {

class AppModel;

// The ticket beside the chart, for the selected symbol. In easy mode: Buy or Sell (a short sale is
// "Betting it goes down"), how many shares (or dollars of a coin), and a sell price and a get-out
// price prefilled from the price now. In expert mode also the order type, its prices, how long it
// lasts, extended hours, and a take-profit and a stop-loss. Enter checks the order and shows what
// it will do; Enter again sends it, Escape backs out.
class TicketPanel : public QWidget {
    Q_OBJECT

public:
    // The app model must outlive the panel.
    explicit TicketPanel(AppModel& model, QWidget* parent = nullptr);

    // Opens the ticket on the selected symbol as a buy or a sale, the focus on how much.
    void start(bool buy);
    // Checks the order and shows the confirmation (as Enter does).
    void check();
    // Sends the confirmed order (as Enter on the confirmation does).
    void send();
    // Backs out of the confirmation (as Escape does).
    void back();
    bool confirming() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showMode();
    void showSymbol();
    void showTicket();
    void showType();
    void prefill();
    void showWhat();
    void showChain();
    // The contract the chain boxes name, or nothing.
    const struct OptionContract* chosenContract() const;

    AppModel& model_;
    QLabel* title_;
    QStackedWidget* pages_;
    QComboBox* what_;    // shares (or coins) or options
    QComboBox* expiry_;  // the chain's expiries
    QComboBox* right_;   // calls or puts
    QComboBox* strike_;  // strikes with their bid and ask
    QComboBox* side_;
    QLineEdit* quantity_;
    QComboBox* type_;
    QLineEdit* limit_;
    QLineEdit* stop_;
    QLineEdit* trail_;
    QComboBox* lasts_;
    QCheckBox* extended_;
    QLineEdit* target_;
    QLineEdit* getOut_;
    QPushButton* check_;
    QLabel* sentence_;
    QLabel* notes_;
    QPushButton* send_;
    QPushButton* back_;
    bool waitingForPreview_ = false;
};

}  // namespace tavix
