// The main window's place between runs: where a stored geometry lands on the screens there are now,
// and a window's size, position and maximised or full-screen state stored and read back.

#include "../stores/StoreTestSupport.h"
#include "desktop/WindowState.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;

class tst_WindowState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clampedToTheScreens_data()
    {
        QTest::addColumn<QRect>("saved");
        QTest::addColumn<QList<QRect>>("screens");
        QTest::addColumn<QRect>("expected");
        const QRect laptop(0, 0, 1920, 1080);
        const QRect right(1920, 0, 2560, 1440);
        const QSize minimum(1000, 650);
        QTest::newRow("inside: unchanged") << QRect(100, 80, 1240, 780) << QList<QRect>{laptop} << QRect(100, 80, 1240, 780);
        QTest::newRow("on the second screen: stays there")
            << QRect(2200, 100, 1240, 780) << QList<QRect>{laptop, right} << QRect(2200, 100, 1240, 780);
        QTest::newRow("second screen gone: centred on the first")
            << QRect(2200, 100, 1240, 780) << QList<QRect>{laptop} << QRect(340, 150, 1240, 780);
        QTest::newRow("hanging off the right edge: moved in")
            << QRect(1500, 500, 1240, 780) << QList<QRect>{laptop} << QRect(680, 300, 1240, 780);
        QTest::newRow("above the top: moved down") << QRect(100, -300, 1240, 780) << QList<QRect>{laptop}
                                                   << QRect(100, 0, 1240, 780);
        QTest::newRow("larger than the screen: shrunk to it")
            << QRect(-50, -50, 3000, 2000) << QList<QRect>{laptop} << laptop;
        QTest::newRow("mostly on the second screen: kept there")
            << QRect(1800, 100, 1240, 780) << QList<QRect>{laptop, right} << QRect(1920, 100, 1240, 780);
        QTest::newRow("a small screen: never under the window's minimum")
            << QRect(0, 0, 1240, 780) << QList<QRect>{QRect(0, 0, 800, 600)} << QRect(QPoint(0, 0), minimum);
        QTest::newRow("a panel on the left: beside it") << QRect(0, 0, 1240, 780)
                                                         << QList<QRect>{QRect(64, 0, 1856, 1080)}
                                                         << QRect(64, 0, 1240, 780);
    }

    void clampedToTheScreens()
    {
        QFETCH(QRect, saved);
        QFETCH(QList<QRect>, screens);
        QFETCH(QRect, expected);
        QCOMPARE(WindowState::clamped(saved, screens, QSize(1000, 650)), expected);
    }

    void storedAndReadBack_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("stored");
        QTest::newRow("normal") << int(Qt::WindowNoState) << u"normal"_s;
        QTest::newRow("maximised") << int(Qt::WindowMaximized) << u"maximized"_s;
        QTest::newRow("full screen") << int(Qt::WindowFullScreen) << u"fullScreen"_s;
    }

    void storedAndReadBack()
    {
        QFETCH(int, state);
        QFETCH(QString, stored);
        StoreTest::Preferences preferences;
        QVERIFY(WindowState(preferences.settings()).initialProperties().isEmpty()); // nothing stored yet
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        const QRect normal(available.topLeft() + QPoint(20, 30), QSize(500, 400));
        {
            QWindow window;
            window.setGeometry(normal);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            WindowState windowState(preferences.settings());
            windowState.follow(&window);
            window.setWindowStates(Qt::WindowStates(state));
            QTRY_COMPARE(int(window.windowStates()), state);
            windowState.save();
        }
        preferences.restart();
        QCOMPARE(preferences.settings().value(u"window.state"_s).toString(), stored);

        const QVariantMap restored = WindowState(preferences.settings()).initialProperties();
        // The normal geometry, even when the window ended maximised or full screen; held to the
        // window's minimum size.
        const QRect expected = WindowState::clamped(normal, {available}, QSize(1000, 650));
        QCOMPARE(QRect(restored.value(u"x"_s).toInt(), restored.value(u"y"_s).toInt(), restored.value(u"width"_s).toInt(),
                       restored.value(u"height"_s).toInt()),
                 expected);
        QCOMPARE(restored.contains(u"visibility"_s), state != Qt::WindowNoState);
        if (state == Qt::WindowFullScreen)
            QCOMPARE(restored.value(u"visibility"_s).value<QWindow::Visibility>(), QWindow::FullScreen);
        if (state == Qt::WindowMaximized)
            QCOMPARE(restored.value(u"visibility"_s).value<QWindow::Visibility>(), QWindow::Maximized);
    }
};

QTEST_MAIN(tst_WindowState)
#include "tst_window_state.moc"
