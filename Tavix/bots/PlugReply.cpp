#include "bots/PlugReply.h"

#include "market/Json.h"

#include <array>
#include <utility>

namespace tavix {

QByteArray PlugReply::phrase(int status) {
    static const std::array<std::pair<int, const char*>, 20> phrases = {{
        {200, "OK"},
        {201, "Created"},
        {202, "Accepted"},
        {204, "No Content"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {408, "Request Timeout"},
        {409, "Conflict"},
        {411, "Length Required"},
        {413, "Content Too Large"},
        {422, "Unprocessable Content"},
        {429, "Too Many Requests"},
        {431, "Request Header Fields Too Large"},
        {500, "Internal Server Error"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {505, "HTTP Version Not Supported"},
    }};
    for (const auto& [code, words] : phrases) {
        if (code == status) return QByteArray(words);
    }
    return QByteArrayLiteral("Status");
}

PlugReply PlugReply::refusal(int status, const QString& text) {
    Json body = Json::object();
    body.set("error", Json(text));
    return PlugReply{status, body.serialize(), {}};
}

QByteArray PlugReply::wire() const {
    QByteArray out;
    out.reserve(160 + body.size());
    out += "HTTP/1.1 " + QByteArray::number(status) + ' ' + phrase(status) + "\r\n";
    out += "Content-Type: application/json\r\n";
    out += "Content-Length: " + QByteArray::number(body.size());
    out += "\r\nConnection: close\r\nCache-Control: no-store\r\n";
    for (const auto& [name, value] : headers) out += name + ": " + value + "\r\n";
    out += "\r\n";
    out += body;
    return out;
}

}  // namespace tavix
