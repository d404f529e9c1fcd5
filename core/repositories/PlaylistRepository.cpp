#include "PlaylistRepository.h"
#include "LocalPlaylistFile.h"
#include "XtreamReaders.h"
#include "async/Background.h"
#include "m3u/M3UParser.h"
#include "records/IPTVError.h"

#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace {

QCoro::Task<ChannelListing> loadM3U(HTTPClient::Fetch fetch, PlaylistSource source, QUrl url,
                                    QByteArray address, CancellationToken cancellation)
{
    QNetworkRequest request = HTTPClient::providerRequest(url);
    if (!source.username.isEmpty())
        request.setRawHeader("Authorization", PlaylistRepository::basicAuthorization(source.username, source.password));
    HTTPPayload payload = co_await fetch(std::move(request), cancellation);
    // Relative entries resolve against the address the list finally came from; without a redirect
    // that is the connection's own address, as the user wrote it.
    QByteArray base = payload.url == url ? std::move(address) : payload.url.toEncoded();
    // Named before the co_await: GCC 12 destroys a lambda that is a temporary of a co_await
    // expression twice (its captures are released twice).
    auto parse = [data = std::move(payload.data), base = std::move(base), cancellation = cancellation.flag()] {
        return PlaylistRepository::channelsOf(data, base, cancellation);
    };
    co_return co_await inBackground(std::move(parse));
}

QCoro::Task<QByteArray> fetchAPI(HTTPClient::Fetch fetch, QString address, CancellationToken cancellation)
{
    const QUrl url = PlaylistSource::httpURL(address);
    HTTPPayload payload = co_await fetch(HTTPClient::providerRequest(url), cancellation);
    co_return std::move(payload.data);
}

QCoro::Task<ChannelListing> loadXtream(HTTPClient::Fetch fetch, PlaylistSource source,
                                       CancellationToken cancellation)
{
    const QString api = source.base() + u"/player_api.php?"_s + source.credentials();

    const QByteArray account = co_await fetchAPI(fetch, api, cancellation);
    const QString extension = XtreamReaders::accountStreamExtension(account);

    QByteArray categoriesBody = co_await fetchAPI(fetch, api + u"&action=get_live_categories"_s, cancellation);
    // The lambdas are named before their co_await: see loadM3U.
    auto readCategories = [body = std::move(categoriesBody), cancellation = cancellation.flag()] {
        return XtreamReaders::liveCategories(body, cancellation);
    };
    QHash<QString, QString> categories = co_await inBackground(std::move(readCategories));

    QByteArray streams = co_await fetchAPI(fetch, api + u"&action=get_live_streams"_s, cancellation);
    auto readStreams = [body = std::move(streams), source, extension, categories = std::move(categories),
                        cancellation = cancellation.flag()] {
        ChannelListing listing;
        listing.channels = XtreamReaders::liveStreams(body, source, extension, categories, cancellation, &listing.extras);
        // The account's own guide, with the same credentials.
        listing.extras.setGuideAddresses({source.base() + u"/xmltv.php?"_s + source.credentials()});
        listing.extras.squeeze();
        return listing;
    };
    co_return co_await inBackground(std::move(readStreams));
}

} // namespace

PlaylistRepository::PlaylistRepository(HTTPClient::Fetch fetch)
    : m_fetch(std::move(fetch))
{
}

QCoro::Task<QList<Channel>> PlaylistRepository::load(PlaylistSource source, CancellationToken cancellation) const
{
    ChannelListing listing = co_await loadListing(std::move(source), std::move(cancellation));
    co_return std::move(listing.channels);
}

QCoro::Task<ChannelListing> PlaylistRepository::loadListing(PlaylistSource source, CancellationToken cancellation) const
{
    // Copied before the first suspension: the repository may go away while the load runs.
    HTTPClient::Fetch fetch = m_fetch;
    if (LocalPlaylistFile::isLocal(source)) {
        // Named before the co_await: see loadM3U.
        auto read = [url = LocalPlaylistFile::url(source)] { return LocalPlaylistFile::read(url); };
        co_return co_await inBackground(std::move(read));
    }
    const QUrl url = source.validatedURL();
    if (source.kind == PlaylistSource::Kind::m3u) {
        QByteArray address = source.validatedAddress();
        co_return co_await loadM3U(std::move(fetch), std::move(source), url, std::move(address),
                                   std::move(cancellation));
    }
    co_return co_await loadXtream(std::move(fetch), std::move(source), std::move(cancellation));
}

ChannelListing PlaylistRepository::channelsOf(const QByteArray &body, const QByteArray &baseAddress,
                                              const CancellationFlag &cancellation)
{
    cancellation.throwIfRaised();
    // Stateless: a sequence cut off at the end of the body is an error, not state kept for more input.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(body);
    if (decoder.hasError())
        throw IPTVError(u"La llista no utilitza una codificació UTF-8 vàlida."_s);
    return M3UParser::parseListing(text, baseAddress, cancellation);
}

QByteArray PlaylistRepository::basicAuthorization(const QString &username, const QString &password)
{
    return "Basic " + (username + u':' + password).toUtf8().toBase64();
}
