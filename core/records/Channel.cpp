#include "Channel.h"
#include "JsonFields.h"

#include <QCryptographicHash>

Channel::Channel(QString name, QString group, const QUrl &url, bool requiresCustomHeaders)
    : Channel(std::move(name), std::move(group), url.toEncoded(), requiresCustomHeaders)
{
}

Channel::Channel(QString name, QString group, QByteArray encodedURL, bool requiresCustomHeaders)
    : m_name(std::move(name))
    , m_group(group.isEmpty() ? uncategorizedGroup() : std::move(group))
    , m_url(std::move(encodedURL))
    , m_digest(digestOf(m_url))
    , m_requiresCustomHeaders(requiresCustomHeaders)
{
    m_url.squeeze();
}

QString Channel::id() const
{
    return hexOf(m_digest);
}

QUrl Channel::url() const
{
    return QUrl::fromEncoded(m_url);
}

QString Channel::favoriteID(const QUuid &source) const
{
    return JsonFields::canonicalUuid(source) + u':' + id();
}

QString Channel::uncategorizedGroup()
{
    return QStringLiteral("Sense categoria");
}

Channel::Digest Channel::digestOf(const QByteArray &absoluteURL)
{
    Digest digest;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(absoluteURL);
    const QByteArrayView result = hash.resultView();
    std::copy(result.begin(), result.end(), digest.begin());
    return digest;
}

QString Channel::hexOf(const Digest &digest)
{
    static constexpr char16_t hexDigits[] = u"0123456789abcdef";
    QString text(qsizetype(digest.size() * 2), Qt::Uninitialized);
    QChar *out = text.data();
    for (const quint8 byte : digest) {
        *out++ = QChar(hexDigits[byte >> 4]);
        *out++ = QChar(hexDigits[byte & 0x0f]);
    }
    return text;
}
