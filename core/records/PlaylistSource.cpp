#include "PlaylistSource.h"
#include "IPTVError.h"
#include "JsonFields.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {
const QString invalidURLMessage()
{
    return u"Cal una URL HTTP o HTTPS vàlida. Escriu l’usuari i la contrasenya als camps corresponents."_s;
}
} // namespace

PlaylistSource::PlaylistSource(QUuid id, QString name, QString address, QString username, QString password,
                               Kind kind)
    : id(id)
    , name(std::move(name))
    , address(std::move(address))
    , username(std::move(username))
    , password(std::move(password))
    , kind(kind)
{
}

QUrl PlaylistSource::validatedURL() const
{
    if (name.trimmed().isEmpty())
        throw IPTVError(u"Posa un nom a la llista."_s);
    const QUrl url = httpURL(address.trimmed());
    if (kind == Kind::m3u)
        return url;
    if (username.isEmpty() || password.isEmpty())
        throw IPTVError(u"Indica l’usuari i la contrasenya del servidor."_s);
    // The last component as a path names it: a trailing slash ends the path, not the name.
    const QString lastComponent = url.path().section(u'/', -1, -1, QString::SectionSkipEmpty);
    if (url.hasQuery() || url.hasFragment() || lastComponent == "player_api.php"_L1
        || lastComponent == "get.php"_L1)
        throw IPTVError(u"Introdueix l’adreça base del servidor, sense player_api.php, get.php ni paràmetres."_s);
    return url;
}

QByteArray PlaylistSource::validatedAddress() const
{
    validatedURL();
    return encodedHttpURL(address.trimmed());
}

QUrl PlaylistSource::parseURL(QStringView text)
{
    // Tolerant parsing: characters that may not stand in a URL (a blank in a path, letters outside
    // ASCII) are percent-encoded rather than refused, as playlists written by hand often hold them.
    return QUrl(text.toString(), QUrl::TolerantMode);
}

bool PlaylistSource::isAcceptedHttpURL(const QUrl &url)
{
    if (!url.isValid())
        return false;
    const QString scheme = url.scheme().toLower();
    if (scheme != "http"_L1 && scheme != "https"_L1)
        return false;
    if (url.host().isEmpty())
        return false;
    return url.userInfo().isEmpty() && !url.authority().contains(u'@');
}

