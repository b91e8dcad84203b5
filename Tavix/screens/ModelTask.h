#pragma once

#include <qcoro/qcorotask.h>

namespace tavix {

// Starts one of the model's actions from a click or a key and lets it run on its own. The model
// shows its own trouble (the banner, the watchlist's complaint), so the screen waits for nothing;
// an exception that still escapes is logged rather than lost.
void startModelTask(QCoro::Task<void> task);

// The same action as a task that never throws, for a screen that wants to know when it ended.
QCoro::Task<void> guardedModelTask(QCoro::Task<void> task);

}  // namespace tavix
