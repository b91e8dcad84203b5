#pragma once

// Runs a coroutine to its end from a test, with a time limit so a hang fails instead of stalling.
// QCoro's waitFor never returns when the task throws, so the task runs inside a wrapper that
// catches and the exception is rethrown here.

#include <qcoro/qcorotask.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace tavix::test {

namespace detail {

template <class T>
struct Outcome {
    bool done = false;
    std::optional<T> value;
    std::exception_ptr error;
};

template <>
struct Outcome<void> {
    bool done = false;
    std::exception_ptr error;
};

template <class T>
QCoro::Task<void> capture(QCoro::Task<T> task, Outcome<T>* outcome) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
        } else {
            outcome->value.emplace(co_await std::move(task));
        }
    } catch (...) {
        outcome->error = std::current_exception();
    }
    outcome->done = true;
}

}  // namespace detail

// Processes events until the task ends or the limit passes; rethrows what the task threw.
template <class T>
T await(QCoro::Task<T> task, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    detail::Outcome<T> outcome;
    auto runner = detail::capture(std::move(task), &outcome);
    QDeadlineTimer deadline(limit);
    while (!outcome.done) {
        if (deadline.hasExpired()) throw std::runtime_error("coroutine did not finish in time");
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    }
    if (outcome.error) std::rethrow_exception(outcome.error);
    if constexpr (!std::is_void_v<T>) return std::move(*outcome.value);
}

// Polls until the condition holds or the limit passes, processing events in between.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    QDeadlineTimer deadline(limit);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    }
    return true;
}

}  // namespace tavix::test
