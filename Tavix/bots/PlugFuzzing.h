#pragma once

// What the fuzz targets drive, shared with the test that replays their corpus under the ordinary
// build: one request's bytes through everything the plug does before a handler sees it.

#include "bots/PlugHead.h"
#include "bots/PlugMcp.h"
#include "bots/PlugRates.h"
#include "bots/PlugRest.h"

namespace tavix::fuzzing {

// The head scanned and parsed, gated, admitted, and the body read by the REST face.
inline void readRequest(const QByteArray& bytes) {
    static PlugRates rates;
    static double now = 0;  // each request a millisecond after the last, so old keys can be pruned
    const auto scanned = PlugHead::scan(bytes);
    if (!std::holds_alternative<qsizetype>(scanned)) return;
    const qsizetype end = std::get<qsizetype>(scanned);
    const auto parsed = PlugHead::parse(bytes.left(end - 4));
    if (!std::holds_alternative<PlugHead>(parsed)) return;
    const PlugHead& head = std::get<PlugHead>(parsed);
    const auto gated = head.gate(7377);
    if (!std::holds_alternative<PlugHead::Passed>(gated)) return;
    const auto& passed = std::get<PlugHead::Passed>(gated);
    now += 0.001;
    if (passed.key) rates.admit(*passed.key, now);
    const QByteArray body = bytes.mid(end, passed.bodyLength);
    if (head.path == QStringLiteral("/mcp")) {
        PlugMcp::read(body, QStringLiteral("1.0"));
    } else {
        PlugRest::read(head.method, head.path, head.query, body);
    }
}

inline void readMcp(const QByteArray& body) {
    PlugMcp::read(body, QStringLiteral("1.0"));
}

}  // namespace tavix::fuzzing
