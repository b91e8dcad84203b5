#include "AlpacaTradingFixture.h"

#include <utility>

namespace tavix {
namespace {

using test::AlpacaTradingTest;
using test::FakeAlpaca;

const QString contract = QStringLiteral("AAPL260320C00200000");

OrderRequest stock(const char* symbol, OrderSide side, const char* quantity) {
    OrderRequest request;
    request.symbol = QString::fromLatin1(symbol);
    request.side = side;
    request.quantity = *Decimal::parse(quantity);
    return request;
}

OrderRequest limited(OrderRequest request, const char* price) {
    request.type = OrderType::limit;
    request.limitPrice = *Decimal::parse(price);
    return request;
}

OrderRequest option(OrderSide side, const char* quantity, const char* price) {
    OrderRequest request = limited(stock("", side, quantity), price);
    request.symbol = contract;
    request.assetType = AssetType::option;
    return request;
}

OrderRequest coin(const char* symbol, OrderSide side, const char* quantity, const char* price) {
    OrderRequest request = limited(stock(symbol, side, quantity), price);
    request.assetType = AssetType::crypto;
    request.timeInForce = TimeInForce::goodTillCancelled;
    return request;
}

using AlpacaOrdersTest = AlpacaTradingTest;

// ---- What goes out

TEST_F(AlpacaOrdersTest, StockOrderGoesOutOnceAsABracketAndComesBackMapped) {
    OrderRequest request = limited(stock("AAPL", OrderSide::buy, "10"), "182.5");
    request.takeProfit = *Decimal::parse("195");
    request.stopLoss = *Decimal::parse("175.25");
    request.clientOrderID = QStringLiteral("tavix-bounce-1");

    const Order placed = test::await(broker->placeOrder(request, QStringLiteral("PA3KDV5RQ8LX")));

    const auto sent = fake.requests("POST", QStringLiteral("/v2/orders"));
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].json(), json(R"({"symbol":"AAPL","qty":"10","side":"buy","type":"limit",
        "time_in_force":"day","client_order_id":"tavix-bounce-1","limit_price":"182.5",
        "order_class":"bracket","take_profit":{"limit_price":"195"},"stop_loss":{"stop_price":"175.25"}})"));
    EXPECT_EQ(placed.accountID, QStringLiteral("PA3KDV5RQ8LX"));
    EXPECT_EQ(placed.status, OrderStatus::pending);
    EXPECT_EQ(placed.legs.size(), 2u);
}

TEST_F(AlpacaOrdersTest, OptionAndCoinFormsCarryTheirOwnKeys) {
    OrderRequest close = option(OrderSide::sellToClose, "1", "3.45");
    close.timeInForce = TimeInForce::goodTillCancelled;
    EXPECT_EQ(AlpacaBroker::payload(close), json(R"({"symbol":"AAPL260320C00200000","qty":"1","side":"sell",
        "type":"limit","time_in_force":"gtc","limit_price":"3.45","position_intent":"sell_to_close"})"));
    // A plain buy of a contract opens a position.
    OrderRequest open = option(OrderSide::buy, "2", "3.1");
    open.type = OrderType::market;
    open.session = OrderSession::extended;  // never sent for contracts
    EXPECT_EQ(AlpacaBroker::payload(open), json(R"({"symbol":"AAPL260320C00200000","qty":"2","side":"buy",
        "type":"market","time_in_force":"day","position_intent":"buy_to_open"})"));

    OrderRequest bitcoin = coin("BTC/USD", OrderSide::buy, "0.015", "61000");
    bitcoin.type = OrderType::stopLimit;
    bitcoin.stopPrice = *Decimal::parse("60500");
    bitcoin.clientOrderID = QStringLiteral("c-1");
    bitcoin.session = OrderSession::extended;
    EXPECT_EQ(AlpacaBroker::payload(bitcoin), json(R"({"symbol":"BTC/USD","qty":"0.015","side":"buy",
        "type":"stop_limit","time_in_force":"gtc","limit_price":"61000","stop_price":"60500","client_order_id":"c-1"})"));

    OrderRequest trailing = stock("AAPL", OrderSide::sell, "5");
    trailing.type = OrderType::trailingStop;
    trailing.trailAmount = *Decimal::parse("1.5");
    EXPECT_EQ(AlpacaBroker::payload(trailing), json(R"({"symbol":"AAPL","qty":"5","side":"sell",
        "type":"trailing_stop","time_in_force":"day","trail_price":"1.5"})"));
    trailing.trailAmount.reset();
    try {
        AlpacaBroker::payload(trailing);
        ADD_FAILURE() << "a trailing stop without its trail went out";
    } catch (const BrokerError& error) {
        EXPECT_EQ(error, BrokerError::invalidOrder(
                             QStringLiteral("A trailing stop needs how far behind the price it follows.")));
    }
}

