// Any bytes as an MCP message body: every input gets a JSON-RPC answer or a tool call, never a crash.
#include "bots/PlugFuzzing.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tavix::fuzzing::readMcp(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}
