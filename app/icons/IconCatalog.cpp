#include "IconCatalog.h"

#include "IconImageProvider.h"

#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QMutex>
#include <QMutexLocker>
#include <QPainter>
#include <QQmlEngine>
#include <QSet>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcIcons, "quenvo.icons")

namespace {

// Where qt_add_qml_module places the module's resources on Qt 6.4.
constexpr auto tableResource = ":/Quenvo/icons/icons.json"_L1;
constexpr auto iconsResourceDir = ":/Quenvo/icons/"_L1;

struct IconTable
{
    QHash<QString, QString> paths; // symbol name -> resource path of its SVG
    QStringList names;
};

IconTable loadTable()
{
    IconTable table;
    QFile file(tableResource);
    if (!file.open(QIODevice::ReadOnly)) {
        qCCritical(lcIcons) << "The icon table is missing from the resources:" << tableResource;
        return table;
    }
    const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    const QString setDir = iconsResourceDir + root.value("set"_L1).toString() + u'/';
    const QJsonObject icons = root.value("icons"_L1).toObject();
    for (auto it = icons.begin(); it != icons.end(); ++it)
        table.paths.insert(it.key(), setDir + it.value().toString() + ".svg"_L1);
    table.names = table.paths.keys();
    table.names.sort();
    return table;
}

const IconTable &table()
{
    static const IconTable loaded = loadTable();
    return loaded;
}

// Views may ask for the same unknown name on every delegate; say it once per name.
void reportUnknownOnce(const QString &name)
{
    static QMutex mutex;
    static QSet<QString> reported;
    const QMutexLocker lock(&mutex);
    if (reported.contains(name))
        return;
    reported.insert(name);
    qCWarning(lcIcons) << "No icon is named" << name << "- it is drawn as nothing";
}

// The SVG text of a resource, read once: the set is small and every view shares it.
QByteArray svgText(const QString &path)
{
    static QMutex mutex;
    static QHash<QString, QByteArray> cache;
    const QMutexLocker lock(&mutex);
    auto it = cache.constFind(path);
    if (it == cache.constEnd()) {
        QFile file(path);
        QByteArray text;
        if (file.open(QIODevice::ReadOnly))
            text = file.readAll();
        else
            qCWarning(lcIcons) << "Cannot read icon resource" << path;
        it = cache.insert(path, text);
    }
    return *it;
}

} // namespace

IconCatalog *IconCatalog::create(QQmlEngine *qmlEngine, QJSEngine *jsEngine)
{
    Q_UNUSED(jsEngine)
    if (qmlEngine)
        installImageProvider(*qmlEngine);
    return new IconCatalog;
}

void IconCatalog::installImageProvider(QQmlEngine &engine)
{
    const QString id = u"icon"_s;
    if (!engine.imageProvider(id))
        engine.addImageProvider(id, new IconImageProvider); // the engine owns it
}

QStringList IconCatalog::names()
{
    return table().names;
}

bool IconCatalog::contains(const QString &name)
{
    return table().paths.contains(name);
}

QString IconCatalog::resourcePath(const QString &name)
{
    const QString path = table().paths.value(name);
    if (path.isEmpty())
        reportUnknownOnce(name);
    return path;
}

QImage IconCatalog::render(const QString &name, const QColor &color, QSize size)
{
    const QString path = resourcePath(name);
    if (path.isEmpty() || size.isEmpty())
        return {};

    // The set draws with "currentColor"; the colour's alpha is applied as painter opacity because
    // SVG colour names carry no alpha.
    QByteArray text = svgText(path);
    text.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(text);
    if (!renderer.isValid()) {
        qCWarning(lcIcons) << "Icon resource is not a valid SVG:" << path;
        return {};
    }

    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(color.alphaF());
    // Keep the drawing's proportions and centre it when asked for a non-square size.
    QSizeF drawn = renderer.viewBoxF().size();
    drawn.scale(QSizeF(size), Qt::KeepAspectRatio);
    const QPointF origin((size.width() - drawn.width()) / 2, (size.height() - drawn.height()) / 2);
    renderer.render(&painter, QRectF(origin, drawn));
    painter.end();
    return image;
}

IconCatalog::IconCatalog(QObject *parent)
    : QObject(parent)
{
}

QUrl IconCatalog::source(const QString &name, const QColor &color) const
{
    return sourceUrl(name, color);
}

QUrl IconCatalog::sourceUrl(const QString &name, const QColor &color)
{
    if (resourcePath(name).isEmpty())
        return {};
    const QString hex = color.name(color.alpha() < 255 ? QColor::HexArgb : QColor::HexRgb).mid(1);
    QUrl url;
    url.setScheme(u"image"_s);
    url.setHost(u"icon"_s);
    url.setPath(u'/' + name);
    url.setQuery(u"color="_s + hex);
    return url;
}
