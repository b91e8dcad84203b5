#include "screens/WatchlistPanel.h"

#include "core/AppModel.h"
#include "screens/ModelTask.h"
#include "screens/WatchlistView.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QStandardItemModel>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace tavix {

namespace {

constexpr int symbolRole = Qt::UserRole + 1;
constexpr int visibleMatches = 6;

}  // namespace

WatchlistPanel::WatchlistPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      addBox_(new QLineEdit),
      matchList_(new QListView),
      matches_(new QStandardItemModel(this)),
      error_(new QLabel),
      table_(new WatchlistView(model)),
      pause_(new QTimer(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    addBox_->setObjectName(QStringLiteral("watchlistAdd"));
    addBox_->setPlaceholderText(QStringLiteral("Add a symbol"));
    addBox_->setClearButtonEnabled(true);
    addBox_->installEventFilter(this);
    layout->addWidget(addBox_);

    matchList_->setObjectName(QStringLiteral("symbolMatches"));
    matchList_->setModel(matches_);
    matchList_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    matchList_->setFocusPolicy(Qt::NoFocus);  // the box keeps the keys; arrows move in the list
    matchList_->setUniformItemSizes(true);
    matchList_->hide();
    layout->addWidget(matchList_);

    error_->setObjectName(QStringLiteral("watchlistError"));
    error_->setWordWrap(true);
    error_->setTextFormat(Qt::PlainText);
    // A complaint wraps within the panel; it never makes the panel wider.
    error_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    error_->setMinimumWidth(1);
    error_->hide();
    layout->addWidget(error_);

    layout->addWidget(table_, 1);

    pause_->setSingleShot(true);
    pause_->setInterval(lookUpPauseMs);
    QObject::connect(pause_, &QTimer::timeout, this, &WatchlistPanel::lookUp);
    QObject::connect(addBox_, &QLineEdit::textEdited, this, &WatchlistPanel::edited);
    QObject::connect(addBox_, &QLineEdit::returnPressed, this, &WatchlistPanel::enter);
    QObject::connect(matchList_, &QListView::clicked, this,
                     [this](const QModelIndex& index) { add(index.data(symbolRole).toString()); });
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        switch (field) {
            case AppModel::Field::symbolMatches:
                showMatches();
                break;
            case AppModel::Field::watchlistError:
                showError();
                break;
            case AppModel::Field::watchlistDraft:
                showDraft();
                break;
            default:
                break;
        }
    });
    showError();
}

void WatchlistPanel::edited(const QString& text) {
    model_.setWatchlistDraft(text);
    if (text.trimmed().isEmpty()) {
        pause_->stop();
        matchList_->hide();
        return;
    }
    pause_->start();
}

void WatchlistPanel::lookUp() {
    if (model_.watchlistDraft().trimmed().isEmpty()) return;
    startModelTask(model_.lookUp());
}

void WatchlistPanel::startTyping(const QString& text) {
    // The first letter starts afresh; letters that arrive before the box has the focus add on.
    if (addBox_->hasFocus()) {
        addBox_->insert(text);
    } else {
        addBox_->setFocus(Qt::ShortcutFocusReason);
        addBox_->setText(text);
    }
    edited(addBox_->text());
}

void WatchlistPanel::enter() {
    // A match picked with the arrows wins over the typed text.
    const QModelIndex picked = matchList_->currentIndex();
    QString chosen = matchList_->isVisible() && picked.isValid() && matchList_->selectionModel()->isSelected(picked)
                         ? picked.data(symbolRole).toString()
                         : addBox_->text().trimmed();
    if (chosen.isEmpty()) return;
    // A symbol already on the list is found rather than added again: the chart jumps to it.
    const QString upper = chosen.toUpper();
    for (const QString& listed : model_.watchlist()) {
        if (listed != upper) continue;
        pause_->stop();
        model_.switchTo(listed);
        addBox_->clear();
        model_.setWatchlistDraft(QString());
        matchList_->hide();
        table_->setFocus(Qt::OtherFocusReason);
        return;
    }
    add(chosen);
}

void WatchlistPanel::add(const QString& symbol) {
    if (symbol.isEmpty()) return;
    pause_->stop();
    QPointer<WatchlistPanel> self(this);
    QCoro::connect(model_.addToWatchlist(symbol), this, [self] {
        // The box empties once the symbol is in; a complaint leaves the text to be corrected.
        if (!self || self->model_.watchlistError()) return;
        self->addBox_->clear();
        self->model_.setWatchlistDraft(QString());
        self->matchList_->hide();
    });
}

void WatchlistPanel::showMatches() {
    matches_->clear();
    for (const SymbolMatch& match : model_.symbolMatches()) {
        const QString text =
            match.name.isEmpty() ? match.symbol : match.symbol + QStringLiteral("   ") + match.name;
        auto* item = new QStandardItem(text);
        item->setData(match.symbol, symbolRole);
        item->setToolTip(text);
        matches_->appendRow(item);
    }
    const int rows = matches_->rowCount();
    const bool wanted = rows > 0 && !addBox_->text().trimmed().isEmpty();
    if (wanted) {
        const int rowHeight = std::max(matchList_->sizeHintForRow(0), fontMetrics().height() + 6);
        matchList_->setFixedHeight(std::min(rows, visibleMatches) * rowHeight + 2 * matchList_->frameWidth() +
                                   2);
    }
    matchList_->setVisible(wanted);
}

void WatchlistPanel::showError() {
    const auto& error = model_.watchlistError();
    error_->setText(error.value_or(QString()));
    error_->setVisible(error.has_value());
}

void WatchlistPanel::showDraft() {
    // The model may change the draft itself (it empties it after an add); the box follows.
    if (addBox_->text() != model_.watchlistDraft()) addBox_->setText(model_.watchlistDraft());
}

void WatchlistPanel::moveInMatches(int step) {
    const int rows = matches_->rowCount();
    if (!matchList_->isVisible() || rows == 0) return;
    const QModelIndex current = matchList_->currentIndex();
    const int row = current.isValid() && matchList_->selectionModel()->isSelected(current)
                        ? std::clamp(current.row() + step, 0, rows - 1)
                        : (step > 0 ? 0 : rows - 1);
    matchList_->setCurrentIndex(matches_->index(row, 0));
}

bool WatchlistPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == addBox_ && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        switch (key->key()) {
            case Qt::Key_Down:
                moveInMatches(1);
                return true;
            case Qt::Key_Up:
                moveInMatches(-1);
                return true;
            case Qt::Key_Escape:
                if (!matchList_->isVisible()) break;
                matchList_->hide();
                return true;
            default:
                break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace tavix
