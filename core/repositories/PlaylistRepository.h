#pragma once

#include "http/HTTPClient.h"
#include "records/Channel.h"
#include "records/ChannelExtras.h"
#include "records/PlaylistSource.h"

#include <QCoroTask>
#include <QList>

// Loads the live channels of one connection: an M3U playlist (optionally behind HTTP Basic), or an
// Xtream Codes account (account check, live categories, live streams, one after the other). An M3U
// connection whose address is a file: URL — a playlist opened from the command line or the file
// manager, never one typed in the editor — is read from disk by LocalPlaylistFile instead.
// Holds no state but its transport; parsing runs off the main thread. Never returns an empty list.
class PlaylistRepository
{
public:
    explicit PlaylistRepository(HTTPClient::Fetch fetch = HTTPClient::defaultFetch());

    QCoro::Task<QList<Channel>> load(PlaylistSource source, CancellationToken cancellation = {}) const;
    // The same channels with what the source says beside them: guide ids, logos and guide addresses
    // (for an Xtream account, its xmltv.php).
    QCoro::Task<ChannelListing> loadListing(PlaylistSource source, CancellationToken cancellation = {}) const;

    // The channels of a playlist's bytes, downloaded or read from disk, with what the list says beside
    // them: UTF-8 only, relative entries resolved against `baseAddress` (an encoded address, kept as
    // written). Throws IPTVError, or CancelledError once `cancellation` is raised.
    static ChannelListing channelsOf(const QByteArray &body, const QByteArray &baseAddress,
                                     const CancellationFlag &cancellation = {});

    // "Basic " + Base64 of "user:password" (UTF-8).
    static QByteArray basicAuthorization(const QString &username, const QString &password);

private:
    HTTPClient::Fetch m_fetch;
};
