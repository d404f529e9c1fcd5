#include "CatalogFavorites.h"

#include "records/JsonError.h"
#include "records/JsonFields.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

CatalogFavorites::CatalogFavorites(QSettings &preferences, QObject *parent)
    : QObject(parent)
    , m_stored(preferences, storageKey())
    , m_records(m_stored.read(&CatalogFavorites::decode))
{
}

QString CatalogFavorites::storageKey()
{
    return u"catalogFavorites.v1"_s;
}

std::optional<QUrl> CatalogFavorites::poster(const QString &favoriteID) const
{
    const auto found = m_artwork.constFind(favoriteID);
    if (found == m_artwork.cend())
        return std::nullopt;
    return *found;
}

bool CatalogFavorites::contains(const QUuid &source, const CatalogItem &item) const
{
    if (source.isNull())
        return false;
    return std::any_of(m_records.cbegin(), m_records.cend(), [&](const CatalogFavorite &record) {
        return record.sourceID == source && record.kind == item.kind && record.itemID == item.id;
    });
}

bool CatalogFavorites::containsTitle(const QString &source, const QVariant &item) const
{
    return item.canConvert<CatalogItem>() && contains(QUuid::fromString(source), item.value<CatalogItem>());
}

void CatalogFavorites::toggleTitle(const QString &source, const QVariant &item)
{
    if (item.canConvert<CatalogItem>())
        toggle(QUuid::fromString(source), item.value<CatalogItem>());
}

void CatalogFavorites::toggle(const QUuid &source, const CatalogItem &item)
{
    if (source.isNull())
        return;
    const CatalogFavorite favorite(source, item);
    const QString id = favorite.id();
    if (m_records.removeIf([&id](const CatalogFavorite &record) { return record.id() == id; }) > 0) {
        setPoster(id, std::nullopt);
    } else {
        m_records.append(favorite);
        setPoster(id, item.poster);
    }
    Q_EMIT recordsChanged();
    save();
}

void CatalogFavorites::remove(const QUuid &source)
{
    if (m_records.removeIf([&source](const CatalogFavorite &record) { return record.sourceID == source; })
        > 0)
        Q_EMIT recordsChanged();
    const QString prefix = JsonFields::canonicalUuid(source) + u':';
    if (m_artwork.removeIf([&prefix](const auto &entry) { return entry.key().startsWith(prefix); }) > 0)
        Q_EMIT artworkChanged();
    save();
}

void CatalogFavorites::cachePoster(const std::optional<QUrl> &url, const CatalogFavorite &favorite)
{
    const QString id = favorite.id();
    if (std::any_of(m_records.cbegin(), m_records.cend(),
            [&id](const CatalogFavorite &record) { return record.id() == id; }))
        setPoster(id, url);
}

void CatalogFavorites::setPoster(const QString &favoriteID, const std::optional<QUrl> &url)
{
    if (url) {
        const auto found = m_artwork.constFind(favoriteID);
        if (found != m_artwork.cend() && *found == *url)
            return;
        m_artwork.insert(favoriteID, *url);
    } else if (!m_artwork.remove(favoriteID)) {
        return;
    }
    Q_EMIT artworkChanged();
}

void CatalogFavorites::save()
{
    m_stored.write(encode(m_records));
}

QByteArray CatalogFavorites::encode(const QList<CatalogFavorite> &records)
{
    QJsonArray array;
    for (const CatalogFavorite &record : records)
        array.append(record.toJson());
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QList<CatalogFavorite> CatalogFavorites::decode(const QByteArray &data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        throw JsonError(u"catalogue favourites: "_s + error.errorString());
    if (!document.isArray())
        throw JsonError(u"catalogue favourites: expected an array"_s);
    QList<CatalogFavorite> records;
    const QJsonArray array = document.array();
    records.reserve(array.size());
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            throw JsonError(u"catalogue favourites: expected objects"_s);
        records.append(CatalogFavorite::fromJson(value.toObject()));
    }
    return records;
}