// ---- Checks before sending

TEST_F(AlpacaOrdersTest, ChecksGiveTheirSentences) {
    test::await(broker->connect());
    const Date sunday = Date::parseIso(u"2026-03-01T15:00:00Z").value();
    struct Case {
        OrderRequest request;
        Date at;
        std::optional<QString> sentence;
    };
    OrderRequest bracketed = option(OrderSide::buy, "1", "3.1");
    bracketed.takeProfit = *Decimal::parse("5");
    OrderRequest trailing = option(OrderSide::sell, "1", "3.1");
    trailing.type = OrderType::trailingStop;
    trailing.trailAmount = *Decimal::parse("0.5");
    OrderRequest fillOrKill = option(OrderSide::buy, "1", "3.1");
    fillOrKill.timeInForce = TimeInForce::fillOrKill;
    OrderRequest stopWithout = stock("AAPL", OrderSide::sell, "1");
    stopWithout.type = OrderType::stop;
    OrderRequest wrongSymbol = option(OrderSide::buy, "1", "3.1");
    wrongSymbol.symbol = QStringLiteral("AAPL");
    OrderRequest stopLoss = limited(stock("AAPL", OrderSide::buy, "1"), "180");
    stopLoss.stopLoss = *Decimal::parse("170.005");

    const std::vector<Case> cases = {
        {limited(stock("AAPL", OrderSide::buy, "1"), "1.005"), now,
         QStringLiteral("1.005 isn't a price an order can carry: from $1 up, prices go in whole cents.")},
        {limited(stock("PENY", OrderSide::buy, "1000"), "0.1234"), now, std::nullopt},
        {limited(stock("PENY", OrderSide::buy, "1000"), "0.12345"), now,
         QStringLiteral("0.12345 isn't a price an order can carry: under $1, four decimal places at most.")},
        {stopLoss, now,
         QStringLiteral("170.005 isn't a price an order can carry: from $1 up, prices go in whole cents.")},
        {stock("AAPL", OrderSide::buy, "3"), sunday, std::nullopt},  // stock orders wait for the open
        {stopWithout, now, QStringLiteral("a stop order needs a stop price.")},
        {option(OrderSide::buy, "1", "3.105"), now,
         QStringLiteral("3.105 isn't a price an option order can carry: premiums go in whole cents.")},
        {wrongSymbol, now,
         QStringLiteral("AAPL isn't an option contract id (one looks like AAPL251017C00185000).")},
        {option(OrderSide::buy, "0", "3.1"), now,
         QStringLiteral("the number of contracts has to be more than zero.")},
        {option(OrderSide::buy, "1.5", "3.1"), now,
         QStringLiteral("options trade in whole contracts, and 1.5 isn't one.")},
        {fillOrKill, now, QStringLiteral("Alpaca only takes day or good-till-cancelled orders on options.")},
        {option(OrderSide::buy, "1", "3.1"), sunday,
         QStringLiteral("Alpaca trades options in regular hours only (9:30am to 4pm New York).")},
        {trailing, now,
         QStringLiteral("Alpaca doesn't take trailing stops on options. Use a stop or a stop limit.")},
        {bracketed, now,
         QStringLiteral(
             "Alpaca can't attach a take-profit or a stop-loss to an options order - it only brackets "
             "stock. Buy the contract on its own, then place the exit as its own order.")},
        // 400 contracts at $3.10 is $124,000 against $93,827.16 of options buying power.
        {option(OrderSide::buy, "400", "3.1"), now,
         QStringLiteral("this needs $124,000.00 of options buying power and the account has $93,827.16.")},
        {option(OrderSide::sellToClose, "400", "3.1"), now, std::nullopt},
        {coin("BTC/USD", OrderSide::buy, "2", "61234.5"), now,
         QStringLiteral(
             "crypto is bought with cash only: this needs $122,469.00 and the account has $93,827.16 "
             "to spend on it.")},
        {coin("BTC/USD", OrderSide::buy, "1", "61234.5"), now, std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(broker->check(c.request, c.at), c.sentence) << c.request.symbol.toStdString();
    }
}

// Shapes the service turns away are refused here, in words, and never sent.
TEST_F(AlpacaOrdersTest, ShapesAlpacaRefusesAreNeverSent) {
    test::await(broker->connect());
    const auto with = [](OrderRequest request, auto change) {
        change(request);
        return request;
    };
    const OrderRequest entry = limited(stock("AAPL", OrderSide::buy, "10"), "182.5");
    const auto bracket = [&](OrderRequest r) {
        r.takeProfit = *Decimal::parse("195");
        r.stopLoss = *Decimal::parse("175.25");
        return r;
    };
    const auto exitPair = [&](OrderType type) {
        OrderRequest r = bracket(stock("AAPL", OrderSide::sell, "10"));
        r.type = type;
        if (type == OrderType::limit) r.limitPrice = *Decimal::parse("195");
        return r;
    };
    const auto trailing = [&](TimeInForce timeInForce) {
        OrderRequest r = stock("AAPL", OrderSide::sell, "10");
        r.type = OrderType::trailingStop;
        r.trailAmount = *Decimal::parse("1.5");
        r.timeInForce = timeInForce;
        return r;
    };
    const QString extendedBracket = QStringLiteral(
        "Alpaca doesn't take a take-profit or a stop-loss in extended hours. Trade in regular hours, or place "
        "the order without them.");
    const QString oneExit = QStringLiteral(
        "Alpaca brackets an order only with both a take-profit and a stop-loss. Add the other one, or place "
        "this exit on its own once the shares are held.");
    const QString dayLimitOnly = QStringLiteral(
        "Alpaca takes extended-hours orders only as limit orders for the day. Make it a day limit, or trade in "
        "regular hours.");
    const QString trailingWaits = QStringLiteral(
        "a trailing stop waits for the price to turn, so it can't be fill-or-kill or immediate-or-cancel. Make "
        "it a day or good-till-cancelled order.");
    const std::vector<std::pair<OrderRequest, QString>> refused = {
        {with(bracket(entry), [](OrderRequest& r) { r.session = OrderSession::extended; }), extendedBracket},
        {with(entry, [](OrderRequest& r) { r.takeProfit = *Decimal::parse("195"); }), oneExit},
        {with(entry, [](OrderRequest& r) { r.stopLoss = *Decimal::parse("175"); }), oneExit},
        {exitPair(OrderType::market),
         QStringLiteral("exits on shares you hold go to Alpaca as one OCO order, and that has to be a limit "
                        "order. Make the order type limit.")},
        {with(stock("AAPL", OrderSide::buy, "1"), [](OrderRequest& r) { r.session = OrderSession::extended; }),
         dayLimitOnly},
        {with(entry,
              [](OrderRequest& r) {
                  r.session = OrderSession::extended;
                  r.timeInForce = TimeInForce::goodTillCancelled;
              }),
         dayLimitOnly},
        {with(bracket(entry), [](OrderRequest& r) { r.timeInForce = TimeInForce::immediateOrCancel; }),
         QStringLiteral("Alpaca brackets only day or good-till-cancelled orders.")},
        {trailing(TimeInForce::immediateOrCancel), trailingWaits},
        {trailing(TimeInForce::fillOrKill), trailingWaits},
        {with(trailing(TimeInForce::day), [](OrderRequest& r) { r.stopLoss = *Decimal::parse("170"); }),
         QStringLiteral("Alpaca can't attach a take-profit or a stop-loss to a trailing stop. Place the trailing "
                        "stop on its own.")},
    };
    for (const auto& [request, sentence] : refused) {
        EXPECT_EQ(failure(broker->placeOrder(request, {})), BrokerError::invalidOrder(sentence));
    }
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 0);

    // The shapes it takes still go: a day limit in extended hours, an OCO limit pair, a GTC bracket.
    for (const OrderRequest& fine :
         {with(entry, [](OrderRequest& r) { r.session = OrderSession::extended; }), exitPair(OrderType::limit),
          with(bracket(entry), [](OrderRequest& r) { r.timeInForce = TimeInForce::goodTillCancelled; }),
          trailing(TimeInForce::goodTillCancelled)}) {
        EXPECT_EQ(broker->check(fine, now), std::nullopt);
    }
}

