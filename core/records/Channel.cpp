#include "Channel.h"
#include "JsonFields.h"

#include <openssl/evp.h>

#include <memory>

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

namespace {

// OpenSSL's SHA-256 uses the processor's SHA instructions where there are some: lists of 100,000
// channels hash every address. The algorithm is fetched once; each thread reuses one context, since
// making one per address costs more than hashing a short address.
struct DigestContext
{
    struct Free
    {
        void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> context{EVP_MD_CTX_new()};
};

// Fetched explicitly: the implicit EVP_sha256() would be looked up again on every use.
const EVP_MD *sha256()
{
    static const EVP_MD *const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return algorithm;
}

} // namespace

Channel::Digest Channel::digestOf(QByteArrayView absoluteURL)
{
    thread_local DigestContext perThread;
    Digest digest;
    unsigned int size = 0;
    EVP_MD_CTX *context = perThread.context.get();
    if (!context || !EVP_DigestInit_ex2(context, sha256(), nullptr)
        || !EVP_DigestUpdate(context, absoluteURL.data(), size_t(absoluteURL.size()))
        || !EVP_DigestFinal_ex(context, digest.data(), &size) || size != digest.size())
        qFatal("SHA-256 is not available from OpenSSL");
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
