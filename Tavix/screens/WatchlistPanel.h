#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QListView;
class QStandardItemModel;
class QTimer;

namespace tavix {

class AppModel;
class WatchlistView;

// The watchlist with its add box: typing looks the text up at the broker after a short pause and
// lists the matches under the box; Enter or a click on a match adds the symbol, and a complaint
// shows under the box.
class WatchlistPanel : public QWidget {
    Q_OBJECT

public:
    // How long typing must pause before the text is looked up.
    static constexpr int lookUpPauseMs = 250;

    // The app model must outlive the panel.
    explicit WatchlistPanel(AppModel& model, QWidget* parent = nullptr);

    WatchlistView* table() const { return table_; }
    QLineEdit* addBox() const { return addBox_; }
    // Puts the focus in the add box with `text` typed into it, as typing anywhere in the window does.
    void startTyping(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void edited(const QString& text);
    void lookUp();
    void enter();
    void add(const QString& symbol);
    void showMatches();
    void showError();
    void showDraft();
    void moveInMatches(int step);

    AppModel& model_;
    QLineEdit* addBox_;
    QListView* matchList_;
    QStandardItemModel* matches_;
    QLabel* error_;
    WatchlistView* table_;
    QTimer* pause_;
};

}  // namespace tavix