TEST_F(AlpacaOrdersTest, CoinsNeedCryptoSwitchedOn) {
    // Paper accounts say "PAPER_ONLY", and coins trade there.
    FakeAlpaca::put(fake.account, "crypto_status", "PAPER_ONLY");
    test::await(broker->placeOrder(coin("BTC/USD", OrderSide::buy, "0.01", "61000"), {}));
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 1);

    FakeAlpaca::put(fake.account, "crypto_status", "SUBMITTED");
    test::await(broker->connect());
    const BrokerError error =
        failure(broker->placeOrder(coin("BTC/USD", OrderSide::buy, "0.01", "61000"), {}));
    EXPECT_EQ(error,
              BrokerError::invalidOrder(QStringLiteral(
                  "Crypto isn't switched on for this Alpaca account (it says SUBMITTED). Turn it on in "
                  "Alpaca's dashboard first.")));
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 1);
}

TEST_F(AlpacaOrdersTest, RefusedOrdersNeverReachAlpaca) {
    test::await(broker->connect());
    // Shared rules first, then Alpaca's own, then what the account holds.
    EXPECT_EQ(failure(broker->placeOrder(stock("AAPL", OrderSide::buy, "0"), {})),
              BrokerError::invalidOrder(QStringLiteral("the number of shares has to be more than zero.")));
    // The fake holds 0.0499875 BTCUSD and no ether.
    EXPECT_EQ(failure(broker->placeOrder(coin("BTC/USD", OrderSide::sell, "0.05", "62000"), {})).text(),
              QStringLiteral("There's only 0.0499875 here to sell, and crypto can't be sold short."));
    EXPECT_EQ(failure(broker->placeOrder(coin("ETH/USD", OrderSide::sell, "1", "3000"), {})).text(),
              QStringLiteral("There's no ETH here to sell, and crypto can't be sold short."));
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 0);

    // What is held can be sold.
    test::await(broker->placeOrder(coin("BTC/USD", OrderSide::sell, "0.0499875", "62000"), {}));
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 1);
}

