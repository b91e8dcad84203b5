#include "bots/PlugHead.h"

#include <QStringDecoder>
#include <QUrl>

namespace tavix {

namespace {

// RFC 9110's token characters.
bool isToken(const QByteArray& name) {
    if (name.isEmpty()) return false;
    for (const char c : name) {
        const bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!alnum && !QByteArray("!#$%&'*+-.^_`|~").contains(c)) return false;
    }
    return true;
}

bool hasControl(const QByteArray& value) {
    for (const char c : value) {
        const auto u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\t') || u == 0x7F) return true;
    }
    return false;
}

PlugReply bad(const char* text) {
    return PlugReply::refusal(400, QString::fromUtf8(text));
}

}  // namespace

std::vector<QByteArray> PlugHead::values(const QByteArray& name) const {
    std::vector<QByteArray> found;
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) found.push_back(value);
    }
    return found;
}

std::optional<QByteArray> PlugHead::value(const QByteArray& name) const {
    auto all = values(name);
    if (all.empty()) return std::nullopt;
    return all.front();
}

bool PlugHead::expectsContinue() const {
    const auto expect = value("Expect");
    return expect && expect->trimmed().compare("100-continue", Qt::CaseInsensitive) == 0;
}

PlugHead::Scan PlugHead::scan(const QByteArray& arrived) {
    const qsizetype end = arrived.indexOf("\r\n\r\n");
    if (end >= 0 && end + 4 <= mostHeadBytes) return end + 4;
    if (end >= 0 || arrived.size() > mostHeadBytes) {
        return PlugReply::refusal(431, QStringLiteral("The headers are too big: 16 KB is the most."));
    }
    return std::monostate{};
}

std::variant<PlugHead, PlugReply> PlugHead::parse(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(bytes);
    if (utf8.hasError()) return bad("The request isn't readable text.");
    const QList<QByteArray> lines = bytes.split('\n');
    QByteArray first = lines.value(0);
    if (first.endsWith('\r')) first.chop(1);
    const QList<QByteArray> parts = first.split(' ');
    if (parts.size() != 3 || parts[0].isEmpty() || parts[1].isEmpty() || parts[2].isEmpty()) {
        return bad("The first line is METHOD /path HTTP/1.1.");
    }
    PlugHead head;
    head.method = parts[0];
    head.version = parts[2];
    if (head.version != "HTTP/1.1" && head.version != "HTTP/1.0") {
        return PlugReply::refusal(505, QStringLiteral("Send HTTP/1.1."));
    }
    const QByteArray target = parts[1];
    const qsizetype mark = target.indexOf('?');
    const QByteArray rawPath = mark < 0 ? target : target.left(mark);
    head.query = QString::fromUtf8(mark < 0 ? QByteArray() : target.mid(mark + 1));
    const QByteArray decoded = QByteArray::fromPercentEncoding(rawPath);
    QStringDecoder pathText(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    head.path = pathText(decoded);
    if (!rawPath.startsWith('/') || pathText.hasError() || decoded.contains('\0')) return bad("The path isn't readable.");
    for (qsizetype i = 1; i < lines.size(); ++i) {
        QByteArray line = lines[i];
        if (line.endsWith('\r')) line.chop(1);
        if (line.isEmpty()) continue;
        const qsizetype colon = line.indexOf(':');
        if (colon < 0) return bad("A header has no colon.");
        const QByteArray name = line.left(colon);
        if (!isToken(name)) return bad("A header's name isn't valid.");
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (hasControl(value)) return bad("A header's value isn't valid.");
        head.headers.emplace_back(name, value);
    }
    return head;
}

std::variant<PlugHead::Passed, PlugReply> PlugHead::gate(quint16 port) const {
    const QString at = QString::number(port);
    if (value("Origin")) return PlugReply::refusal(403, QStringLiteral("Bots connect from programs, not web pages."));
    if (const auto host = value("Host")) {
        const QString named = QString::fromUtf8(*host);
        if (named != QStringLiteral("127.0.0.1:") + at && named != QStringLiteral("localhost:") + at) {
            return PlugReply::refusal(403, QStringLiteral("Connect to 127.0.0.1:") + at + QStringLiteral(" or localhost:") +
                                               at + QStringLiteral("."));
        }
    }
    if (value("Transfer-Encoding")) {
        return PlugReply::refusal(411, QStringLiteral("Send the body with a Content-Length: chunked bodies aren't read."));
    }
    const auto lengths = values("Content-Length");
    if (lengths.size() > 1) return PlugReply::refusal(400, QStringLiteral("Send one Content-Length."));
    Passed passed;
    if (lengths.empty()) {
        if (method == "POST") return PlugReply::refusal(411, QStringLiteral("Send a Content-Length with the body."));
    } else {
        const QByteArray& text = lengths.front();
        bool whole = !text.isEmpty() && text.size() <= 11;
        for (const char c : text) whole = whole && c >= '0' && c <= '9';
        if (!whole) return PlugReply::refusal(400, QStringLiteral("The Content-Length isn't a number."));
        const qlonglong length = text.toLongLong();
        if (length > mostBodyBytes) return PlugReply::refusal(413, QStringLiteral("The body is too big: 64 KB is the most."));
        passed.bodyLength = static_cast<qsizetype>(length);
    }
    if (method == "GET" && path == QStringLiteral("/")) return passed;
    const auto authorization = value("Authorization");
    const QByteArray scheme = authorization ? authorization->left(7) : QByteArray();
    if (!authorization || scheme.compare("bearer ", Qt::CaseInsensitive) != 0 || authorization->mid(7).trimmed().isEmpty()) {
        PlugReply refused = PlugReply::refusal(401, QStringLiteral("No key. Add the bot in Tavix and send its key."));
        refused.headers.append(qMakePair(QByteArray("WWW-Authenticate"), QByteArray("Bearer realm=\"tavix\"")));
        return refused;
    }
    passed.key = QString::fromUtf8(authorization->mid(7).trimmed());
    return passed;
}

}  // namespace tavix
