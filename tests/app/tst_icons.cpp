#include "icons/IconCatalog.h"
#include "icons/IconImageProvider.h"

#include <QDirIterator>
#include <QFile>
#include <QIcon>
#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The symbols the views write: the lower-case dotted names quoted after `name:`, `iconName:`,
// `icon:` and `symbol:`, read from the module's own QML files (a value a condition compares
// with `===` is not a symbol).
QStringList symbolsInViews()
{
    static const QRegularExpression property(u"\\b(?:name|iconName|icon|symbol)\\s*:(.*)$"_s);
    static const QRegularExpression symbol(u"(?<!== )\"([a-z][a-z0-9]*(?:\\.[a-z0-9]+)*)\""_s);
    QStringList symbols;
    QDirIterator files(u":/Quenvo/views"_s, {u"*.qml"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
            const QRegularExpressionMatch value = property.match(line);
            for (const QRegularExpressionMatch &quoted : symbol.globalMatch(value.captured(1)))
                symbols.append(quoted.captured(1));
        }
    }
    symbols.sort();
    symbols.removeDuplicates();
    return symbols;
}

// Warnings of the icon category, collected while a test runs.
QStringList iconWarnings;
QtMessageHandler previousHandler = nullptr;

void collectIconWarnings(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && context.category && qstrcmp(context.category, "quenvo.icons") == 0)
        iconWarnings += message;
    previousHandler(type, context, message);
}

struct InkSummary
{
    int inkedPixels = 0; // pixels with any coverage
    int offColourPixels = 0; // well-covered pixels whose colour differs from the expected one
    int maxAlpha = 0;
};

// What an icon image holds: how much it draws, and whether what it draws is the asked colour.
// Anti-aliased edges are partly transparent; only pixels of at least half coverage are compared,
// after un-premultiplying, with a small tolerance for rounding.
InkSummary inkOf(const QImage &rendered, const QColor &expected)
{
    InkSummary summary;
    const QImage image = rendered.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = line[x];
            const int alpha = qAlpha(pixel);
            summary.maxAlpha = std::max(summary.maxAlpha, alpha);
            if (alpha == 0)
                continue;
            ++summary.inkedPixels;
            if (alpha < 128)
                continue;
            const auto off = [](int a, int b) { return std::abs(a - b) > 3; };
            if (off(qRed(pixel), expected.red()) || off(qGreen(pixel), expected.green())
                || off(qBlue(pixel), expected.blue()))
                ++summary.offColourPixels;
        }
    }
    return summary;
}

} // namespace

