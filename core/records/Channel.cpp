#include "Channel.h"
#include "JsonFields.h"

// SHA256_Init/Update/Final are marked deprecated in OpenSSL 3 in favour of EVP, which costs a provider
// look-up and per-thread state; they stay available and run the same code.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/sha.h>

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

Channel::Channel(QString name, QString group, QByteArray encodedURL, const Digest &digest, bool requiresCustomHeaders)
    : m_name(std::move(name))
    , m_group(group.isEmpty() ? uncategorizedGroup() : std::move(group))
    , m_url(std::move(encodedURL))
    , m_digest(digest)
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

Channel::Digest Channel::digestOf(QByteArrayView absoluteURL)
{
    // OpenSSL's SHA-256 uses the processor's SHA instructions where there are some: lists of 100,000
    // channels hash every address. The digest's own functions keep no state between calls and none
    // per thread, and skip the provider look-up that the EVP interface makes for every digest.
    Digest digest;
    SHA256_CTX context;
    SHA256_Init(&context);
    SHA256_Update(&context, absoluteURL.data(), size_t(absoluteURL.size()));
    SHA256_Final(digest.data(), &context);
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
