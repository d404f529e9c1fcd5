// The screen saver held off while a picture plays: a fake org.freedesktop.ScreenSaver (and a fake
// desktop portal) on the private session bus record the calls they receive. First the protocol on
// its own (which service, which arguments, release while a request is on its way), then the
// library model playing the local provider's stream through real libVLC, paused, resumed, stopped.

#include "BusTestSupport.h"
#include "PlayingLibrary.h"
#include "desktop/ScreenSaverInhibitor.h"

#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// How the picture stops: playback stopping, stopping (and starting and stopping again) before the
// desktop has answered, or the program ending while it plays. The inhibition is given back each time.
enum class Ending
{
    stopped,
    stoppedBeforeTheAnswer,
    programEnds
};
Q_DECLARE_METATYPE(Ending)

// org.freedesktop.ScreenSaver as desktops offer it: Inhibit gives a cookie, UnInhibit takes it back.
class FakeScreenSaver : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    QStringList calls;

public Q_SLOTS:
    uint Inhibit(const QString &application, const QString &reason)
    {
        ++m_cookie;
        calls.append(u"Inhibit %1 · %2 → %3"_s.arg(application, reason).arg(m_cookie));
        return m_cookie;
    }
    void UnInhibit(uint cookie) { calls.append(u"UnInhibit %1"_s.arg(cookie)); }

private:
    uint m_cookie = 40;
};

// The request object the portal hands back: closing it ends the inhibition.
class FakePortalRequest : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

public:
    explicit FakePortalRequest(QStringList &calls, QString path)
        : m_calls(calls)
        , m_path(std::move(path))
    {
    }

public Q_SLOTS:
    void Close() { m_calls.append(u"Close "_s + m_path); }

private:
    QStringList &m_calls;
    QString m_path;
};

class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Inhibit")

public:
    explicit FakePortal(QDBusConnection bus)
        : m_bus(std::move(bus))
    {
    }

    QStringList calls;

public Q_SLOTS:
    QDBusObjectPath Inhibit(const QString &window, uint flags, const QVariantMap &options)
    {
        const QString path = u"/org/freedesktop/portal/desktop/request/1_1/quenvo%1"_s.arg(++m_requests);
        calls.append(u"Inhibit '%1' %2 %3 → %4"_s.arg(window).arg(flags).arg(options.value(u"reason"_s).toString(), path));
        auto *request = new FakePortalRequest(calls, path);
        request->setParent(this);
        m_bus.registerObject(path, request, QDBusConnection::ExportAllSlots);
        return QDBusObjectPath(path);
    }

private:
    QDBusConnection m_bus;
    int m_requests = 0;
};

class tst_ScreenSaver : public QObject
{
    Q_OBJECT

private:
    QDBusConnection m_desktop = BusTest::otherConnection(u"desktop services"_s);
    std::unique_ptr<FakeScreenSaver> m_screenSaver;
    std::unique_ptr<FakePortal> m_portal;

