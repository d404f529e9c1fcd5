#pragma once

#include <QColor>
#include <QImage>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QtQmlIntegration>

class QJSEngine;
class QQmlEngine;

// The application's icons, named by symbol ("play.fill", "star", "lock.shield"…). Each name maps,
// in icons/icons.json, to one SVG of the vendored icon set; the SVGs draw in "currentColor", which is
// replaced by the requested colour before rendering, so one file serves every tint.
//
// QML reaches the icons through the Icon component, which asks this singleton for an
// "image://icon/<name>?color=<hex>" address. Creating the singleton installs that image provider
// on its engine, so no start-up code has to remember to.
//
// An unknown name never fails: it has no address, renders as nothing, and is reported once.
class IconCatalog : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    static IconCatalog *create(QQmlEngine *qmlEngine, QJSEngine *jsEngine);

    // Installs the "icon" image provider on an engine that has none yet.
    static void installImageProvider(QQmlEngine &engine);

    // Every symbol name of the table, sorted.
    static QStringList names();
    static bool contains(const QString &name);
    // The resource holding the name's SVG; empty (and reported once) for an unknown name.
    static QString resourcePath(const QString &name);
    // The icon drawn in `color` filling `size`; a null image for an unknown name or an empty size.
    static QImage render(const QString &name, const QColor &color, QSize size);

    // The address of the tinted icon for an Image's source; empty for an unknown name.
    static QUrl sourceUrl(const QString &name, const QColor &color);
    Q_INVOKABLE QUrl source(const QString &name, const QColor &color) const;

private:
    // Only create() makes the QML singleton: Qt 6.4 would bypass the factory (and so never install
    // the image provider) for a class it can default-construct.
    explicit IconCatalog(QObject *parent = nullptr);
};
