#pragma once

#include <QIcon>

namespace tavix {

// Tavix's icon, drawn in code: a rising candle on a dark rounded square, at the usual sizes.
QIcon appIcon();

}  // namespace tavix
