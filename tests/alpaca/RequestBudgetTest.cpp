#include "alpaca/RequestBudget.h"

#include "support/Await.h"
#include "support/LogCapture.h"

#include <qcoro/qcorotimer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

namespace tavix {
namespace {

using namespace std::chrono_literals;

const QString budgetCategory = QStringLiteral("com.brindlecove.tavix.budget");

// A minute that passes only when the budget sleeps in it.
struct FakeTime {
    Date now = Date::parseIso(u"2026-03-02T15:00:00Z").value();
    std::vector<double> sleeps;
};

// Moves the clock on by the sleep, then lets other tasks run before waking, as a real sleep would.
QCoro::Task<void> passTime(FakeTime* time, double seconds) {
    time->sleeps.push_back(seconds);
    time->now += seconds;
    co_await QCoro::sleepFor(0ms);
}

RequestBudget budget(FakeTime& time, int perMinute) {
    return RequestBudget(
        QStringLiteral("data"), perMinute, [t = &time] { return t->now; },
        [t = &time](double seconds) { return passTime(t, seconds); });
}

TEST(RequestBudget, SpendsFreelyUntilTheMinuteIsFullThenWaitsForTheOldestToAge) {
    FakeTime time;
    RequestBudget data = budget(time, 150);
    test::LogCapture log;
    const Date start = time.now;
    for (int i = 0; i < 150; ++i) {
        test::await(data.spend());
        time.now += 0.1;
    }
    EXPECT_TRUE(time.sleeps.empty());
    EXPECT_EQ(data.inTheMinute(), 150);

    time.now = start + 20;
    test::await(data.spend());
    ASSERT_EQ(time.sleeps.size(), 1u);
    EXPECT_DOUBLE_EQ(time.sleeps[0], 40.0);  // the first request turns a minute old
    EXPECT_EQ(time.now, start + 60);
    EXPECT_EQ(log.messages(budgetCategory),
              QStringList{QStringLiteral("data budget: waited 40.0 s, 150 in the minute")});

    // The second request of the first burst is a minute old 0.1 s later: one more short wait.
    test::await(data.spend());
    ASSERT_EQ(time.sleeps.size(), 2u);
    EXPECT_NEAR(time.sleeps[1], 0.1, 1e-6);
}

// Callers that wait together must not all squeeze into the room one expired request makes.
TEST(RequestBudget, ConcurrentWaitersNeverPassTheLimitInAnyMinute) {
    FakeTime time;
    RequestBudget trading = budget(time, 2);
    std::vector<Date> sent;
    test::await(trading.spend());
    sent.push_back(time.now);
    time.now += 10;
    test::await(trading.spend());
    sent.push_back(time.now);
    time.now += 10;

    const auto spendAndNote = [](RequestBudget* b, FakeTime* t, std::vector<Date>* out) -> QCoro::Task<void> {
        co_await b->spend();
        out->push_back(t->now);
    };
    std::vector<QCoro::Task<void>> waiting;
    for (int i = 0; i < 4; ++i) waiting.push_back(spendAndNote(&trading, &time, &sent));
    for (auto& task : waiting) test::await(std::move(task));

    ASSERT_EQ(sent.size(), 6u);
    std::sort(sent.begin(), sent.end());
    for (std::size_t i = 0; i + 2 < sent.size(); ++i) {
        EXPECT_GE(sent[i + 2] - sent[i], 60.0) << "three requests within a minute, from request " << i;
    }
}

}  // namespace
}  // namespace tavix
