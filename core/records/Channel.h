#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <array>

// One playable live stream. Immutable; equal when every field is equal.
//
// Kept compact because a connection can hold 100,000 of them: the address is stored in its encoded
// (ASCII) form and the identity as the raw SHA-256 digest; `id()` and `url()` rebuild the text forms.
class Channel
{
public:
    using Digest = std::array<quint8, 32>;

    // `group` is stored as given, or "Sense categoria" when empty.
    Channel(QString name, QString group, const QUrl &url, bool requiresCustomHeaders);
    // The same from the encoded absolute string of an address already accepted as http(s)
    // (PlaylistSource::acceptedEncodedURL), saving a second parse where channels are made in bulk.
    Channel(QString name, QString group, QByteArray encodedURL, bool requiresCustomHeaders);
    // The same with the identity already computed: `digest` must be digestOf(encodedURL).
    Channel(QString name, QString group, QByteArray encodedURL, const Digest &digest, bool requiresCustomHeaders);

    // 64 lower-case hexadecimal digits: SHA-256 of the address's absolute string.
    QString id() const;
    const Digest &digest() const { return m_digest; }
    const QString &name() const { return m_name; }
    const QString &group() const { return m_group; }
    QUrl url() const;
    // The absolute string of the address, as hashed into the identity.
    const QByteArray &encodedURL() const { return m_url; }
    bool requiresCustomHeaders() const { return m_requiresCustomHeaders; }

    // The connection UUID in canonical upper case, a colon, then `id()`: the key under which
    // favourites and personal lists remember this channel of that connection.
    QString favoriteID(const QUuid &source) const;

    static QString uncategorizedGroup();
    static Digest digestOf(QByteArrayView absoluteURL);
    static QString hexOf(const Digest &digest);

    friend bool operator==(const Channel &, const Channel &) = default;

private:
    QString m_name;
    QString m_group;
    QByteArray m_url;
    Digest m_digest;
    bool m_requiresCustomHeaders;
};
