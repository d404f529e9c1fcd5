#include "LocalPlaylistFile.h"

#include "PlaylistRepository.h"
#include "http/HTTPClient.h"
#include "records/IPTVError.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace LocalPlaylistFile {

namespace {

IPTVError noWebStreams()
{
    return IPTVError(u"No s’han trobat canals HTTP o HTTPS a la llista."_s);
}

} // namespace

bool isLocal(const PlaylistSource &source)
{
    return source.kind == PlaylistSource::Kind::m3u && url(source).isLocalFile();
}

QUrl url(const PlaylistSource &source)
{
    return QUrl(source.address.trimmed(), QUrl::StrictMode);
}

ChannelListing read(const QUrl &url)
{
    const QFileInfo info(url.toLocalFile());
    if (!info.exists())
        throw IPTVError(u"No s’ha trobat el fitxer «%1». Pot haver canviat de lloc o haver estat esborrat."_s
                            .arg(info.fileName()));
    QFile file(info.absoluteFilePath());
    if (info.isDir() || !file.open(QIODevice::ReadOnly))
        throw IPTVError(u"No s’ha pogut llegir el fitxer «%1». Comprova’n els permisos."_s.arg(info.fileName()));
    // One byte past the limit is enough to know that the file is over it.
    const QByteArray body = file.read(HTTPClient::maximumBodyBytes + 1);
    if (body.size() > HTTPClient::maximumBodyBytes)
        throw HTTPClient::sizeLimitError();
    ChannelListing listing = PlaylistRepository::channelsOf(body, url.toEncoded());
    const QList<Channel> &channels = listing.channels;
    // A file that is itself an HLS manifest becomes one channel at its own address: a file, not a
    // web stream, so there is nothing here that the player may open.
    if (std::any_of(channels.cbegin(), channels.cend(),
                    [](const Channel &channel) { return !PlaylistSource::isAcceptedHttpURL(channel.url()); }))
        throw noWebStreams();
    return listing;
}

} // namespace LocalPlaylistFile
