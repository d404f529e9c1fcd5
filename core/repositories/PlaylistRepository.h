#pragma once

#include "http/HTTPClient.h"
#include "records/Channel.h"
#include "records/ChannelExtras.h"
#include "records/PlaylistSource.h"

#include <QCoroTask>
#include <QList>

// Loads the live channels of one connection: an M3U playlist (optionally behind HTTP Basic), or an
// Xtream Codes account (account check, live categories, live streams, one after the other).
// Holds no state but its transport; parsing runs off the main thread. Never returns an empty list.
class PlaylistRepository
{
public:
    explicit PlaylistRepository(HTTPClient::Fetch fetch = HTTPClient::defaultFetch());

    QCoro::Task<QList<Channel>> load(PlaylistSource source, CancellationToken cancellation = {}) const;
    // The same channels with what the source says beside them: guide ids, logos and guide addresses
    // (for an Xtream account, its xmltv.php).
    QCoro::Task<ChannelListing> loadListing(PlaylistSource source, CancellationToken cancellation = {}) const;

    // "Basic " + Base64 of "user:password" (UTF-8).
    static QByteArray basicAuthorization(const QString &username, const QString &password);

private:
    HTTPClient::Fetch m_fetch;
};
