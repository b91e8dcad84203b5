// Any bytes as a request to the plug: the head scanned and parsed, the gates, the rate table and the
// REST face must answer every input with a reply or a request, never a crash.
#include "bots/PlugFuzzing.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tavix::fuzzing::readRequest(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}
