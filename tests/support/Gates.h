#pragma once

#include <qcoro/qcorotask.h>

#include <coroutine>
#include <deque>

namespace tavix::test {

// Calls that wait while `holding`, until the test lets them through, oldest first. A fake broker
// puts `co_await gates.pass();` where a read should be held, so a test can move the clock or
// switch accounts mid read.
class Gates {
public:
    ~Gates() { openAll(); }

    QCoro::Task<void> pass() {
        if (!holding) co_return;
        // A plain pointer: g++ 12 mishandles temporaries with destructors inside co_await.
        Awaiter awaiter{&waiting_};
        co_await awaiter;
    }

    // Lets the oldest held call go on; false when none waits.
    bool releaseOne() {
        if (waiting_.empty()) return false;
        std::coroutine_handle<> held = waiting_.front();
        waiting_.pop_front();
        held.resume();
        return true;
    }
    // Lets the newest held call go on, so a test can answer out of order.
    bool releaseNewest() {
        if (waiting_.empty()) return false;
        std::coroutine_handle<> held = waiting_.back();
        waiting_.pop_back();
        held.resume();
        return true;
    }
    void openAll() {
        holding = false;
        while (releaseOne()) {
        }
    }
    int count() const { return static_cast<int>(waiting_.size()); }

    bool holding = false;

private:
    struct Awaiter {
        std::deque<std::coroutine_handle<>>* waiting;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> handle) noexcept { waiting->push_back(handle); }
        void await_resume() const noexcept {}
    };

    std::deque<std::coroutine_handle<>> waiting_;
};

}  // namespace tavix::test
