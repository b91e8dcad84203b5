#pragma once

#include "core/AppModel.h"
#include "core/Pacer.h"

#include <cstdint>
#include <optional>

namespace tavix {

// Each loop has at most one round scheduled on the pacer. A round runs to its end and then
// schedules the next; `run` changes whenever the loops stop or start, so a round still under way
// from an earlier run ends without scheduling another.
struct AppModel::Loops {
    std::optional<Pacer::Handle> account;
    std::optional<Pacer::Handle> quote;
    std::optional<Pacer::Handle> clock;
    std::uint64_t run = 0;
    bool running = false;
};

}  // namespace tavix
