#pragma once

#include "market/Enums.h"

#include <QWidget>

#include <map>

class QAbstractButton;
class QButtonGroup;
class QLabel;

namespace tavix {

class AppModel;
class ChartView;

// The chart with the selected symbol as its title and the interval choice: 1m, 5m, 15m, 1h, 1D.
class ChartPanel : public QWidget {
    Q_OBJECT

public:
    // The app model must outlive the panel.
    explicit ChartPanel(AppModel& model, QWidget* parent = nullptr);

    ChartView* view() const { return view_; }
    // The interval buttons, in order: 1m, 5m, 15m, 1h, 1D.
    QList<QAbstractButton*> intervalButtons() const;

private:
    void showTitle();
    void showInterval();

    AppModel& model_;
    QLabel* title_;
    QButtonGroup* intervals_;
    ChartView* view_;
};

}  // namespace tavix