class TestIcons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { previousHandler = qInstallMessageHandler(collectIconWarnings); }

    void cleanupTestCase() { qInstallMessageHandler(previousHandler); }

    void init() { iconWarnings.clear(); }

    void tableCoversExactlyTheViewSymbols()
    {
        const QStringList inViews = symbolsInViews();
        QVERIFY(inViews.size() > 20); // the views were found and read
        QCOMPARE(IconCatalog::names(), inViews);
    }

    void everyNameRendersInColourAndSize_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QSize>("size");
        const QStringList names = IconCatalog::names();
        QVERIFY(!names.isEmpty());
        for (const QString &name : names) {
            QTest::addRow("%s mint 16", qPrintable(name))
                << name << QColor(0x63, 0xe6, 0xe2) << QSize(16, 16);
            QTest::addRow("%s red 48", qPrintable(name)) << name << QColor(Qt::red) << QSize(48, 48);
            QTest::addRow("%s blue 40x24", qPrintable(name))
                << name << QColor(0x20, 0x40, 0xff) << QSize(40, 24);
        }
    }

    void everyNameRendersInColourAndSize()
    {
        QFETCH(QString, name);
        QFETCH(QColor, color);
        QFETCH(QSize, size);

        const QString path = IconCatalog::resourcePath(name);
        QVERIFY2(QFile::exists(path), qPrintable(path));

        const QImage image = IconCatalog::render(name, color, size);
        QCOMPARE(image.size(), size);
        const InkSummary ink = inkOf(image, color);
        // Something recognisable: at least a few percent of the square the drawing fits in.
        const int square = std::min(size.width(), size.height());
        QVERIFY2(ink.inkedPixels * 100 >= square * square * 3,
            qPrintable(u"only %1 inked pixels"_s.arg(ink.inkedPixels)));
        // Opaque strokes: thin lines at small sizes cover no pixel completely, hence the margin.
        QVERIFY2(ink.maxAlpha >= 200, qPrintable(QString::number(ink.maxAlpha)));
        QCOMPARE(ink.offColourPixels, 0);
        QVERIFY(iconWarnings.isEmpty());
    }

    void unknownNameRendersNothingAndWarnsOnce()
    {
        const QString unknown = u"no.such.symbol"_s;
        QVERIFY(!IconCatalog::contains(unknown));
        QVERIFY(IconCatalog::render(unknown, Qt::red, QSize(24, 24)).isNull());
        QCOMPARE(iconWarnings.size(), 1);
        QVERIFY2(iconWarnings.first().contains(unknown), qPrintable(iconWarnings.first()));

        QVERIFY(IconCatalog::resourcePath(unknown).isEmpty());
        QVERIFY(IconCatalog::sourceUrl(unknown, Qt::red).isEmpty());
        IconImageProvider provider;
        QSize size;
        const QImage fromProvider = provider.requestImage(unknown + u"?color=ff0000"_s, &size, QSize(20, 20));
        QCOMPARE(size, QSize(20, 20));
        QCOMPARE(inkOf(fromProvider, Qt::red).inkedPixels, 0);
        QCOMPARE(iconWarnings.size(), 1); // still the one warning

        QVERIFY(IconCatalog::render(u"another.unknown"_s, Qt::red, QSize(24, 24)).isNull());
        QCOMPARE(iconWarnings.size(), 2); // each unknown name is reported
    }

    void providerReadsNameColourAndSize_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QSize>("requested");
        QTest::addColumn<QColor>("expectedColor");
        QTest::addColumn<QSize>("expectedSize");
        QTest::addColumn<int>("expectedMaxAlpha");
        QTest::newRow("plain hex") << u"play.fill?color=ff0000"_s << QSize(32, 32) << QColor(Qt::red)
                                   << QSize(32, 32) << 255;
        QTest::newRow("encoded hash")
            << u"play.fill?color=%2300ff00"_s << QSize(24, 24) << QColor(Qt::green) << QSize(24, 24) << 255;
        QTest::newRow("with alpha") << u"stop.fill?color=800000ff"_s << QSize(24, 24) << QColor(Qt::blue)
                                    << QSize(24, 24) << 128;
        QTest::newRow("width only") << u"star?color=3ee0b0"_s << QSize(28, 0) << QColor(0x3e, 0xe0, 0xb0)
                                    << QSize(28, 28) << 255;
        QTest::newRow("no size") << u"star?color=3ee0b0"_s << QSize() << QColor(0x3e, 0xe0, 0xb0)
                                 << QSize(IconImageProvider::defaultSize, IconImageProvider::defaultSize)
                                 << 255;
        QTest::newRow("no colour") << u"plus"_s << QSize(24, 24) << QColor(Qt::black) << QSize(24, 24) << 255;
        // The address the views ask for (image://icon/<name>?<colour>) carries the colour, alpha included.
        const QUrl viewsAddress = IconCatalog::sourceUrl(u"star.fill"_s, QColor(255, 0, 0, 128));
        QTest::newRow("the views' address") << viewsAddress.path().mid(1) + u'?' + viewsAddress.query()
                                            << QSize(32, 32) << QColor(Qt::red) << QSize(32, 32) << 128;
    }

    void providerReadsNameColourAndSize()
    {
        QFETCH(QString, id);
        QFETCH(QSize, requested);
        QFETCH(QColor, expectedColor);
        QFETCH(QSize, expectedSize);
        QFETCH(int, expectedMaxAlpha);

        IconImageProvider provider;
        QSize size;
        const QImage image = provider.requestImage(id, &size, requested);
        QCOMPARE(size, expectedSize);
        QCOMPARE(image.size(), expectedSize);
        const InkSummary ink = inkOf(image, expectedColor);
        QVERIFY(ink.inkedPixels > 0);
        QCOMPARE(ink.offColourPixels, 0);
        QVERIFY2(std::abs(ink.maxAlpha - expectedMaxAlpha) <= 2, qPrintable(QString::number(ink.maxAlpha)));
        QVERIFY(iconWarnings.isEmpty());
    }

    // The window icon: the application icon bundled with the module, drawn through Qt's SVG icon
    // engine as the window system would.
    void applicationIconIsBundled()
    {
        const QIcon icon(u":/Quenvo/desktop/quenvo.svg"_s);
        const QImage image = icon.pixmap(QSize(64, 64)).toImage().convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(image.size(), QSize(64, 64));
        // A mint rounded square (corners left transparent) with the dark TV glyph inside.
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        const QColor side = image.pixelColor(6, 32);
        QVERIFY2(side.green() > 200 && side.blue() > 200 && side.red() < 120, qPrintable(side.name()));
        int dark = 0;
        for (int y = 16; y < 48; ++y)
            for (int x = 16; x < 48; ++x)
                if (qAlpha(image.pixel(x, y)) == 255 && qGray(image.pixel(x, y)) < 60)
                    ++dark;
        QVERIFY2(dark > 60, qPrintable(QString::number(dark)));
    }

    // Every icon on the window background and on a panel, the primary button in its states, and a red
    // star on black, as the views draw them through the engine's image provider (which the icon
    // catalogue installs itself). The picture is kept (tst_icons_sheet.png in the working directory)
    // for people to look at.
    void sheetOfAllIcons()
    {
        QQmlEngine engine;
        const QStringList names = IconCatalog::names();
        std::unique_ptr<QQuickWindow> window = createWindow(engine,
            "Window {\n"
            "    id: root\n"
            "    required property var names\n"
            "    readonly property color mint: Theme.mint\n"
            "    width: 680; height: 390; color: Theme.appBackground; visible: true\n"
            "    Grid {\n"
            "        objectName: 'grid'; x: 12; y: 12; columns: 11; spacing: 8\n"
            "        Repeater {\n"
            "            model: root.names\n"
            "            Rectangle {\n"
            "                width: 52; height: 44; radius: Theme.radius; color: Theme.panel\n"
            "                Icon { anchors.centerIn: parent; name: modelData; size: 24;\n"
            "                       color: index % 3 === 0 ? Theme.mint : Theme.primaryText }\n"
            "            }\n"
            "        }\n"
            "    }\n"
            "    Row {\n"
            "        x: 12; y: 270; spacing: 12\n"
            "        MintButton { objectName: 'enabledButton'; text: 'Afegeix llista'; iconName: 'plus' }\n"
            "        MintButton {\n"
            "            objectName: 'pressedButton'; text: 'Premut'; iconName: 'plus'; down: true\n"
            "        }\n"
            "        MintButton {\n"
            "            objectName: 'disabledButton'; text: 'Connecta la primera llista'; iconName: 'plus'\n"
            "            enabled: false\n"
            "        }\n"
            "        MintButton { text: 'Sense icona' }\n"
            "    }\n"
            "    Rectangle {\n"
            "        x: 12; y: 318; width: 60; height: 60; color: 'black'\n"
            "        Icon {\n"
            "            objectName: 'redStar'; x: 10; y: 10; name: 'star.fill'; color: '#ff0000'; size: 40\n"
            "        }\n"
            "    }\n"
            "}\n",
            {{u"names"_s, names}});
        QVERIFY(window);
        const QImage grabbed = window->grabWindow().convertToFormat(QImage::Format_RGB32);
        grabbed.save(u"tst_icons_sheet.png"_s);

        // The shared colours: the window background, a panel (beside the first cell's icon), the mint.
        const auto channel = [](double value) { return qRound(value * 255); };
        const auto near = [](QRgb seen, QRgb expected) {
            return std::abs(qRed(seen) - qRed(expected)) <= 1
                && std::abs(qGreen(seen) - qGreen(expected)) <= 1
                && std::abs(qBlue(seen) - qBlue(expected)) <= 1;
        };
        const QRgb background = grabbed.pixel(2, 2);
        QVERIFY2(near(background, qRgb(channel(0.035), channel(0.055), channel(0.085))),
            qPrintable(QColor(background).name()));
        const QRgb panel = grabbed.pixel(14, 34);
        QVERIFY2(near(panel, qRgb(channel(0.065), channel(0.09), channel(0.13))),
            qPrintable(QColor(panel).name()));
        const QColor mint = window->property("mint").value<QColor>();
        QCOMPARE(mint.alpha(), 255);
        QVERIFY2(mint.green() > 180 && mint.blue() > 180 && mint.red() < mint.green() - 60,
            qPrintable(mint.name()));

        // Each cell shows its icon: light pixels on the dark panel.
        for (int i = 0; i < names.size(); ++i) {
            const QRect cell(12 + (i % 11) * 60, 12 + (i / 11) * 52, 52, 44);
            int light = 0;
            for (int y = cell.top(); y <= cell.bottom(); ++y)
                for (int x = cell.left(); x <= cell.right(); ++x)
                    if (qGray(grabbed.pixel(x, y)) > qGray(panel) + 60)
                        ++light;
            QVERIFY2(light >= 12, qPrintable(u"%1 shows %2 light pixels"_s.arg(names.at(i)).arg(light)));
        }

        // The star: red ink on black (anti-aliased edges blend towards black, never another hue).
        auto *star = window->findChild<QQuickItem *>(u"redStar"_s);
        QVERIFY(star);
        const QRect starArea = star->mapRectToScene(QRectF(0, 0, star->width(), star->height())).toRect();
        QCOMPARE(starArea.size(), QSize(40, 40));
        int red = 0;
        for (int y = starArea.top(); y <= starArea.bottom(); ++y) {
            for (int x = starArea.left(); x <= starArea.right(); ++x) {
                const QRgb pixel = grabbed.pixel(x, y);
                QVERIFY2(qGreen(pixel) < 8 && qBlue(pixel) < 8, qPrintable(u"(%1,%2)"_s.arg(x).arg(y)));
                if (qRed(pixel) > 240)
                    ++red;
            }
        }
        QVERIFY2(red > 40 * 40 / 4, qPrintable(QString::number(red)));

        // The primary button: label at full or half opacity, background dimmed while pressed.
        const auto opacities = [&](const QString &name) {
            auto *button = window->findChild<QQuickItem *>(name);
            return std::pair(button->property("contentItem").value<QQuickItem *>()->opacity(),
                button->property("background").value<QQuickItem *>()->opacity());
        };
        QCOMPARE(opacities(u"enabledButton"_s), std::pair(1.0, 1.0));
        QCOMPARE(opacities(u"pressedButton"_s), std::pair(1.0, 0.65));
        QCOMPARE(opacities(u"disabledButton"_s), std::pair(0.5, 1.0));

        // Enabled, it is mint with dark content, rounded and padded.
        auto *button = window->findChild<QQuickItem *>(u"enabledButton"_s);
        QCOMPARE(button->property("background").value<QQuickItem *>()->property("radius").toDouble(), 8.0);
        QCOMPARE(button->property("leftPadding").toDouble(), 12.0);
        QCOMPARE(button->property("topPadding").toDouble(), 8.0);
        const QPointF inside = button->mapToScene(QPointF(3, button->height() / 2));
        const QColor fill = grabbed.pixelColor(inside.toPoint());
        QVERIFY2(std::abs(fill.red() - mint.red()) <= 2 && std::abs(fill.green() - mint.green()) <= 2
                && std::abs(fill.blue() - mint.blue()) <= 2,
            qPrintable(fill.name()));
        int dark = 0;
        const QRectF area = button->mapRectToScene(QRectF(0, 0, button->width(), button->height()));
        for (int y = int(area.top()) + 2; y < int(area.bottom()) - 2; ++y)
            for (int x = int(area.left()) + 4; x < int(area.right()) - 4; ++x)
                if (qGray(grabbed.pixel(x, y)) < 40)
                    ++dark;
        QVERIFY2(dark > 30, qPrintable(QString::number(dark)));
    }

private:
    // A window made from QML placed beside the views, so that it sees the module's components.
    static std::unique_ptr<QQuickWindow> createWindow(
        QQmlEngine &engine, const char *body, const QVariantMap &properties = {})
    {
        // As the application's engine: the module's qmldir lies at qrc:/Quenvo/ (Qt 6.4).
        engine.addImportPath(u"qrc:/"_s);
        QQmlComponent component(&engine);
        component.setData(QByteArray("import QtQuick\nimport QtQuick.Window\nimport Quenvo\n") + body,
            QUrl(u"qrc:/Quenvo/views/TestWindow.qml"_s));
        std::unique_ptr<QObject> object(component.createWithInitialProperties(properties));
        if (!object) {
            qWarning().noquote() << component.errorString();
            return {};
        }
        std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow *>(object.release()));
        if (window && window->isVisible() && !QTest::qWaitForWindowExposed(window.get()))
            return {};
        return window;
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