// ---- Reading orders

TEST_F(AlpacaOrdersTest, OrdersCombineTheOpenAndTheRecentLists) {
    const Date since = Date::parseIso(u"2026-03-02T14:00:00Z").value();
    const auto orders = test::await(broker->orders(QStringLiteral("PA3KDV5RQ8LX"), since));

    const auto asked = fake.requests("GET", QStringLiteral("/v2/orders"));
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].query, (AlpacaQuery{{QStringLiteral("status"), QStringLiteral("open")},
                                           {QStringLiteral("limit"), QStringLiteral("500")},
                                           {QStringLiteral("nested"), QStringLiteral("true")}}));
    EXPECT_EQ(asked[1].query, (AlpacaQuery{{QStringLiteral("status"), QStringLiteral("all")},
                                           {QStringLiteral("limit"), QStringLiteral("100")},
                                           {QStringLiteral("nested"), QStringLiteral("true")},
                                           {QStringLiteral("after"), since.toIso()}}));
    // The open orders are in both lists and kept once; the bracket keeps its exits as legs.
    ASSERT_EQ(orders.size(), 7u);
    EXPECT_TRUE(orders.front().isOpen());
    EXPECT_FALSE(orders.back().isOpen());
    const auto find = [&](const char* id) {
        const auto found = std::find_if(orders.begin(), orders.end(),
                                        [id](const Order& o) { return o.id == QString::fromLatin1(id); });
        return found == orders.end() ? Order{} : *found;
    };
    const Order bracket = find("c7e2a9b4-1f3d-4e5a-8b6c-7d8e9f0a1b2c");
    EXPECT_EQ(bracket.legs.size(), 2u);
    EXPECT_EQ(bracket.accountID, QStringLiteral("PA3KDV5RQ8LX"));

    // The shapes the real service sends lose nothing.
    const Order byMoney = find("61e69015-8549-4bfd-b9c3-01e75843f47e");
    EXPECT_EQ(byMoney.notional, Decimal(500));
    EXPECT_TRUE(byMoney.quantity.isZero());
    const Order trailing = find("b3c4d5e6-f7a8-4b9c-8d0e-1f2a3b4c5d6e");
    EXPECT_EQ(trailing.trailPercent, *Decimal::parse("2.5"));
    EXPECT_EQ(trailing.timeInForce, TimeInForce::atOpen);
    const Order spread = find("f1e2d3c4-b5a6-4978-8695-a4b3c2d1e0f9");
    EXPECT_EQ(spread.symbol, QStringLiteral("AAPL"));
    EXPECT_EQ(spread.assetType, AssetType::option);
    EXPECT_EQ(spread.side, OrderSide::buyToOpen);
    ASSERT_EQ(spread.legs.size(), 2u);
    EXPECT_EQ(spread.legs[1].side, OrderSide::sellToOpen);
    EXPECT_EQ(find("0a9b8c7d-6e5f-4a3b-9c2d-1e0f9a8b7c6d").status, OrderStatus::pending);

    fake.clearRequests();
    test::await(broker->orders(QStringLiteral("PA3KDV5RQ8LX"), std::nullopt));
    EXPECT_EQ(fake.requests("GET", QStringLiteral("/v2/orders"))[1].queryKeys(),
              (QStringList{QStringLiteral("status"), QStringLiteral("limit"), QStringLiteral("nested")}));
}

