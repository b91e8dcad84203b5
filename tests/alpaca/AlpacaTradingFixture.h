#pragma once

// An AlpacaBroker pointed at the loopback fake, on a clock that stands still on a Monday morning
// in New York, with budgets that never wait.

#include "alpaca/AlpacaBroker.h"
#include "market/BrokerError.h"
#include "support/Await.h"
#include "support/FakeAlpaca.h"

#include <QNetworkAccessManager>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace tavix::test {

class AlpacaTradingTest : public ::testing::Test {
protected:
    // 10:04 in New York, the fake's own "now".
    Date now = Date::parseIso(u"2026-03-02T15:04:05Z").value();
    FakeAlpaca fake;
    QNetworkAccessManager network;
    std::unique_ptr<AlpacaBroker> broker = make();

    std::unique_ptr<AlpacaBroker> make(std::chrono::milliseconds timeout = std::chrono::seconds(5)) {
        AlpacaBroker::Options options;
        options.timeout = timeout;
        options.clock = [this] { return now; };
        options.sleeper = [](double) -> QCoro::Task<void> { co_return; };
        return std::make_unique<AlpacaBroker>(fake.endpoints(), AlpacaEnvironment::paper, fake.credentials(),
                                              &network, options);
    }

    // The error a call fails with; a call that succeeds fails the test.
    template <class T>
    BrokerError failure(QCoro::Task<T> task) {
        try {
            test::await(std::move(task));
        } catch (const BrokerError& error) {
            return error;
        }
        ADD_FAILURE() << "the call did not fail";
        return BrokerError::notConnected();
    }

    static Json json(const char* text) { return Json::parse(text); }
};

}  // namespace tavix::test
