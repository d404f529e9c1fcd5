#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"Quenvo"_s);
    QGuiApplication::setOrganizationName(u"Quenvo"_s);
    QGuiApplication::setOrganizationDomain(u"quenvo.app"_s);
    QGuiApplication::setApplicationVersion(QStringLiteral(QUENVO_VERSION));
    QQuickStyle::setStyle(u"Basic"_s);

    QQmlApplicationEngine engine;
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreationFailed, &app,
                     [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.load(QUrl(u"qrc:/Quenvo/views/Main.qml"_s));
    return QGuiApplication::exec();
}
