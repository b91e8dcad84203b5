#pragma once

#include <qcoro/qcorotask.h>

#include <coroutine>
#include <deque>
#include <memory>
#include <utility>

namespace tavix::test {

// Calls that wait while `holding`, until the test lets them through, oldest first. A fake broker
// puts `co_await gates.pass();` where a read should be held, so a test can move the clock or
// switch accounts mid read.
class Gates {
public:
    ~Gates() { openAll(); }

    QCoro::Task<void> pass() {
        if (!holding) co_return;
        auto gate = std::make_shared<Gate>();
        waiting_.push_back(gate);
        Gate::Awaiter awaiter{gate.get()};
        co_await awaiter;
    }

    // Lets the oldest held call go on; false when none waits.
    bool releaseOne() {
        if (waiting_.empty()) return false;
        auto gate = waiting_.front();
        waiting_.pop_front();
        open(*gate);
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
    struct Gate {
        bool open = false;
        std::coroutine_handle<> waiting;
        // A plain pointer: g++ 12 mishandles temporaries with destructors inside co_await.
        struct Awaiter {
            Gate* gate;
            bool await_ready() const noexcept { return gate->open; }
            void await_suspend(std::coroutine_handle<> handle) noexcept { gate->waiting = handle; }
            void await_resume() const noexcept {}
        };
    };

    static void open(Gate& gate) {
        gate.open = true;
        if (gate.waiting) std::exchange(gate.waiting, nullptr).resume();
    }

    std::deque<std::shared_ptr<Gate>> waiting_;
};

}  // namespace tavix::test