    void offerScreenSaver()
    {
        m_screenSaver = std::make_unique<FakeScreenSaver>();
        QVERIFY(m_desktop.registerObject(u"/org/freedesktop/ScreenSaver"_s, m_screenSaver.get(),
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(m_desktop.registerService(u"org.freedesktop.ScreenSaver"_s));
    }

    void offerPortal()
    {
        m_portal = std::make_unique<FakePortal>(m_desktop);
        QVERIFY(m_desktop.registerObject(u"/org/freedesktop/portal/desktop"_s, m_portal.get(),
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(m_desktop.registerService(u"org.freedesktop.portal.Desktop"_s));
    }

    QStringList calls() const
    {
        QStringList all;
        if (m_screenSaver)
            all += m_screenSaver->calls;
        if (m_portal)
            all += m_portal->calls;
        return all;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qgetenv("QUENVO_SECRET_SERVICE") != "unlocked")
            QSKIP("runs only inside its own D-Bus session with a throw-away keyring (scripts/with-secret-service.sh)");
        QVERIFY(m_desktop.isConnected());
    }

    void cleanup()
    {
        m_desktop.unregisterService(u"org.freedesktop.ScreenSaver"_s);
        m_desktop.unregisterService(u"org.freedesktop.portal.Desktop"_s);
        m_desktop.unregisterObject(u"/org/freedesktop/ScreenSaver"_s);
        m_desktop.unregisterObject(u"/org/freedesktop/portal/desktop"_s, QDBusConnection::UnregisterTree);
        m_screenSaver.reset();
        m_portal.reset();
    }

    void theDesktopServiceFirstThenThePortal_data()
    {
        QTest::addColumn<bool>("screenSaver");
        QTest::addColumn<bool>("portal");
        QTest::addColumn<Ending>("ending");
        QTest::addColumn<int>("holder");
        QTest::addColumn<QStringList>("expected");
        const QString request = u"/org/freedesktop/portal/desktop/request/1_1/quenvo1"_s;
        const QStringList heldAndReleased {
            u"Inhibit Quenvo · S’està reproduint un vídeo → 41"_s, u"UnInhibit 41"_s};
        const int screenSaver = int(ScreenSaverInhibitor::Holder::screenSaver);
        QTest::newRow("screen saver service")
            << true << true << Ending::stopped << screenSaver << heldAndReleased;
        QTest::newRow("portal only") << false << true << Ending::stopped
                                     << int(ScreenSaverInhibitor::Holder::portal)
                                     << QStringList {
                                            u"Inhibit '' 12 S’està reproduint un vídeo → "_s + request,
                                            u"Close "_s + request};
        QTest::newRow("neither") << false << false << Ending::stopped
                                 << int(ScreenSaverInhibitor::Holder::none) << QStringList();
        QTest::newRow("stopped before the answer")
            << true << false << Ending::stoppedBeforeTheAnswer << screenSaver << heldAndReleased;
        QTest::newRow("program ends")
            << true << false << Ending::programEnds << screenSaver << heldAndReleased;
    }

    void theDesktopServiceFirstThenThePortal()
    {
        QFETCH(bool, screenSaver);
        QFETCH(bool, portal);
        QFETCH(Ending, ending);
        QFETCH(int, holder);
        QFETCH(QStringList, expected);
        if (screenSaver)
            offerScreenSaver();
        if (portal)
            offerPortal();

        auto inhibitor = std::make_unique<ScreenSaverInhibitor>();
        QSignalSpy held(inhibitor.get(), &ScreenSaverInhibitor::holderChanged);
        inhibitor->setWanted(true);
        if (ending == Ending::stoppedBeforeTheAnswer) {
            inhibitor->setWanted(false);
            inhibitor->setWanted(true);
            inhibitor->setWanted(false);
            QTRY_COMPARE(calls(), expected);
            QCOMPARE(inhibitor->holder(), ScreenSaverInhibitor::Holder::none);
            return;
        }
        QTRY_VERIFY(!inhibitor->requesting());
        QCOMPARE(int(inhibitor->holder()), holder);
        QCOMPARE(held.size(), holder == int(ScreenSaverInhibitor::Holder::none) ? 0 : 1);

        if (ending == Ending::programEnds) {
            inhibitor.reset();
        } else {
            inhibitor->setWanted(false);
            QCOMPARE(inhibitor->holder(), ScreenSaverInhibitor::Holder::none);
        }
        QTRY_COMPARE(calls(), expected);
    }

    void heldWhilePlaying()
    {
        offerScreenSaver();
        PlayingLibrary play;
        ProviderOptions options;
        options.liveChannels = 6;
        options.movies = 0;
        options.series = 0;
        options.categories = 1;
        QVERIFY2(play.startProvider(options), qPrintable(play.provider.server().errorString()));
        if (!play.provider.mediaProblem().isEmpty())
            QSKIP(qPrintable(play.provider.mediaProblem()));
        LibraryModel::Environment environment;
        environment.keychainService = u"test.quenvo.screensaver"_s;
        QVERIFY(play.connect(environment));
        LibraryModel &model = *play.model;

        ScreenSaverInhibitor inhibitor;
        inhibitor.follow(model);
        QCOMPARE(inhibitor.holder(), ScreenSaverInhibitor::Holder::none);

        const Channel channel = play.liveChannel(ProviderCatalog::LiveKind::regular);
        model.play(channel, false);
        QTRY_COMPARE_WITH_TIMEOUT(inhibitor.holder(), ScreenSaverInhibitor::Holder::screenSaver, 15000);
        QVERIFY(model.isPlaying());
        QCOMPARE(calls(), QStringList{u"Inhibit Quenvo · S’està reproduint un vídeo → 41"_s});

        QTRY_VERIFY_WITH_TIMEOUT(!model.waiting(), 15000);
        model.togglePlayback(); // pause
        QTRY_COMPARE_WITH_TIMEOUT(inhibitor.holder(), ScreenSaverInhibitor::Holder::none, 10000);
        QTRY_COMPARE(calls().size(), 2);
        QCOMPARE(calls().constLast(), u"UnInhibit 41"_s);

        model.togglePlayback(); // resume
        QTRY_COMPARE_WITH_TIMEOUT(inhibitor.holder(), ScreenSaverInhibitor::Holder::screenSaver, 10000);
        model.stop();
        QCOMPARE(inhibitor.holder(), ScreenSaverInhibitor::Holder::none);
        QTRY_COMPARE(calls(), (QStringList{u"Inhibit Quenvo · S’està reproduint un vídeo → 41"_s, u"UnInhibit 41"_s,
                                          u"Inhibit Quenvo · S’està reproduint un vídeo → 42"_s, u"UnInhibit 42"_s}));

        // A channel that fails never keeps the screen awake.
        model.play(play.liveChannel(ProviderCatalog::LiveKind::missing), false);
        QTRY_VERIFY_WITH_TIMEOUT(model.playbackError().has_value(), 15000);
        QTRY_COMPARE(inhibitor.holder(), ScreenSaverInhibitor::Holder::none);
        QTRY_VERIFY(!inhibitor.requesting());
        const QStringList all = calls();
        QCOMPARE(all.filter(u"UnInhibit"_s).size() * 2, all.size()); // every inhibition given back
    }
};

QTEST_MAIN(tst_ScreenSaver)
#include "tst_screen_saver.moc"
