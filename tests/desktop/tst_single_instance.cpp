// One Quenvo per session: the first launch owns the name on the (private) session bus, a later one
// hands its playlists over and ends with status 0 — checked in-process with two bus connections and
// with the real program started as a second launch; without a bus every launch runs alone.

#include "BusTestSupport.h"
#include "desktop/SingleInstance.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class tst_SingleInstance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("QUENVO_SECRET_SERVICE"))
            QSKIP("runs only inside its own D-Bus session (scripts/with-secret-service.sh)");
        QVERIFY(QDBusConnection::sessionBus().isConnected());
    }

    // A second launch with nothing to open only brings the first one forward; once the first has
    // ended, the name is free for the next.
    void aSecondLaunchComesForwardWhileTheFirstRuns()
    {
        {
            SingleInstance first;
            QCOMPARE(first.start({}), SingleInstance::Role::primary);
            QSignalSpy opened(&first, &SingleInstance::openRequested);
            SingleInstance second(BusTest::otherConnection(u"second launch"_s));
            QCOMPARE(second.start({}), SingleInstance::Role::forwarded);
            QCOMPARE(opened.size(), 1);
            QCOMPARE(opened.constFirst().constFirst().toStringList(), QStringList());
        }
        SingleInstance next(BusTest::otherConnection(u"next launch"_s));
        QCOMPARE(next.start({u"https://tv.example/a.m3u"_s}), SingleInstance::Role::primary);
    }

    // The installed program, started a second time from another folder with a relative path: it
    // must end at once with status 0, and the first one must receive the file's absolute address.
    void theProgramLaunchedAgainHandsOverAndEnds()
    {
        SingleInstance first;
        QCOMPARE(first.start({}), SingleInstance::Role::primary);
        QSignalSpy opened(&first, &SingleInstance::openRequested);

        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkdir(u"llistes"_s));
        QProcess program;
        program.setWorkingDirectory(folder.path());
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QSignalSpy finished(&program, &QProcess::finished);
        program.start(QStringLiteral(QUENVO_BINARY),
                      {u"llistes/els meus canals.m3u"_s, u"--no-such-option"_s, u"https://tv.example/b.m3u"_s});
        QVERIFY(program.waitForStarted());
        // The event loop turns while waiting: this process has to answer the program's call.
        if (!finished.wait(30000)) {
            program.kill();
            program.waitForFinished();
            QFAIL("the second launch did not end: it did not find the first one");
        }
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(opened.size(), 1);
        const QString file = QUrl::fromLocalFile(folder.path() + u"/llistes/els meus canals.m3u"_s).toString(QUrl::FullyEncoded);
        QCOMPARE(opened.constFirst().constFirst().toStringList(), (QStringList{file, u"https://tv.example/b.m3u"_s}));
    }

    void withoutABusEveryLaunchRunsAlone()
    {
        const QDBusConnection nowhere
            = QDBusConnection::connectToBus(u"unix:path=/nonexistent/quenvo-test-bus"_s, u"no bus"_s);
        QVERIFY(!nowhere.isConnected());
        SingleInstance alone(nowhere);
        QCOMPARE(alone.start({u"https://tv.example/a.m3u"_s}), SingleInstance::Role::alone);
        SingleInstance another(nowhere);
        QCOMPARE(another.start({}), SingleInstance::Role::alone);
    }
};

QTEST_GUILESS_MAIN(tst_SingleInstance)
#include "tst_single_instance.moc"
