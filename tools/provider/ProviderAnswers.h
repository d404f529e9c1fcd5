#pragma once

#include "ProviderCatalog.h"

#include <QByteArray>
#include <QString>

// The texts the provider answers with: M3U playlists and the JSON of player_api.php, shaped like
// real Xtream panels (ids as numbers in lists and as strings for episodes, timestamps as strings of
// digits, PHP escapes). Built from the catalogue and the server's own address; pure functions.
class ProviderAnswers
{
public:
    // `baseURL` is "http://127.0.0.1:<port>", without a trailing slash. With `posterPerTitle`, every
    // movie, series and episode names its picture with a query of its own (see titlePosterURL).
    ProviderAnswers(const ProviderCatalog &catalog, QString baseURL, bool posterPerTitle = false);

    // Every live channel; stream addresses carry the account's credentials and end in `extension`
    // ("ts" or "m3u8"). With "ts", the HLS test channel keeps its ".m3u8" address.
    QByteArray playlist(const ProviderAccount &account, const QString &extension) const;

    // The answer without an action: user_info and server_info. `now` is seconds since 1970.
    QByteArray accountInfo(const ProviderAccount &account, qint64 now) const;
    // What every action answers to unknown credentials.
    static QByteArray refused();

    QByteArray liveCategories() const;
    QByteArray vodCategories() const;
    QByteArray seriesCategories() const;
    // Rows of every category when `categoryID` is empty, else of that category only.
    QByteArray liveStreams(const QString &categoryID) const;
    QByteArray vodStreams(const QString &categoryID) const;
    QByteArray series(const QString &categoryID) const;
    QByteArray vodInfo(const QString &vodID) const;
    QByteArray seriesInfo(const QString &seriesID) const;

    QString logoURL(int logo) const;
    QString posterURL(int poster) const;
    // The poster as one title lists it: posterURL, followed with `posterPerTitle` by
    // "?<kind>=<id>" (kind "movie", "series" or "episode"), the same picture under an address of its own.
    QString titlePosterURL(int poster, const char *kind, qint64 id) const;

private:
    const ProviderCatalog &m_catalog;
    QString m_baseURL;
    bool m_posterPerTitle = false;
};
