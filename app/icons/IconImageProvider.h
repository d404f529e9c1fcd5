#pragma once

#include <QQuickImageProvider>

// Serves "image://icon/<name>?color=<hex>" (hex is RRGGBB or AARRGGBB, with or without '#') by
// rendering the icon through IconCatalog at the size the Image asks for (its sourceSize).
// An unknown name gives a transparent image, never an error; a missing or unreadable colour draws
// in black.
class IconImageProvider : public QQuickImageProvider
{
public:
    IconImageProvider();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

    // The size used when an Image sets no sourceSize.
    static constexpr int defaultSize = 16;
};
