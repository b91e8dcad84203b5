#include "market/FeeSchedule.h"

namespace tavix {

FeeSchedule FeeSchedule::free() {
    return FeeSchedule{.note = QStringLiteral("No commissions or fees.")};
}

}  // namespace tavix