namespace {

bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

// Four decimal numbers 0–255 without leading zeros: the one IPv4 form QUrl writes back unchanged
// (it rewrites shorthands, octal and hexadecimal forms such as 127.1 or 0x7f.1).
bool isDottedQuad(QStringView host)
{
    int parts = 0;
    int value = 0;
    qsizetype digits = 0;
    for (qsizetype i = 0; i <= host.size(); ++i) {
        if (i == host.size() || host[i] == u'.') {
            if (++parts > 4 || digits == 0 || value > 255)
                return false;
            value = 0;
            digits = 0;
            continue;
        }
        const char16_t c = host[i].unicode();
        if (!isDigit(c) || (digits == 1 && value == 0) || ++digits > 3)
            return false;
        value = value * 10 + (c - u'0');
    }
    return parts == 4;
}

// A host QUrl keeps exactly as written: a plain IPv4 address, or lower-case DNS labels that
// neither start nor end with a hyphen, without punycode (which QUrl re-validates) and whose last
// label does not start with a digit (QUrl would read the host as an IPv4 address).
bool isPlainHost(QStringView host)
{
    if (host.isEmpty() || host.size() > 253)
        return false;
    // Lower-case DNS labels first, the usual case; a host that is not one may still be a plain IPv4
    // address (whose last label starts with a digit, so it is never both).
    const char16_t *units = host.utf16();
    qsizetype labelStart = 0;
    for (qsizetype i = 0; i <= host.size(); ++i) {
        if (i < host.size() && units[i] != u'.') {
            const char16_t c = units[i];
            if (!((c >= u'a' && c <= u'z') || isDigit(c) || c == u'-'))
                return isDottedQuad(host);
            continue;
        }
        const qsizetype length = i - labelStart;
        const char16_t *label = units + labelStart;
        if (length == 0 || length > 63 || label[0] == u'-' || label[length - 1] == u'-'
            || (length >= 4 && label[0] == u'x' && label[1] == u'n' && label[2] == u'-' && label[3] == u'-'))
            return isDottedQuad(host);
        if (i == host.size())
            return !isDigit(label[0]) || isDottedQuad(host);
        labelStart = i + 1;
    }
    return false;
}

// Characters of a path or query that QUrl leaves untouched when it writes the encoded form.
constexpr bool isPlainPathCharacter(char16_t c)
{
    if ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9'))
        return true;
    switch (c) {
    case u'-': case u'.': case u'_': case u'~': case u'/': case u'?': case u'=': case u'&': case u':':
    case u'@': case u'+': case u',': case u';': case u'!': case u'$': case u'(': case u')': case u'*':
        return true;
    default:
        return false;
    }
}

constexpr std::array<bool, 128> plainPathCharacters = [] {
    std::array<bool, 128> table{};
    for (char16_t c = 0; c < 128; ++c)
        table[c] = isPlainPathCharacter(c);
    return table;
}();

// Where the authority of "http(s)://host[:port][/path][?query]" ends, when the scheme and the
// authority are written so plainly that QUrl would accept them and write them back unchanged; -1 for
// anything else (IPv6, upper-case hosts, user information, unusual ports), which QUrl checks first.
qsizetype plainAuthorityEnd(QStringView text)
{
    const char16_t *units = text.utf16();
    const qsizetype size = text.size();
    const auto startsWith = [&](const char16_t *prefix, qsizetype length) {
        return size >= length && std::equal(prefix, prefix + length, units);
    };
    qsizetype rest;
    if (startsWith(u"http://", 7))
        rest = 7;
    else if (startsWith(u"https://", 8))
        rest = 8;
    else
        return -1;
    qsizetype authorityEnd = rest;
    qsizetype colon = -1;
    for (; authorityEnd < size && units[authorityEnd] != u'/' && units[authorityEnd] != u'?'; ++authorityEnd) {
        if (units[authorityEnd] == u':' && colon < 0)
            colon = authorityEnd - rest;
    }
    QStringView authority = text.sliced(rest, authorityEnd - rest);
    if (colon >= 0) {
        const QStringView port = authority.sliced(colon + 1);
        if (port.isEmpty() || port.size() > 5 || port.front() == u'0')
            return -1;
        int value = 0;
        for (const QChar c : port) {
            if (!isDigit(c.unicode()))
                return -1;
            value = value * 10 + (c.unicode() - u'0');
        }
        if (value > 65535)
            return -1;
        authority = authority.first(colon);
    }
    return isPlainHost(authority) ? authorityEnd : -1;
}

// The path and query hold only characters QUrl writes back unchanged (no percent escapes, no fragment).
bool isPlainPath(QStringView text, qsizetype from)
{
    const char16_t *units = text.utf16();
    for (qsizetype i = from; i < text.size(); ++i) {
        if (units[i] >= 128 || !plainPathCharacters[units[i]])
            return false;
    }
    return true;
}

// A plain address (see plainAuthorityEnd and isPlainPath) as its Latin-1 bytes, else a null array.
QByteArray plainHttpURL(QStringView text)
{
    const qsizetype authorityEnd = plainAuthorityEnd(text);
    if (authorityEnd < 0)
        return QByteArray();
    // The scheme and the authority are ASCII by now; the rest is checked while it is copied.
    const char16_t *units = text.utf16();
    const qsizetype size = text.size();
    QByteArray latin1(size, Qt::Uninitialized);
    char *out = latin1.data();
    for (qsizetype i = 0; i < authorityEnd; ++i)
        out[i] = char(units[i]);
    for (qsizetype i = authorityEnd; i < size; ++i) {
        const char16_t c = units[i];
        if (c >= 128 || !plainPathCharacters[c])
            return QByteArray();
        out[i] = char(c);
    }
    return latin1;
}

bool isHexDigit(char16_t c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

// Text that is already a URL in its encoded form: printable ASCII that may stand in a URL as it is,
// percent signs that start an escape, at most one "#". QUrl would still rewrite such text (lower-case
// the host and the scheme, upper-case escapes, decode %7E…), which is not ours to do: it is how the
// address was written, and what identifies its channel.
bool isWrittenEncoded(QStringView text)
{
    bool fragment = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c <= 0x20 || c >= 0x7f)
            return false;
        switch (c) {
        case u'"': case u'<': case u'>': case u'\\': case u'^': case u'`': case u'{': case u'|': case u'}':
            return false;
        case u'%':
            if (i + 2 >= text.size() || !isHexDigit(text[i + 1].unicode()) || !isHexDigit(text[i + 2].unicode()))
                return false;
            break;
        case u'#':
            if (fragment)
                return false;
            fragment = true;
            break;
        default:
            break;
        }
    }
    return true;
}

} // namespace

