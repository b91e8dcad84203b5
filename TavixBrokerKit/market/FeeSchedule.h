#pragma once

#include "market/Decimal.h"

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

    friend bool operator==(const FeeSchedule&, const FeeSchedule&) = default;
};

}  // namespace tavix
