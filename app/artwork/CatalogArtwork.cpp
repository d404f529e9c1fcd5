#include "CatalogArtwork.h"
#include "ArtworkLoader.h"
#include "ArtworkResponse.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QQmlEngine>

using namespace Qt::StringLiterals;

void CatalogArtwork::install(QQmlEngine &engine, HTTPClient::Fetch fetch)
{
    const QString id = u"artwork"_s;
    if (!engine.imageProvider(id))
        engine.addImageProvider(id, new CatalogArtwork(std::move(fetch))); // the engine owns it
}

CatalogArtwork::CatalogArtwork(HTTPClient::Fetch fetch)
    : m_fetch(std::move(fetch))
    , m_loader(ArtworkLoader::instance())
{
}

QUrl CatalogArtwork::addressOf(const QString &id)
{
    try {
        return PlaylistSource::httpURL(QUrl::fromPercentEncoding(id.toUtf8()));
    } catch (const IPTVError &) {
        return {};
    }
}

QQuickImageResponse *CatalogArtwork::requestImageResponse(const QString &id, const QSize &requestedSize)
{
    // Pictures are kept at one size for every view that shows them; the Image scales them.
    Q_UNUSED(requestedSize)
    ArtworkLoader *loader = m_loader;
    auto *response = new ArtworkResponse(addressOf(id), [loader](std::shared_ptr<ArtworkResponse::Reply> reply) {
        QMetaObject::invokeMethod(loader, [loader, reply] { loader->withdraw(reply); }, Qt::QueuedConnection);
    });
    const std::shared_ptr<ArtworkResponse::Reply> reply = response->reply();
    if (reply->url().isEmpty()) {
        reply->answer({});
        return response;
    }
    if (const QImage picture = loader->cached(reply->url()); !picture.isNull()) {
        reply->answer(picture);
        return response;
    }
    QMetaObject::invokeMethod(
        loader, [loader, reply, fetch = m_fetch] { loader->request(reply, fetch); }, Qt::QueuedConnection);
    return response;
}
