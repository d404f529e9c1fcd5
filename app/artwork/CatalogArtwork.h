#pragma once

#include "http/HTTPClient.h"

#include <QQuickAsyncImageProvider>

class ArtworkLoader;
class QQmlEngine;

// The engine's "artwork" image provider: posters and episode pictures from the provider, asked for
// as "image://artwork/<encodeURIComponent(address)>" (see CatalogPoster.qml). A picture already in
// the process-wide cache is answered at once; otherwise the request goes to ArtworkLoader on the
// main thread, which downloads it once through `fetch`, decodes a thumbnail off the main thread and
// caches it. Any failure answers an error: the poster keeps its placeholder.
//
//     CatalogArtwork::install(engine);   // before loading QML that shows posters
class CatalogArtwork : public QQuickAsyncImageProvider
{
public:
    // Main thread. Adds the provider to `engine` (which owns it) unless it already has one.
    static void install(QQmlEngine &engine, HTTPClient::Fetch fetch = HTTPClient::defaultFetch());

    explicit CatalogArtwork(HTTPClient::Fetch fetch);

    // Called by the engine on its image thread.
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override;

    // The address an image id names: the id with its percent-encoding undone, when it is an HTTP or
    // HTTPS address; otherwise an empty URL.
    static QUrl addressOf(const QString &id);

private:
    HTTPClient::Fetch m_fetch;
    ArtworkLoader *const m_loader; // lives as long as the application object, longer than engines
};
