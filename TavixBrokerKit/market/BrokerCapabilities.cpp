#include "market/BrokerCapabilities.h"

#include <QStringList>

#include <array>

namespace tavix {

QString BrokerCapabilities::text() const {
    static constexpr std::array names = {"readAccounts", "quotes",     "priceHistory",  "trading",
                                         "options",      "optionChains", "orderPreview", "extendedHours",
                                         "streaming",    "transactions", "optionBrackets", "replaceOrders"};
    QStringList parts;
    for (std::size_t bit = 0; bit < names.size(); ++bit) {
        if (rawValue_ & (std::int64_t{1} << bit)) parts << QString::fromLatin1(names[bit]);
    }
    return parts.join(QStringLiteral(", "));
}

}  // namespace tavix
