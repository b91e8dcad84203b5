#pragma once

// The model harness with a practice broker whose account reads a test can hold and fail.

#include "support/AppModelHarness.h"
#include "support/Gates.h"

#include <map>
#include <optional>
#include <utility>

namespace tavix::test {

// The practice broker with its balance reads held while `balanceReads.holding`, so a test can
// move the clock or switch accounts mid read. `readError` makes every balance read fail; quote
// reads are counted.
class HeldPractice : public MockBroker {
public:
    using MockBroker::MockBroker;

    ~HeldPractice() override { balanceReads.openAll(); }

    QCoro::Task<Balance> balance(QString accountID) override {
        co_await balanceReads.pass();
        if (readError) throw *readError;
        Balance read = co_await MockBroker::balance(accountID);
        co_return read;
    }

    // Counts quote reads, so a test can see how often the loops poll.
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) override {
        ++quoteReads;
        std::map<QString, Quote> read = co_await MockBroker::quotes(std::move(symbols));
        co_return read;
    }

    Gates balanceReads;
    std::optional<BrokerError> readError;
    int quoteReads = 0;
};

class AppModelFixture : public AppModelHarness {
protected:
    AppModelEnvironment environment() override {
        AppModelEnvironment made = AppModelHarness::environment();
        made.makePractice = practiceOf<HeldPractice>([this](HeldPractice& broker) { practice = &broker; });
        return made;
    }

    // The practice broker the model made last (owned by the model).
    HeldPractice* practice = nullptr;
};

}  // namespace tavix::test
