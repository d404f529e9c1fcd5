#include "IconImageProvider.h"

#include "IconCatalog.h"

#include <QUrlQuery>

using namespace Qt::StringLiterals;

IconImageProvider::IconImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage IconImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const qsizetype queryStart = id.indexOf(u'?');
    const QString name = id.left(queryStart);
    QString hex = queryStart < 0
        ? QString()
        : QUrlQuery(id.mid(queryStart + 1)).queryItemValue(u"color"_s, QUrl::FullyDecoded);
    if (hex.startsWith(u'#'))
        hex.remove(0, 1);
    QColor color = QColor::fromString(QString(u'#' + hex));
    if (!color.isValid())
        color = Qt::black;

    // An Image that sets only one side of sourceSize gets a square icon of that side.
    QSize target = requestedSize;
    if (target.width() <= 0)
        target.setWidth(target.height());
    if (target.height() <= 0)
        target.setHeight(target.width());
    if (target.isEmpty())
        target = QSize(defaultSize, defaultSize);

    QImage image = IconCatalog::render(name, color, target);
    if (image.isNull()) {
        // Nothing to draw, but an empty answer would make the Image report an error on every load.
        image = QImage(target, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
    }
    if (size)
        *size = image.size();
    return image;
}
