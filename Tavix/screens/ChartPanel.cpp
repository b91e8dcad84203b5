#include "screens/ChartPanel.h"

#include "core/AppModel.h"
#include "screens/ChartView.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>
#include <utility>

namespace tavix {

namespace {

const std::array<std::pair<CandleInterval, const char*>, 5> choices = {{
    {CandleInterval::oneMinute, "1m"},
    {CandleInterval::fiveMinute, "5m"},
    {CandleInterval::fifteenMinute, "15m"},
    {CandleInterval::hourly, "1h"},
    {CandleInterval::daily, "1D"},
}};

}  // namespace

ChartPanel::ChartPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      title_(new QLabel),
      intervals_(new QButtonGroup(this)),
      view_(new ChartView(model)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    auto* top = new QHBoxLayout;
    top->setSpacing(4);
    title_->setObjectName(QStringLiteral("chartTitle"));
    title_->setTextFormat(Qt::PlainText);
    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);  // a long name never widens it
    top->addWidget(title_);
    top->addStretch(1);
    intervals_->setExclusive(true);
    for (std::size_t i = 0; i < choices.size(); ++i) {
        auto* button = new QToolButton;
        button->setText(QString::fromLatin1(choices[i].second));
        button->setObjectName(QStringLiteral("interval-") + button->text());
        button->setCheckable(true);
        button->setAutoRaise(false);
        button->setFocusPolicy(Qt::StrongFocus);
        intervals_->addButton(button, static_cast<int>(i));
        top->addWidget(button);
    }
    layout->addLayout(top);
    layout->addWidget(view_, 1);

    QObject::connect(intervals_, &QButtonGroup::idClicked, this, [this](int id) {
        const CandleInterval chosen = choices.at(static_cast<std::size_t>(id)).first;
        if (chosen != model_.chartInterval()) model_.setChartInterval(chosen);
    });
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::selectedSymbol) showTitle();
        if (field == AppModel::Field::chartInterval) showInterval();
    });
    showTitle();
    showInterval();
}

QList<QAbstractButton*> ChartPanel::intervalButtons() const {
    QList<QAbstractButton*> buttons;
    for (std::size_t i = 0; i < choices.size(); ++i) buttons << intervals_->button(static_cast<int>(i));
    return buttons;
}

void ChartPanel::showTitle() {
    const QString& symbol = model_.selectedSymbol();
    title_->setText(symbol.isEmpty() ? QStringLiteral("Chart") : symbol);
}

void ChartPanel::showInterval() {
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (choices[i].first != model_.chartInterval()) continue;
        intervals_->button(static_cast<int>(i))->setChecked(true);
        return;
    }
    // An interval without a button here (one set elsewhere) leaves none checked.
    if (auto* checked = intervals_->checkedButton()) {
        intervals_->setExclusive(false);
        checked->setChecked(false);
        intervals_->setExclusive(true);
    }
}

}  // namespace tavix
