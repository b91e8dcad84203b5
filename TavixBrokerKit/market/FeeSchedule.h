#pragma once

#include "market/Decimal.h"
#include "market/OrderRequest.h"

#include <QString>

namespace tavix {

// What a brokerage charges. Previews and statistics read it.
struct FeeSchedule {
    Decimal perEquityTrade;                // commission per stock order
    Decimal perOptionTrade;                // commission per option order
    Decimal perOptionContract;             // commission per option contract
    QString note;                          // shown to the user about the schedule
    Decimal secFeeRate;                    // regulatory fee rate on the value of stock sales
    Decimal catPerShare;                   // per-share reporting fee
    Decimal optionPassThroughPerContract;  // pass-through fees per option contract

    // No fees at all: the practice broker.
    static FeeSchedule free();
    // The brokerages' published fees (see the dates beside the figures).
    static FeeSchedule alpaca();
    static FeeSchedule schwab();

    // The brokerage's commission on one order: per order and per contract for options (with the
    // pass-through fees that come per contract), per order for shares. Coins pay a rate on their
    // value instead (CryptoPair::rate), so nothing here.
    Decimal commission(const OrderRequest& request) const;
    // Opening and then closing the same order.
    Decimal roundTripCommission(const OrderRequest& request) const;
    // Everything buying and then selling these shares costs, the sale at `sellAt`: two
    // commissions, the reporting fee on both sides and the regulatory fee on the sale, rounded up
    // to the cent as brokers charge it.
    Decimal equityRoundTrip(const Decimal& shares, const Decimal& sellAt) const;

    friend bool operator==(const FeeSchedule&, const FeeSchedule&) = default;
};

}  // namespace tavix
