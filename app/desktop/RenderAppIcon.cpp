// Build helper: renders the application icon's SVG into the PNG sizes of the hicolor theme.
//   quenvo-render-app-icon <icon.svg> <output-dir> <icon-name> <size>…
// writes <output-dir>/<size>x<size>/apps/<icon-name>.png for each size.
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QStringList>
#include <QSvgRenderer>

#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    if (argc < 5) {
        std::fprintf(stderr, "usage: %s <icon.svg> <output-dir> <icon-name> <size>...\n", argv[0]);
        return 2;
    }
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    if (!renderer.isValid()) {
        std::fprintf(stderr, "%s is not a readable SVG\n", argv[1]);
        return 1;
    }
    const QDir output(QString::fromLocal8Bit(argv[2]));
    const QString iconName = QString::fromLocal8Bit(argv[3]);
    for (int i = 4; i < argc; ++i) {
        bool ok = false;
        const int side = QByteArray(argv[i]).toInt(&ok);
        if (!ok || side <= 0) {
            std::fprintf(stderr, "not a size: %s\n", argv[i]);
            return 2;
        }
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, side, side));
        painter.end();

        const QString dir = u"%1x%1/apps"_s.arg(side);
        const QString file = output.filePath(dir + u'/' + iconName + u".png"_s);
        if (!output.mkpath(dir) || !image.save(file, "PNG")) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
