#pragma once

#include "core/Session.h"
#include "market/Account.h"
#include "market/Order.h"
#include "market/OrderPreview.h"
#include "market/OrderRequest.h"
#include "market/Quote.h"
#include "market/SafetyLimits.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <set>
#include <vector>

namespace tavix {

// The order being composed and what happens to it on its way to the broker: its exits and
// choices, the broker's preview, whether it is being checked or sent, the report of the last one
// sent and the cancels on their way. The checks and the sentences the user reads are worked out
// here from what they need; AppModel runs the broker calls and keeps the state current.
class OrderTicket {
public:
    OrderRequest request;
    std::optional<Decimal> targetExit;  // the sell price the ticket attaches to a buy
    std::optional<Decimal> stopExit;    // the get-out price
    bool holdLongTerm = false;
    bool holdBreakUp = false;
    std::optional<OrderPreview> preview;
    bool checking = false;
    bool sending = false;
    std::optional<QString> lastSent;
    std::set<QString> cancelling;

    // A fresh ticket for a symbol, a buy of one share (one contract, or the least coin) at market.
    static OrderTicket fresh(const QString& symbol);

    // What the order is worth for the limits: its quantity at its own price, else at the quote's
    // (the ask for a buy, the bid for a sale, else the last); contracts count a hundred times.
    static Decimal value(const OrderRequest& request, const Quote* quote);
    // Whether it opens or adds to a position rather than only closing what is held.
    static bool isOpening(const OrderRequest& request, const std::vector<Position>& positions);

    // The safety limits' refusal of an order of this value, or nothing. Money in dollars and cents.
    static std::optional<QString> limitRefusal(const SafetyLimits& limits, const Decimal& value, bool opening,
                                               const std::optional<Balance>& balance);
    // The refusal of a ticket that is not for the symbol on screen.
    static std::optional<QString> offScreenProblem(const OrderRequest& request, const QString& onScreen);
    // A stock order that would trade against what is held: a buy while short, a short sale while
    // owning. The easy mode says it in its own words.
    static std::optional<QString> againstHeldProblem(const OrderRequest& request,
                                                     const std::vector<Position>& positions, Mode mode);
    // A box whose text is not a number.
    static std::optional<QString> unreadableProblem(const QString& field, const QString& text, const QString& example);
    // The expert ticket's own rule: exits on shares already held need both prices.
    static std::optional<QString> settleExpertTicket(const OrderRequest& request,
                                                     const std::vector<Position>& positions);

    // The confirmation: what the order does, in one sentence, and the notes that go with it.
    static QString checkSentence(const OrderPreview& preview, const std::optional<Decimal>& target,
                                 const std::optional<Decimal>& stop, const std::optional<Decimal>& marketPrice);
    static QStringList checkNotes(const OrderPreview& preview, bool marketOpen, const std::optional<Decimal>& marketPrice);
    // The report after sending, by the order's status.
    static QString sentReport(const Order& order, Mode mode);
    // When a coin's fee came out of the coin: what is held now.
    static QString coinFeeNote(const Decimal& held, const QString& coin);
    // The orders panel's words when linked exits were cancelled together.
    static QString linkedCancelSentence(const QString& symbol);
};

}  // namespace tavix
