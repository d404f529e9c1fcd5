// Playlist files given on the command line (or by the file manager, which passes file: URLs): each
// opens as a connection for the session, named after the file, never written to the keychain; its
// channels are its web addresses; a missing or undecodable file leaves a notice in Catalan.

#include "../stores/StoreTestSupport.h"
#include "CommandLine.h"
#include "models/LibraryModel.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QByteArray playlist = "#EXTM3U\n"
                            "#EXTINF:-1 group-title=\"Notícies\",Canal 24\nhttp://cdn.test/24.m3u8\n"
                            "#EXTINF:-1,Local\nvideos/local.ts\n"
                            "#EXTINF:-1 group-title=\"Esports\",Esport 3\nhttps://cdn.test/e3.ts\n";

} // namespace

class tst_LocalPlaylists : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    std::unique_ptr<StoreTest::Preferences> m_preferences;
    std::unique_ptr<LibraryModel> m_model;

    LibraryModel &startModel()
    {
        m_model.reset();
        LibraryModel::Environment environment;
        environment.preferences = &m_preferences->settings();
        environment.keychainService = u"test.quenvo.localplaylists"_s;
        environment.pollPlayback = false;
        m_model = std::make_unique<LibraryModel>(environment);
        if (!QSignalSpy(m_model.get(), &LibraryModel::startedUp).wait(10000))
            qFatal("the library model did not start");
        return *m_model;
    }

    void write(const QString &relativePath, const QByteArray &content)
    {
        const QString path = m_folder.filePath(relativePath);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(path));
    }

    // Opens what the command line gives, as the program does at start, and waits for the loads.
    void openFromCommandLine(const QStringList &arguments)
    {
        const CommandLine::Playlists playlists = CommandLine::playlists(arguments, m_folder.path());
        QVERIFY(playlists.ignored.isEmpty());
        CommandLine::open(*m_model, playlists.sources);
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isLoading(), 10000);
    }

    QStringList channelNames() const
    {
        QStringList names;
        for (const Channel &channel : m_model->channels())
            names.append(channel.name() + u" · "_s + channel.group());
        return names;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qgetenv("QUENVO_SECRET_SERVICE") != "unlocked")
            QSKIP("runs only inside its own D-Bus session with a throw-away keyring (scripts/with-secret-service.sh)");
        write(u"llistes/els meus canals.m3u"_s, playlist);
        write(u"llistes/llatí.m3u8"_s, "#EXTM3U\n#EXTINF:-1,Caf\xe9 TV\nhttp://cdn.test/cafe.ts\n");
    }

    void init()
    {
        m_preferences = std::make_unique<StoreTest::Preferences>();
        startModel();
    }

    void cleanup()
    {
        m_model.reset();
        m_preferences.reset();
    }

    void aFileOpensForTheSession_data()
    {
        QTest::addColumn<QString>("argument"); // "{folder}" stands for the test folder
        QTest::newRow("relative path") << u"llistes/els meus canals.m3u"_s;
        QTest::newRow("absolute path") << u"{folder}/llistes/els meus canals.m3u"_s;
        QTest::newRow("path with dots") << u"./llistes/../llistes/els meus canals.m3u"_s;
        QTest::newRow("file: URL, as the file manager passes it") << u"file://{folder}/llistes/els%20meus%20canals.m3u"_s;
    }

    void aFileOpensForTheSession()
    {
        QFETCH(QString, argument);
        argument.replace(u"{folder}"_s, m_folder.path());
        openFromCommandLine({argument});

        QCOMPARE(m_model->notice(), std::optional<QString>());
        QCOMPARE(m_model->temporarySources().size(), 1);
        const PlaylistSource source = m_model->temporarySources().constFirst();
        QCOMPARE(source.name, u"els meus canals.m3u"_s);
        QCOMPARE(QUrl(source.address).toLocalFile(), m_folder.filePath(u"llistes/els meus canals.m3u"_s));
        QCOMPARE(m_model->activeID(), std::optional<QUuid>(source.id));
        // The relative entry names a file beside the list: not a web stream, so not a channel.
        QCOMPARE(channelNames(), (QStringList{u"Canal 24 · Notícies"_s, u"Esport 3 · Esports"_s}));

        // Never written to the keychain: the next run starts without it.
        QVERIFY(m_model->sources().isEmpty());
        startModel();
        QVERIFY(m_model->sources().isEmpty());
        QVERIFY(m_model->temporarySources().isEmpty());
        QCOMPARE(m_model->activeID(), std::optional<QUuid>());
    }

    void aFileThatCannotBeOpenedLeavesANotice_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("notice");
        QTest::newRow("missing file") << u"llistes/cap.m3u"_s
                                      << u"No s’ha trobat el fitxer «cap.m3u». Pot haver canviat de lloc o haver estat "
                                         u"esborrat."_s;
        QTest::newRow("not UTF-8") << u"llistes/llatí.m3u8"_s
                                   << u"La llista no utilitza una codificació UTF-8 vàlida."_s;
    }

    void aFileThatCannotBeOpenedLeavesANotice()
    {
        QFETCH(QString, argument);
        QFETCH(QString, notice);
        openFromCommandLine({argument});
        QCOMPARE(m_model->notice(), std::optional<QString>(notice));
        QVERIFY(m_model->temporarySources().isEmpty());
        QCOMPARE(m_model->activeID(), std::optional<QUuid>());

        // Refresh reads the file again: once it is there, it opens.
        write(u"llistes/cap.m3u"_s, playlist);
        write(u"llistes/llatí.m3u8"_s, playlist);
        m_model->retry();
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isLoading(), 10000);
        QCOMPARE(m_model->notice(), std::optional<QString>());
        QCOMPARE(m_model->channelCount(), 2);
        write(u"llistes/llatí.m3u8"_s, "#EXTM3U\n#EXTINF:-1,Caf\xe9 TV\nhttp://cdn.test/cafe.ts\n");
        QFile::remove(m_folder.filePath(u"llistes/cap.m3u"_s));
    }

    void filesAndAddressesTogether()
    {
        CommandLine::open(*m_model, CommandLine::playlists({u"llistes/els meus canals.m3u"_s, u"llistes/cap.m3u"_s},
                                                           m_folder.path()).sources);
        // Each opens in turn; the last one's failure is on screen and the first stays active.
        QTRY_VERIFY_WITH_TIMEOUT(m_model->notice().has_value(), 10000);
        QCOMPARE(m_model->temporarySources().size(), 1);
        QCOMPARE(m_model->activeSource()->name, u"els meus canals.m3u"_s);
        QVERIFY(m_model->notice()->startsWith(u"No s’ha trobat el fitxer «cap.m3u»."_s));
    }
};

QTEST_MAIN(tst_LocalPlaylists)
#include "tst_local_playlists.moc"
