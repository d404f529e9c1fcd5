#pragma once

#include "records/CatalogFavorite.h"
#include "records/CatalogItem.h"

#include "StoredValueBackup.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QUrl>
#include <QUuid>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <optional>

class QSettings;

// The user's favourite movies and series of every connection, oldest first, kept in the
// preferences under "catalogFavorites.v1" as a JSON array of CatalogFavorite objects. Beside them,
// in memory only, the poster address last seen for each favourite. Main thread only; every change
// rewrites the whole list.
//
// A connection is named by its id; a null QUuid stands for "no active connection". Stored bytes
// that cannot be read give an empty list and are kept under a dated backup key (StoredValueBackup)
// just before the first save replaces them.
class CatalogFavorites : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The library model owns the catalogue favourites.")
    Q_PROPERTY(QList<CatalogFavorite> records READ records NOTIFY recordsChanged FINAL)
    // How many favourites there are, of every connection: views bind to it to follow changes.
    Q_PROPERTY(int count READ count NOTIFY recordsChanged FINAL)
    Q_PROPERTY(QHash<QString, QUrl> artwork READ artwork NOTIFY artworkChanged FINAL)

public:
    explicit CatalogFavorites(QSettings &preferences, QObject *parent = nullptr);

    static QString storageKey();

    const QList<CatalogFavorite> &records() const { return m_records; }
    // Favourite id → poster address; never stored.
    const QHash<QString, QUrl> &artwork() const { return m_artwork; }
    std::optional<QUrl> poster(const QString &favoriteID) const;

    int count() const { return int(m_records.size()); }

    bool contains(const QUuid &source, const CatalogItem &item) const;
    // The same for views: a connection id as text (empty: none) and a title as the catalogue's
    // list models hand it out (their "record" role). Anything else is no favourite.
    Q_INVOKABLE bool containsTitle(const QString &source, const QVariant &item) const;
    // Adds the favourite at the end (remembering the item's poster), or removes it; then saves.
    // Nothing happens without a connection.
    void toggle(const QUuid &source, const CatalogItem &item);
    Q_INVOKABLE void toggleTitle(const QString &source, const QVariant &item);
    // Forgets every favourite of a connection and their posters; then saves.
    void remove(const QUuid &source);
    // Remembers (or, with no address, forgets) the poster of a favourite still in the list.
    void cachePoster(const std::optional<QUrl> &url, const CatalogFavorite &favorite);
    void save();

    static QByteArray encode(const QList<CatalogFavorite> &records);
    // Throws JsonError unless `data` is a JSON array of valid favourite objects.
    static QList<CatalogFavorite> decode(const QByteArray &data);

Q_SIGNALS:
    void recordsChanged();
    void artworkChanged();

private:
    void setPoster(const QString &favoriteID, const std::optional<QUrl> &url);

    StoredJsonValue m_stored;
    QList<CatalogFavorite> m_records;
    QHash<QString, QUrl> m_artwork;
};
