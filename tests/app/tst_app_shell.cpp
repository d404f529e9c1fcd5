#include "PlatformText.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAppShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mainWindowLoads()
    {
        QQmlApplicationEngine engine;
        QList<QQmlError> errors;
        connect(&engine, &QQmlApplicationEngine::warnings, this,
                [&errors](const QList<QQmlError> &warnings) { errors += warnings; });
        engine.load(QUrl(u"qrc:/Quenvo/views/Main.qml"_s));
        QCOMPARE(engine.rootObjects().size(), 1);
        QVERIFY2(errors.isEmpty(), qPrintable(errors.isEmpty() ? QString() : errors.first().toString()));

        auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().first());
        QVERIFY(window);
        QCOMPARE(window->title(), u"Quenvo"_s);
        QCOMPARE(window->size(), QSize(1240, 780));
        QCOMPARE(window->minimumSize(), QSize(1000, 650));
        QVERIFY(QTest::qWaitForWindowExposed(window));
        window->close();
    }

    void versionLineNamesThePlatform()
    {
        const QString line = PlatformText::versionLine();
#if defined(Q_OS_MACOS)
        QVERIFY(line.startsWith(u"0.1.0 · "_s));
#else
        QVERIFY2(QRegularExpression(u"^0\\.1\\.0 · Linux \\S+$"_s).match(line).hasMatch(), qPrintable(line));
        QCOMPARE(PlatformText::commandKey(), u"Ctrl+"_s);
#endif
    }
};

QTEST_MAIN(TestAppShell)
#include "tst_app_shell.moc"
