#pragma once

#include "market/Decimal.h"
#include "market/OrderRequest.h"

#include <QStringList>

#include <optional>

namespace tavix {

// The estimate shown before an order is sent.
struct OrderPreview {
    OrderRequest request;
    std::optional<Decimal> estimatedPrice;
    std::optional<Decimal> estimatedValue;
    std::optional<Decimal> estimatedCommission;
    std::optional<Decimal> buyingPowerAfter;
    QStringList warnings;

    friend bool operator==(const OrderPreview&, const OrderPreview&) = default;
};

}  // namespace tavix
