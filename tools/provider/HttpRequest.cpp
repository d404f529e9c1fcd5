#include "HttpRequest.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QString decoded(QByteArray text, bool plusIsSpace)
{
    if (plusIsSpace)
        text.replace('+', ' ');
    return QUrl::fromPercentEncoding(text);
}

} // namespace

bool HttpRequest::keepAlive() const
{
    const QByteArray connection = header("connection").toLower();
    if (hasBody || connection.contains("close"))
        return false;
    return minorVersion >= 1 || connection.contains("keep-alive");
}

HttpRequest::Parse HttpRequest::take(QByteArray &buffer, HttpRequest &request)
{
    // Blank lines before a request are allowed (RFC 9112 §2.2).
    while (buffer.startsWith("\r\n"))
        buffer.remove(0, 2);
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return buffer.size() > maximumHeadBytes ? Parse::tooLarge : Parse::incomplete;
    if (end > maximumHeadBytes)
        return Parse::tooLarge;
    const QByteArray head = buffer.left(end);
    buffer.remove(0, end + 4);

    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    if (requestLine.size() != 3 || requestLine[0].isEmpty() || !requestLine[2].startsWith("HTTP/1."))
        return Parse::malformed;
    HttpRequest parsed;
    parsed.method = requestLine[0];
    parsed.target = requestLine[1];
    bool versionRead = false;
    parsed.minorVersion = requestLine[2].mid(7).toInt(&versionRead);
    if (!versionRead)
        return Parse::malformed;

    for (qsizetype index = 1; index < lines.size(); ++index) {
        const QByteArray line = lines[index].trimmed();
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            return Parse::malformed;
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        QByteArray &stored = parsed.headers[name];
        stored = stored.isEmpty() ? value : stored + ", " + value;
    }
    const QByteArray length = parsed.header("content-length");
    parsed.hasBody = (!length.isEmpty() && length != "0") || parsed.headers.contains("transfer-encoding");

    QByteArray target = parsed.target;
    if (target.startsWith("http://") || target.startsWith("https://")) {
        const qsizetype slash = target.indexOf('/', target.indexOf("//") + 2);
        target = slash < 0 ? QByteArray("/") : target.mid(slash);
    }
    if (!target.startsWith('/'))
        return Parse::malformed;
    if (const qsizetype fragment = target.indexOf('#'); fragment >= 0)
        target.truncate(fragment);
    const qsizetype question = target.indexOf('?');
    const QByteArray path = target.left(question < 0 ? target.size() : question).mid(1);
    if (!path.isEmpty()) {
        for (const QByteArray &segment : path.split('/'))
            parsed.path.append(decoded(segment, false));
    }
    if (question >= 0) {
        for (const QByteArray &pair : target.mid(question + 1).split('&')) {
            if (pair.isEmpty())
                continue;
            const qsizetype equals = pair.indexOf('=');
            const QString key = decoded(equals < 0 ? pair : pair.left(equals), true);
            parsed.query.insert(key, equals < 0 ? QString() : decoded(pair.mid(equals + 1), true));
        }
    }
    request = std::move(parsed);
    return Parse::complete;
}