TEST_F(AlpacaOrdersTest, ReplacingAnOrderNeedsANewPriceOverZero) {
    const QString id = QStringLiteral("a1d3f5c2-6b8e-4f10-9c2d-3e4f5a6b7c8d");
    EXPECT_EQ(failure(broker->replaceOrder(id, {}, std::nullopt, std::nullopt)),
              BrokerError::invalidOrder(QStringLiteral("there's no new price to move it to.")));
    EXPECT_EQ(failure(broker->replaceOrder(id, {}, Decimal(0), std::nullopt)),
              BrokerError::invalidOrder(QStringLiteral("a price has to be over zero.")));
    EXPECT_EQ(failure(broker->replaceOrder(id, {}, Decimal(196), *Decimal::parse("-1"))),
              BrokerError::invalidOrder(QStringLiteral("a price has to be over zero.")));
    EXPECT_EQ(fake.count("PATCH", QStringLiteral("/v2/orders/") + id), 0);

    // Alpaca answers with the new order that takes the old one's place.
    Json answer = FakeAlpaca::order(QStringLiteral("b2d3f5c2-6b8e-4f10-9c2d-3e4f5a6b7c8e"),
                                    QStringLiteral("AAPL"), QStringLiteral("sell"), QStringLiteral("limit"),
                                    QStringLiteral("5"), QStringLiteral("accepted"));
    FakeAlpaca::put(answer, "limit_price", "196.25");
    fake.stage(FakeAlpaca::on("PATCH", QStringLiteral("/v2/orders/")), test::HttpResponse::json(200, answer));
    const Order moved = test::await(broker->replaceOrder(id, {}, *Decimal::parse("196.25"), std::nullopt));
    const auto sent = fake.requests("PATCH", QStringLiteral("/v2/orders/") + id);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].json(), json(R"({"limit_price":"196.25"})"));
    EXPECT_NE(moved.id, id);
    EXPECT_EQ(moved.limitPrice, Decimal::parse("196.25"));

    // A refusal of the move is the order's refusal, in plain words.
    fake.fail(FakeAlpaca::on("PATCH", QStringLiteral("/v2/orders/")), 403, 40310000,
              QStringLiteral("insufficient buying power"));
    EXPECT_EQ(failure(broker->replaceOrder(moved.id, {}, std::nullopt, *Decimal::parse("150"))),
              BrokerError::invalidOrder(QStringLiteral("there isn't enough buying power for it.")));
    EXPECT_EQ(fake.requests("PATCH", QStringLiteral("/v2/orders/") + moved.id)[0].json(),
              json(R"({"stop_price":"150"})"));
}

