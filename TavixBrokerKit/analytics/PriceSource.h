#pragma once

#include "analytics/Study.h"

#include <span>
#include <vector>

namespace tavix {

// The price a study reads from each bar: "close", "open", "high", "low", or the blends "hl2",
// "hlc3" (the typical price) and "ohlc4".
enum class PriceSource { close, open, high, low, hl2, hlc3, ohlc4 };
TAVIX_ENUM_NAMES(PriceSource, std::string_view("close"), std::string_view("open"), std::string_view("high"),
                 std::string_view("low"), std::string_view("hl2"), std::string_view("hlc3"),
                 std::string_view("ohlc4"))

// The words of a source choice, in PriceSource order; close is the usual default (place 0).
QStringList priceSourceWords();
StudySetting priceSourceSetting();

// A column of the chosen price. A plain column is viewed where it lies; a blend is worked out into
// `storage`, which must outlive the returned view.
std::span<const double> priceColumn(const StudyBars& bars, PriceSource source, std::vector<double>& storage);

// The source a settled run asked for under the setting "source".
PriceSource priceSource(const StudyRun& run);

}  // namespace tavix