QByteArray PlaylistSource::acceptedEncodedURL(QStringView text)
{
    if (QByteArray plain = plainHttpURL(text); !plain.isNull())
        return plain;
    const QUrl url = parseURL(text);
    if (!isAcceptedHttpURL(url))
        return QByteArray();
    if (isWrittenEncoded(text))
        return text.toLatin1();
    // Blanks, letters outside ASCII and the like are percent-encoded the way QUrl writes them.
    QByteArray encoded = url.toEncoded();
    encoded.squeeze();
    return encoded;
}

bool PlaylistSource::isPlainHttpURL(QStringView text)
{
    return plainHttpAuthorityEnd(text) >= 0;
}

qsizetype PlaylistSource::plainHttpAuthorityEnd(QStringView text)
{
    const qsizetype authorityEnd = plainAuthorityEnd(text);
    return authorityEnd >= 0 && isPlainPath(text, authorityEnd) ? authorityEnd : -1;
}

QByteArray PlaylistSource::encodedHttpURL(QStringView text)
{
    QByteArray encoded = acceptedEncodedURL(text);
    if (encoded.isEmpty())
        throw IPTVError(invalidURLMessage());
    return encoded;
}

QUrl PlaylistSource::httpURL(QStringView text)
{
    const QUrl url = parseURL(text);
    if (!isAcceptedHttpURL(url))
        throw IPTVError(invalidURLMessage());
    return url;
}

QString PlaylistSource::base() const
{
    QString trimmed = address.trimmed();
    qsizetype end = trimmed.size();
    while (end > 0 && trimmed.at(end - 1) == u'/')
        --end;
    trimmed.truncate(end);
    return trimmed;
}

QString PlaylistSource::credentials() const
{
    return "username="_L1 + encoded(username) + "&password="_L1 + encoded(password);
}

QString PlaylistSource::encoded(QStringView text)
{
    static constexpr char hexDigits[] = "0123456789ABCDEF";
    const QByteArray utf8 = text.toUtf8();
    QString result;
    result.reserve(utf8.size() * 3);
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        const bool unreserved = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z')
            || (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
        if (unreserved) {
            result.append(QLatin1Char(c));
        } else {
            result.append(u'%');
            result.append(QLatin1Char(hexDigits[byte >> 4]));
            result.append(QLatin1Char(hexDigits[byte & 0x0f]));
        }
    }
    return result;
}

QJsonObject PlaylistSource::toJson() const
{
    return QJsonObject{
        {"id"_L1, JsonFields::canonicalUuid(id)},
        {"name"_L1, name},
        {"address"_L1, address},
        {"username"_L1, username},
        {"password"_L1, password},
        {"kind"_L1, rawValue(kind)},
    };
}

PlaylistSource PlaylistSource::fromJson(const QJsonObject &object)
{
    const std::optional<Kind> kind = kindFromRawValue(JsonFields::string(object, "kind"_L1));
    if (!kind)
        throw JsonError(u"key \"kind\": unknown connection kind"_s);
    return PlaylistSource(JsonFields::uuid(object, "id"_L1), JsonFields::string(object, "name"_L1),
                          JsonFields::string(object, "address"_L1), JsonFields::string(object, "username"_L1),
                          JsonFields::string(object, "password"_L1), *kind);
}

QString PlaylistSource::rawValue(Kind kind)
{
    switch (kind) {
    case Kind::m3u:
        return u"m3u"_s;
    case Kind::xtream:
        return u"xtream"_s;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<PlaylistSource::Kind> PlaylistSource::kindFromRawValue(QStringView raw)
{
    if (raw == u"m3u")
        return Kind::m3u;
    if (raw == u"xtream")
        return Kind::xtream;
    return std::nullopt;
}
