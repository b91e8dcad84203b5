#include "PracticeFixture.h"

namespace tavix::test {
namespace {

using MockBrokerClock = PracticeFixture;

TEST_F(MockBrokerClock, TheMarketClockReadsThePracticeClock) {
    clock = wednesdayMorning();
    auto open = await(broker->marketClock());
    EXPECT_TRUE(open.isOpen);
    EXPECT_EQ(open.asOf, wednesdayMorning());
    EXPECT_EQ(open.nextClose.toIso(), QStringLiteral("2026-03-04T21:00:00Z"));

    clock = *Date::parseIso(u"2026-04-03T15:00:00Z");  // Good Friday: closed until Monday
    auto closed = await(broker->marketClock());
    EXPECT_FALSE(closed.isOpen);
    EXPECT_EQ(closed.nextOpen.toIso(), QStringLiteral("2026-04-06T13:30:00Z"));
}

}  // namespace
}  // namespace tavix::test
