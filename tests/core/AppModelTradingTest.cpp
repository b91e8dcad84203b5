#include "AppModelFixture.h"

#include "core/OrderTicket.h"

namespace tavix::test {
namespace {

Decimal dec(const char* text) {
    return *Decimal::parse(text);
}

OrderRequest limitBuy(const char* symbol, const char* quantity, const char* price) {
    return OrderRequest{.symbol = QString::fromLatin1(symbol), .quantity = dec(quantity), .type = OrderType::limit,
                        .limitPrice = dec(price), .timeInForce = TimeInForce::goodTillCancelled};
}

OrderRequest coinBuy(const char* quantity) {
    return OrderRequest{.symbol = QStringLiteral("BTC/USD"), .assetType = AssetType::crypto,
                        .quantity = dec(quantity), .timeInForce = TimeInForce::goodTillCancelled};
}

class AppModelTradingTest : public AppModelFixture {
protected:
    AppModel& startOn(const QString& symbol) {
        Session::setWatchlist({QStringLiteral("AAPL"), QStringLiteral("BTC/USD")});
        prepare = [](HeldPractice& broker) { broker.pin(QStringLiteral("AAPL"), Decimal(100)); };
        AppModel& m = started();
        m.switchTo(symbol);
        return m;
    }
    const Order* orderOn(const QString& symbol) const {
        for (const Order& order : model->orders()) {
            if (order.symbol == symbol) return &order;
        }
        return nullptr;
    }
};

// The limits: an order exactly at the per-trade limit goes, a cent over is refused; a day's loss
// past its stop refuses what opens and never what only sells what is held.
TEST(OrderTicketLimits, TheirSentencesAndEdges) {
    const SafetyLimits limits{.perTrade = dec("1000"), .dailyLoss = dec("500")};
    const Balance fine{.buyingPower = dec("50000"), .dayChange = dec("-10")};
    EXPECT_EQ(OrderTicket::limitRefusal(limits, dec("1000"), true, fine), std::nullopt);
    EXPECT_EQ(OrderTicket::limitRefusal(limits, dec("1000.01"), true, fine),
              QStringLiteral("That's $1,000.01 in one trade, over your $1,000.00 limit. Make it smaller, or change the "
                             "limit in Settings → Limits."));
    EXPECT_EQ(OrderTicket::limitRefusal(limits, dec("99999"), false, fine), std::nullopt);
    const Balance down{.buyingPower = dec("50000"), .dayChange = dec("-500")};
    EXPECT_EQ(OrderTicket::limitRefusal(limits, dec("10"), true, down),
              QStringLiteral("You're down $500.00 today, past your $500.00 stop. No new trades until tomorrow; you can "
                             "still sell what you hold."));
    EXPECT_EQ(OrderTicket::limitRefusal(limits, dec("10"), false, down), std::nullopt);
    const Balance poor{.buyingPower = dec("250.5")};
    EXPECT_EQ(OrderTicket::limitRefusal({}, dec("300"), true, poor),
              QStringLiteral("That's $300.00, more than the $250.50 you have to trade. Make it smaller."));
}

TEST(OrderTicketWords, AgainstHeldConfirmationAndReports) {
    const std::vector<Position> shortTen = {Position{.symbol = QStringLiteral("AAPL"), .quantity = Decimal(-10)}};
    const std::vector<Position> ownTen = {Position{.symbol = QStringLiteral("AAPL"), .quantity = Decimal(10)}};
    OrderRequest buy = limitBuy("AAPL", "1", "100");
    EXPECT_EQ(OrderTicket::againstHeldProblem(buy, shortTen, Mode::expert),
              QStringLiteral("You already have 10 shares sold short, so this buy would buy it back instead of opening a "
                             "new position. Buy it back first."));
    EXPECT_EQ(OrderTicket::againstHeldProblem(buy, shortTen, Mode::easy),
              QStringLiteral("You already have 10 shares sold short. Betting it goes up buys, and that would buy yours "
                             "back instead. Buy it back first."));
    OrderRequest shortSale = buy;
    shortSale.side = OrderSide::sellShort;
    EXPECT_EQ(OrderTicket::againstHeldProblem(shortSale, ownTen, Mode::expert),
              QStringLiteral("You already own 10 shares, so a short sale would sell those shares instead of opening a "
                             "short. Sell them first."));
    EXPECT_EQ(OrderTicket::againstHeldProblem(buy, ownTen, Mode::expert), std::nullopt);

    OrderPreview preview{.request = limitBuy("AAPL", "10", "182.5"), .estimatedPrice = dec("182.5"),
                         .estimatedValue = dec("1825")};
    EXPECT_EQ(OrderTicket::checkSentence(preview, dec("190"), dec("175"), dec("182.6")),
              QStringLiteral("Buys 10 shares of AAPL at about $182.50 each, $1,825.00 in all. Then it sells at $190.00 "
                             "or gets out at $175.00."));
    OrderPreview market{.request = OrderRequest{.symbol = QStringLiteral("AAPL"), .quantity = Decimal(1)}};
    EXPECT_EQ(OrderTicket::checkNotes(market, false, dec("100")),
              QStringList{QStringLiteral("The market is closed, so this goes in at the next open, at whatever price it "
                                         "opens at. A market order takes whatever is there; a limit sets the worst "
                                         "price you'd take.")});
    OrderPreview far{.request = limitBuy("AAPL", "1", "90")};
    EXPECT_EQ(OrderTicket::checkNotes(far, true, dec("100")),
              QStringList{QStringLiteral("This buy starts at $90.00 and then pays at most $10.00 under where it starts, "
                                         "so it may never fill.")});
    EXPECT_TRUE(OrderTicket::checkNotes(OrderPreview{.request = limitBuy("AAPL", "1", "99")}, true, dec("100")).isEmpty());

    Order sent{.symbol = QStringLiteral("AAPL"), .status = OrderStatus::working, .quantity = Decimal(10)};
    EXPECT_EQ(OrderTicket::sentReport(sent, Mode::easy),
              QStringLiteral("Sent: buying 10 shares of AAPL. It shows in What you own once it fills."));
    sent.status = OrderStatus::filled;
    EXPECT_EQ(OrderTicket::sentReport(sent, Mode::easy), QStringLiteral("Done: you bought 10 shares of AAPL"));
    sent.status = OrderStatus::rejected;
    EXPECT_EQ(OrderTicket::sentReport(sent, Mode::easy), QStringLiteral("That didn't go through: your broker turned it down."));
    EXPECT_EQ(OrderTicket::unreadableProblem(QStringLiteral("Limit price"), QStringLiteral("12,5x"), QStringLiteral("182.50")),
              QStringLiteral("Limit price doesn't read as a number. Type it like 182.50"));
}

// A trade by hand on Practice: a limit buy waits, moves and is cancelled; a coin bought at market
// shows as a position.
TEST_F(AppModelTradingTest, APracticeTradeWaitsMovesCancelsAndFills) {
    AppModel& m = startOn(QStringLiteral("AAPL"));
    m.setTicket(limitBuy("AAPL", "2", "90"));
    await(m.buildPreview());
    ASSERT_TRUE(m.ticket().preview) << m.banner().value_or(QString()).toStdString();
    await(m.submit());
    EXPECT_EQ(m.banner(), QStringLiteral("Sent: buying 2 shares of AAPL. It shows in What you own once it fills."));
    ASSERT_TRUE(orderOn(QStringLiteral("AAPL")));
    EXPECT_TRUE(orderOn(QStringLiteral("AAPL"))->isOpen());

    await(m.moveOrder(*orderOn(QStringLiteral("AAPL")), Decimal(0)));
    EXPECT_EQ(m.banner(), QStringLiteral("Type a price above zero to move it to."));
    await(m.moveOrder(*orderOn(QStringLiteral("AAPL")), dec("91")));
    EXPECT_EQ(m.banner(), QStringLiteral("Moved: it waits for 91.00"));

    const Order* waiting = nullptr;
    for (const Order& order : m.orders()) {
        if (order.isOpen()) waiting = &order;
    }
    ASSERT_TRUE(waiting);
    EXPECT_EQ(waiting->limitPrice, dec("91"));
    await(m.cancel(*waiting, false));
    EXPECT_TRUE(m.banner()->startsWith(QStringLiteral("Cancel sent: Buy 2 shares of AAPL")));
    EXPECT_TRUE(std::none_of(m.orders().begin(), m.orders().end(), [](const Order& o) { return o.isOpen(); }));

    m.switchTo(QStringLiteral("BTC/USD"));
    m.setTicket(coinBuy("0.01"));
    await(m.submit());
    ASSERT_TRUE(std::any_of(m.positions().begin(), m.positions().end(),
                            [](const Position& p) { return p.symbol == QStringLiteral("BTC/USD"); }))
        << m.banner().value_or(QString()).toStdString();
}

// The checks run before anything is sent: the ticket for another symbol, the day's stop, the
// per-trade limit; a broker's refusal is told as it is and nothing is retried.
TEST_F(AppModelTradingTest, RefusalsGoToTheBannerAndSendNothing) {
    AppModel& m = startOn(QStringLiteral("AAPL"));
    m.setTicket(limitBuy("AAPL", "1", "90"));
    m.switchTo(QStringLiteral("BTC/USD"));
    m.setTicket(limitBuy("AAPL", "1", "90"));  // left on the old symbol
    await(m.submit());
    EXPECT_EQ(m.banner(), QStringLiteral("That order was on AAPL. The ticket is on BTC/USD now: check it again."));
    EXPECT_EQ(m.ticket().request.symbol, QStringLiteral("BTC/USD"));
    EXPECT_FALSE(m.ticket().sending);
    EXPECT_TRUE(m.orders().empty());

    m.switchTo(QStringLiteral("AAPL"));
    m.setLimits(SafetyLimits{.perTrade = dec("100")});
    m.setTicket(limitBuy("AAPL", "1", "100.01"));
    await(m.buildPreview());
    EXPECT_EQ(m.ticket().preview, std::nullopt);
    EXPECT_EQ(m.banner(), QStringLiteral("That's $100.01 in one trade, over your $100.00 limit. Make it smaller, or "
                                         "change the limit in Settings → Limits."));
    m.setTicket(limitBuy("AAPL", "1", "100"));
    await(m.submit());
    EXPECT_EQ(m.orders().size(), 1u);

    // A broker's refusal: its words, nothing sent again, the ticket free.
    m.setTicket(limitBuy("AAPL", "0", "50"));
    await(m.submit());
    EXPECT_FALSE(m.ticket().sending);
    EXPECT_EQ(m.orders().size(), 1u);
    EXPECT_TRUE(m.banner().has_value());
}

// An order whose answer comes after the account was switched is dropped: no report, and the ticket
// is free again.
TEST_F(AppModelTradingTest, ASwitchOfAccountDuringASendDropsItsAnswer) {
    AppModel& m = startOn(QStringLiteral("AAPL"));
    practice->placings.holding = true;
    m.setTicket(limitBuy("AAPL", "1", "90"));
    QCoro::Task<void> sending = m.submit();
    ASSERT_TRUE(eventually([&] { return practice->placings.count() == 1; }));
    EXPECT_TRUE(m.ticket().sending);
    await(m.useAccount(BrokerID::mock()));
    EXPECT_FALSE(m.ticket().sending);
    const auto bannerBefore = m.banner();
    practice->placings.openAll();
    await(std::move(sending));
    EXPECT_EQ(m.banner(), bannerBefore);
    EXPECT_FALSE(m.ticket().lastSent.has_value());
}

// Exits the broker links go together: cancelling one says so, and neither is left working.
TEST_F(AppModelTradingTest, LinkedExitsAreCancelledTogether) {
    AppModel& m = startOn(QStringLiteral("AAPL"));
    OrderRequest buy{.symbol = QStringLiteral("AAPL"), .quantity = Decimal(2)};
    m.setTicket(buy, dec("120"), dec("80"));
    await(m.submit());
    ASSERT_TRUE(eventually([&] {
        await(m.refreshAccount());
        return !m.orders().empty() && m.orders().front().legs.size() == 2 && m.orders().front().legs[0].isOpen();
    })) << m.banner().value_or(QString()).toStdString();
    await(m.cancel(m.orders().front().legs[0], true));
    EXPECT_EQ(m.banner(), QStringLiteral("Cancelled both exits on AAPL: they're linked, so one can't go alone."));
    for (const Order& leg : m.orders().front().legs) EXPECT_FALSE(leg.isOpen());
}

// The same path against the loopback Alpaca: a buy with both exits goes out as a bracket, exits on
// shares already held as one OCO pair.
TEST_F(AppModelTradingTest, AlpacaTakesABracketAndAnExitPair) {
    fakeAlpaca();
    AppModel& m = started();
    ASSERT_EQ(await(m.connectAlpaca(alpacaFake->key, alpacaFake->secret)), std::nullopt);
    m.switchTo(QStringLiteral("AAPL"));
    alpacaFake->clearRequests();

    m.setTicket(limitBuy("AAPL", "2", "180"), dec("195"), dec("170"));
    await(m.submit());
    auto sent = alpacaFake->requests("POST", QStringLiteral("/v2/orders"));
    ASSERT_EQ(sent.size(), 1u) << m.banner().value_or(QString()).toStdString();
    EXPECT_EQ(sent[0].json().at("order_class").stringUtf8(), "bracket");
    EXPECT_EQ(sent[0].json().at("take_profit").at("limit_price").stringUtf8(), "195");
    EXPECT_EQ(sent[0].json().at("stop_loss").at("stop_price").stringUtf8(), "170");

    // The fake holds 10 AAPL: exits on them are one OCO order.
    OrderRequest exits = limitBuy("AAPL", "10", "195");
    exits.side = OrderSide::sell;
    m.setTicket(exits, dec("195"), dec("170"));
    await(m.submit());
    sent = alpacaFake->requests("POST", QStringLiteral("/v2/orders"));
    ASSERT_EQ(sent.size(), 2u) << m.banner().value_or(QString()).toStdString();
    EXPECT_EQ(sent[1].json().at("order_class").stringUtf8(), "oco");
}

// A coin bought whose fee came out of the coin: the report says what is held now.
TEST_F(AppModelTradingTest, ACoinsFeeTakenFromTheCoinIsTold) {
    fakeAlpaca();
    AppModel& m = started();
    ASSERT_EQ(await(m.connectAlpaca(alpacaFake->key, alpacaFake->secret)), std::nullopt);
    m.switchTo(QStringLiteral("BTC/USD"));
    // Filled at once; the fake's holding stays 0.0499875 BTC, less than it held plus what filled.
    Json filled = FakeAlpaca::order(QStringLiteral("c0ffee00-0000-4000-8000-000000000001"), QStringLiteral("BTC/USD"),
                                    QStringLiteral("buy"), QStringLiteral("market"), QStringLiteral("0.01"),
                                    QStringLiteral("filled"));
    alpacaFake->stage(FakeAlpaca::on("POST", QStringLiteral("/v2/orders")), HttpResponse::json(200, filled));
    m.setTicket(coinBuy("0.01"));
    await(m.submit());
    ASSERT_TRUE(m.banner());
    EXPECT_TRUE(m.banner()->endsWith(QStringLiteral(" The fee came out of the coin: you hold 0.0499875 BTC.")))
        << m.banner()->toStdString();
}

}  // namespace
}  // namespace tavix::test
