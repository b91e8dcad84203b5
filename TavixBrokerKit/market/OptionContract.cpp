#include "market/OptionContract.h"

#include "market/NewYorkCalendar.h"

namespace tavix {

int OptionContract::daysToExpiry(Date now) const {
    const auto days = NewYorkCalendar::dateOf(now).daysTo(NewYorkCalendar::dateOf(expiry));
    return days < 0 ? 0 : static_cast<int>(days);
}

}  // namespace tavix