// ---- Fills

TEST_F(AlpacaOrdersTest, FillsPageAfterTheLastActivityRead) {
    // 230 fills, newest first, after the fixture's own.
    std::vector<Json> many;
    for (int i = 230; i >= 1; --i) {
        const QString time = QStringLiteral("2026-03-02T16:%1:%2Z")
                                 .arg(i / 60, 2, 10, QChar(u'0'))
                                 .arg(i % 60, 2, 10, QChar(u'0'));
        many.push_back(
            Json::parse(QStringLiteral(R"({"id":"act-%1","activity_type":"FILL","transaction_time":"%2",
            "type":"fill","price":"500.25","qty":"1","side":"buy","symbol":"SPY","order_id":"order-%3"})")
                            .arg(i, 3, 10, QChar(u'0'))
                            .arg(time)
                            .arg(i)
                            .toStdString()));
    }
    fake.activities.insert(fake.activities.begin(), many.begin(), many.end());

    const auto fills = test::await(broker->fills({}, std::nullopt));
    EXPECT_EQ(fills.size(), 233u);  // the option expiry is no fill
    EXPECT_EQ(fills.front().orderID, QStringLiteral("order-230"));
    EXPECT_EQ(fills.back().symbol, QStringLiteral("AAPL"));

    const auto asked = fake.requests("GET", QStringLiteral("/v2/account/activities"));
    ASSERT_EQ(asked.size(), 3u);
    EXPECT_EQ(asked[0].query, (AlpacaQuery{{QStringLiteral("activity_types"), QStringLiteral("FILL")},
                                           {QStringLiteral("direction"), QStringLiteral("desc")},
                                           {QStringLiteral("page_size"), QStringLiteral("100")}}));
    EXPECT_EQ(asked[1].queryValue(QStringLiteral("page_token")), QStringLiteral("act-131"));
    EXPECT_EQ(asked[2].queryValue(QStringLiteral("page_token")), QStringLiteral("act-031"));

    fake.clearRequests();
    const auto recent = test::await(broker->fills({}, Date::parseIso(u"2026-03-02T16:03:00Z")));
    EXPECT_EQ(recent.size(), 50u);
    EXPECT_EQ(
        fake.requests("GET", QStringLiteral("/v2/account/activities"))[0].queryValue(QStringLiteral("after")),
        Date::parseIso(u"2026-03-02T16:03:00Z")->toIso());
}

TEST_F(AlpacaOrdersTest, FillsStopWhenAlpacaRepeatsAPage) {
    const Json same = json(R"({"id":"same","activity_type":"FILL","transaction_time":"2026-03-02T16:00:00Z",
        "type":"fill","price":"1","qty":"1","side":"buy","symbol":"SPY","order_id":"o"})");
    const Json page(Json::Array(100, same));
    fake.stage(FakeAlpaca::on("GET", QStringLiteral("/v2/account/activities")),
               test::HttpResponse::json(200, page), -1);
    EXPECT_EQ(failure(broker->fills({}, std::nullopt)).text(), AlpacaTransport::pagingMessage(2));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/account/activities")), 2);
}

}  // namespace
}  // namespace tavix
