#pragma once

#include "http/HTTPClient.h"
#include "async/Cancellation.h"
#include "records/CatalogFavorite.h"
#include "records/Channel.h"
#include "records/PlaylistSource.h"

#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <vector>

class FavoriteChannelListModel;
class FavoriteTitleListModel;
class LibraryModel;

Q_MOC_INCLUDE("models/FavoriteChannelListModel.h")
Q_MOC_INCLUDE("models/FavoriteTitleListModel.h")

// What the favourites browser shows and does. It observes the library model (channels, channel
// favourites, active connection, chosen kind) and the catalogue favourites store, and keeps:
// - the favourite channels of the active connection and its movie and series favourites, with the
//   number of each (the search not applied);
// - the lists on screen: channels, and titles of the chosen kind, whose name contains the search,
//   sorted by name as a person reads them ("Canal 2" before "Canal 10");
// - the poster lookups of the titles on screen: one detail request per favourite while a tile shows
//   it and no poster is known, for the active connection only; failures are silent.
//
// The channels of the active connection are scanned only when they, the channel favourites or the
// active connection change: typing in a search elsewhere costs nothing here, and typing in this
// browser's search filters only the favourites.
class FavoritesModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The library model owns the favourites browser's model.")
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged FINAL)
    Q_PROPERTY(int liveCount READ liveCount NOTIFY liveCountChanged FINAL)
    Q_PROPERTY(int movieCount READ movieCount NOTIFY movieCountChanged FINAL)
    Q_PROPERTY(int seriesCount READ seriesCount NOTIFY seriesCountChanged FINAL)
    Q_PROPERTY(FavoriteChannelListModel *channels READ channels CONSTANT FINAL)
    Q_PROPERTY(FavoriteTitleListModel *titles READ titles CONSTANT FINAL)

public:
    FavoritesModel(LibraryModel &library, HTTPClient::Fetch fetch, QObject *parent = nullptr);
    ~FavoritesModel() override;

    QString search() const { return m_search; }
    void setSearch(const QString &search);

    int liveCount() const { return int(m_favoriteChannels.size()); }
    int movieCount() const { return m_movieCount; }
    int seriesCount() const { return m_seriesCount; }
    // The count of a section by its raw value ("live", "movies", "series"); 0 for anything else.
    Q_INVOKABLE int count(const QString &section) const;

    FavoriteChannelListModel *channels() const { return m_channels; }
    FavoriteTitleListModel *titles() const { return m_titles; }

    // Leaves the favourites for live TV, with no search nor category, and plays the channel at `row`
    // of `channels`.
    Q_INVOKABLE void playChannel(int row);
    // Takes the channel at `row` of `channels` out of the favourites.
    Q_INVOKABLE void removeChannel(int row);
    // Shows the title at `row` of `titles` in its catalogue section.
    Q_INVOKABLE void openTitle(int row);

    // A tile showing favourite `recordID` came on screen: unless its poster is known, its detail is
    // requested once (from the active connection only, when the favourite is of that connection).
    Q_INVOKABLE void requestPoster(const QString &recordID);
    // That tile went away: when no other tile shows the favourite, its lookup is cancelled.
    Q_INVOKABLE void releasePoster(const QString &recordID);
    // Lookups in flight, for tests and diagnostics.
    int posterLookupCount() const { return int(m_lookups.size()); }

Q_SIGNALS:
    void searchChanged();
    void liveCountChanged();
    void movieCountChanged();
    void seriesCountChanged();

private:
    struct Lookup
    {
        CancellationToken cancellation;
        int tiles = 0;
    };

    // The inputs of the derived lists changed: each recomputes only what depends on it. The
    // channels are scanned again only when they or the active connection changed, or when the
    // favourites of the active connection did.
    void updateFavoriteChannels(bool channelsChanged);
    void updateRecords();
    void updateMatchingChannels();
    void updateMatchingTitles();
    QCoro::Task<> lookUpPoster(CatalogFavorite record, PlaylistSource source, CancellationToken cancellation);
    void finishLookup(const QString &recordID, const CancellationToken &cancellation);

    LibraryModel &m_library;
    HTTPClient::Fetch m_fetch;
    FavoriteChannelListModel *m_channels = nullptr;
    FavoriteTitleListModel *m_titles = nullptr;

    QString m_search;
    QList<Channel> m_favoriteChannels;          // of the active connection, in the connection's order
    std::vector<Channel::Digest> m_favoriteDigests; // what m_favoriteChannels was chosen by, sorted
    QList<CatalogFavorite> m_records;            // of the active connection, both kinds
    int m_movieCount = 0;
    int m_seriesCount = 0;
    QHash<QString, Lookup> m_lookups;            // favourite id → poster lookup in flight
};
