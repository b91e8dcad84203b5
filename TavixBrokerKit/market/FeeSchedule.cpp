#include "market/FeeSchedule.h"

namespace tavix {
namespace {
Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }
}  // namespace

FeeSchedule FeeSchedule::free() { return FeeSchedule{.note = QStringLiteral("No commissions or fees.")}; }

// Figures as the brokerages and regulators published them, read on 2025-06-01: no commission on
// stocks or options at Alpaca; the SEC fee of $27.80 per million dollars of sales; the CAT fee
// of $0.000035 a share; per-contract option pass-through (ORF, OCC clearing) of about $0.04.
FeeSchedule FeeSchedule::alpaca() {
    return FeeSchedule{
        .perEquityTrade = dec("0"),
        .perOptionTrade = dec("0"),
        .perOptionContract = dec("0"),
        .note = QStringLiteral(
            "Alpaca charges no commission on stocks or options; regulators' small fees on sales are passed on."),
        .secFeeRate = dec("0.0000278"),
        .catPerShare = dec("0.000035"),
        .optionPassThroughPerContract = dec("0.04"),
    };
}

// Schwab, read on 2025-06-01: no commission on online stock trades, $0.65 per option contract,
// the same regulatory fees.
FeeSchedule FeeSchedule::schwab() {
    return FeeSchedule{
        .perEquityTrade = dec("0"),
        .perOptionTrade = dec("0"),
        .perOptionContract = dec("0.65"),
        .note = QStringLiteral(
            "Schwab charges no commission on online stock trades and $0.65 per option contract; regulators' "
            "small fees on sales are passed on."),
        .secFeeRate = dec("0.0000278"),
        .catPerShare = dec("0.000035"),
        .optionPassThroughPerContract = dec("0.04"),
    };
}

Decimal FeeSchedule::commission(const OrderRequest& request) const {
    switch (request.assetType) {
        case AssetType::option:
            return perOptionTrade + (perOptionContract + optionPassThroughPerContract) * request.quantity.abs();
        case AssetType::crypto:
            return Decimal(0);
        default:
            return perEquityTrade;
    }
}

Decimal FeeSchedule::roundTripCommission(const OrderRequest& request) const {
    return commission(request) * Decimal(2);
}

Decimal FeeSchedule::equityRoundTrip(const Decimal& shares, const Decimal& sellAt) const {
    const Decimal count = shares.abs();
    const Decimal secFee = (secFeeRate * count * sellAt).rounded(2, Decimal::Rounding::up);
    const Decimal catFee = (catPerShare * count * Decimal(2)).rounded(2, Decimal::Rounding::up);
    return perEquityTrade * Decimal(2) + secFee + catFee;
}

}  // namespace tavix
