#include "practice/PracticeMarket.h"

#include "practice/PricePath.h"

#include "PracticeFixture.h"

#include <algorithm>

namespace tavix::test {
namespace {

TEST(PracticeMarketTest, TwoMarketsAgreeAndTheCacheNeverChangesAPrice) {
    PracticeMarket warm;
    // Visit instants out of order, across sessions, weekends and the clock change, so that a
    // stale cached session would show.
    std::vector<Date> instants;
    for (double t = 0; t < 6 * 86400; t += 2222) instants.push_back(at(u"2026-03-05T00:00:00Z") + t);
    std::reverse(instants.begin() + static_cast<long>(instants.size() / 2), instants.end());
    for (const char* name : {"AAPL", "BTC/USD", "DOGE/USD", "SPY"}) {
        const QString symbol = QString::fromUtf8(name);
        for (Date t : instants) {
            const auto price = warm.price(symbol, t);
            ASSERT_TRUE(price.has_value());
            EXPECT_EQ(*price, PracticeMarket().price(symbol, t))
                << symbol.toStdString() << ' ' << t.toIso().toStdString();
            EXPECT_EQ(*price, PricePath::stockPrice(symbol, t));
            EXPECT_EQ(warm.quote(symbol, t)->last, *price);
        }
    }
}

}  // namespace
}  // namespace tavix::test
