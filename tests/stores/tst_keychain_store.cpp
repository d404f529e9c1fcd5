// The saved connections in a real Secret Service: a throw-away GNOME Keyring started by
// scripts/with-secret-service.sh, never the user's. Covers the first start, writing, reading and
// rewriting the item, the start connection, saving an edited connection, session-only connections,
// removal, operations that overlap, an item that cannot be read, and that credentials never reach a
// plain file.

#include "StoreTestSupport.h"
#include "Texts.h"
#include "stores/ConnectionRegistry.h"
#include "stores/KeychainStore.h"
#include "stores/SecretServiceProbe.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <qt6keychain/keychain.h>

using namespace Qt::StringLiterals;

namespace {
// Each test uses a service of its own, so that tests sharing the keyring never see each other's item.
QString freshService()
{
    return u"app.quenvo.Quenvo.tests."_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

PlaylistSource m3u(const QString &name, const QString &password = QString())
{
    return PlaylistSource(QUuid::createUuid(), name, u"http://127.0.0.1:8080/%1.m3u"_s.arg(name),
        password.isEmpty() ? QString() : u"usuari"_s, password, PlaylistSource::Kind::m3u);
}

PlaylistSource xtream(const QString &name, const QString &password)
{
    return PlaylistSource(QUuid::createUuid(), name, u"http://127.0.0.1:8080"_s, u"compte"_s, password,
        PlaylistSource::Kind::xtream);
}

QStringList namesOf(const QList<PlaylistSource> &sources)
{
    QStringList names;
    for (const PlaylistSource &source : sources)
        names.append(source.name);
    return names;
}

// The item as another Secret Service client sees it (libsecret's own tool), or a null array when
// there is none.
QByteArray lookUp(const QString &service)
{
    QProcess tool;
    // The account by its literal name: the item users already have is found by it.
    tool.start(u"secret-tool"_s, {u"lookup"_s, u"server"_s, service, u"user"_s, u"playlist-sources-v1"_s});
    if (!tool.waitForFinished(30000) || tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0)
        return QByteArray();
    return tool.readAllStandardOutput();
}

// Puts raw bytes in the item, as something other than the store might have left them.
QString putRaw(const QString &service, const QString &text)
{
    QKeychain::WritePasswordJob job(service);
    job.setAutoDelete(false);
    job.setKey(KeychainStore::account());
    job.setTextData(text);
    QSignalSpy finished(&job, &QKeychain::Job::finished);
    job.start();
    if (!finished.wait(30000))
        return u"no answer"_s;
    return job.error() == QKeychain::NoError ? QString() : job.errorString();
}

QList<PlaylistSource> readBack(const QString &service)
{
    const auto outcome = StoreTest::run(KeychainStore(service).read());
    if (!outcome.failure.isEmpty())
        qWarning() << "reading back failed:" << outcome.failure;
    return outcome.value.value_or(QList<PlaylistSource>());
}

// Every file under `folder` whose bytes contain one of `needles`.
QStringList filesContaining(const QString &folder, const QList<QByteArray> &needles)
{
    QStringList found;
    QDirIterator files(
        folder, QDir::Files | QDir::Hidden | QDir::System | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray bytes = file.readAll();
        for (const QByteArray &needle : needles) {
            if (bytes.contains(needle)) {
                found.append(path);
                break;
            }
        }
    }
    return found;
}
} // namespace

class TestKeychainStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariable("QUENVO_SECRET_SERVICE") != u"unlocked"_s)
            QFAIL("run through scripts/with-secret-service.sh: these tests write to the Secret Service");
        QCoreApplication::setOrganizationName(u"Quenvo"_s);
        QCoreApplication::setOrganizationDomain(u"quenvo.app"_s);
        QCoreApplication::setApplicationName(u"Quenvo"_s);
        // The service the item users already have is stored under.
        QCOMPARE(KeychainStore::applicationService(), u"app.quenvo.Quenvo"_s);
    }

    // A registry from its first start, as the user fills it: nothing found at first; a connection used
    // for the session, then edited and saved, moves to the end and leaves the session's list; a removed
    // one leaves the keychain; removing a session-only connection writes nothing.
    void aRegistryFromItsFirstStart()
    {
        const QString service = freshService();
        StoreTest::Preferences preferences;
        ConnectionRegistry registry(KeychainStore(service), preferences.settings());
        QSignalSpy canSave(&registry, &ConnectionRegistry::canSaveChanged);
        const auto startUp = StoreTest::run(registry.readSaved());
        QCOMPARE(startUp.failure, QString());
        QVERIFY(!startUp.value->start);
        QVERIFY(!startUp.value->notice);
        QVERIFY(registry.canSave());
        QCOMPARE(canSave.count(), 0);
        QVERIFY(registry.sources().isEmpty());
        QVERIFY(lookUp(service).isNull());

        const PlaylistSource a = m3u(u"A"_s, u"pa"_s);
        const PlaylistSource b = m3u(u"B"_s);
        const PlaylistSource c = xtream(u"C"_s, u"pc"_s);
        for (const PlaylistSource &source : {a, b, c})
            QCOMPARE(StoreTest::run(registry.keepLoaded(source, true, false)), QString());
        // The same connection also used for the session, then edited and saved.
        QCOMPARE(StoreTest::run(registry.keepLoaded(a, false, true)), QString());
        QCOMPARE(registry.temporarySources(), QList<PlaylistSource>({a}));

        PlaylistSource edited = a;
        edited.name = u"A editada"_s;
        edited.password = u"nova clau"_s;
        QSignalSpy temporary(&registry, &ConnectionRegistry::temporarySourcesChanged);
        QCOMPARE(StoreTest::run(registry.keepLoaded(edited, true, false)), QString());
        QCOMPARE(namesOf(registry.sources()), QStringList({u"B"_s, u"C"_s, u"A editada"_s}));
        QCOMPARE(readBack(service), QList<PlaylistSource>({b, c, edited}));
        QVERIFY(registry.temporarySources().isEmpty());
        QCOMPARE(temporary.count(), 1);
        QCOMPARE(registry.allSources(), registry.sources());

        const PlaylistSource session = m3u(u"S"_s);
        QCOMPARE(StoreTest::run(registry.keepLoaded(session, false, true)), QString());
        registry.rememberActive(b);
        QCOMPARE(StoreTest::run(registry.remove(b)), QString());
        QCOMPARE(registry.sources(), QList<PlaylistSource>({c, edited}));
        QCOMPARE(readBack(service), QList<PlaylistSource>({c, edited}));
        registry.forgetActive();
        QVERIFY(!preferences.settings().contains(ConnectionRegistry::activeSourceKey()));

        const QByteArray item = lookUp(service);
        QCOMPARE(StoreTest::run(registry.remove(session)), QString());
        QVERIFY(registry.temporarySources().isEmpty());
        QCOMPARE(lookUp(service), item);
    }

    void writeReadRewrite()
    {
        const QString service = freshService();
        const KeychainStore store(service);
        const QList<PlaylistSource> first {
            m3u(u"Llista"_s, u"clau-1"_s), xtream(u"Proveïdor"_s, u"clau «2»"_s)};
        QCOMPARE(StoreTest::run(store.write(first)), QString());
        QCOMPARE(readBack(service), first);
        // The item holds the compact JSON array, as any other client of the service reads it.
        QCOMPARE(lookUp(service), KeychainStore::encode(first));
        QVERIFY(!lookUp(service).contains('\n'));
        // The item shows under the application's name in the desktop's keyring manager.
        QCOMPARE(StoreTest::run(SecretServiceProbe::label(service, KeychainStore::account())).value,
            std::optional<QString>(u"Quenvo · Connexions"_s));

        const QList<PlaylistSource> second {first.at(1), m3u(u"Nova"_s)};
        QCOMPARE(StoreTest::run(store.write(second)), QString());
        QCOMPARE(readBack(service), second);

        QCOMPARE(StoreTest::run(store.write({})), QString());
        QCOMPARE(lookUp(service), QByteArray("[]"));
        const auto empty = StoreTest::run(store.read());
        QCOMPARE(empty.failure, QString());
        QVERIFY(empty.value->isEmpty());
    }

    void startConnection_data()
    {
        QTest::addColumn<QString>("activeSource"); // "a", "b", "missing", "lower-case b", "garbage" or ""
        QTest::addColumn<bool>("anySaved");
        QTest::addColumn<QString>("expected"); // name of the start connection, "" for none
        QTest::newRow("remembered") << u"b"_s << true << u"B"_s;
        QTest::newRow("remembered in lower case") << u"lower-case b"_s << true << u"B"_s;
        QTest::newRow("remembered but gone") << u"missing"_s << true << u"A"_s;
        QTest::newRow("not a UUID") << u"garbage"_s << true << u"A"_s;
        QTest::newRow("nothing remembered") << QString() << true << u"A"_s;
        QTest::newRow("nothing saved") << u"missing"_s << false << QString();
    }

    void startConnection()
    {
        QFETCH(QString, activeSource);
        QFETCH(bool, anySaved);
        QFETCH(QString, expected);
        const QString service = freshService();
        const PlaylistSource a = m3u(u"A"_s);
        const PlaylistSource b = m3u(u"B"_s);
        if (anySaved)
            QCOMPARE(StoreTest::run(KeychainStore(service).write({a, b, m3u(u"C"_s)})), QString());
        StoreTest::Preferences preferences;
        const QHash<QString, QString> values {{u"a"_s, a.id.toString(QUuid::WithoutBraces).toUpper()},
            {u"b"_s, b.id.toString(QUuid::WithoutBraces).toUpper()},
            {u"lower-case b"_s, b.id.toString(QUuid::WithoutBraces)},
            {u"missing"_s, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()},
            {u"garbage"_s, u"not a connection"_s}};
        if (!activeSource.isEmpty())
            preferences.settings().setValue(
                ConnectionRegistry::activeSourceKey(), values.value(activeSource));

        ConnectionRegistry registry(KeychainStore(service), preferences.settings());
        const auto startUp = StoreTest::run(registry.readSaved());
        QCOMPARE(startUp.failure, QString());
        QCOMPARE(startUp.value->start ? startUp.value->start->name : QString(), expected);
    }

    void sessionOnlyConnectionsAreNeverWritten()
    {
        const QString service = freshService();
        StoreTest::Preferences preferences;
        const PlaylistSource saved = m3u(u"Desada"_s);
        const PlaylistSource session = m3u(u"Sessió"_s, u"clau de sessió"_s);
        {
            ConnectionRegistry registry(KeychainStore(service), preferences.settings());
            QCOMPARE(StoreTest::run(registry.readSaved()).failure, QString());
            QSignalSpy sources(&registry, &ConnectionRegistry::sourcesChanged);
            QCOMPARE(StoreTest::run(registry.keepLoaded(saved, true, false)), QString());
            registry.rememberActive(saved);
            const QByteArray item = lookUp(service);

            QCOMPARE(StoreTest::run(registry.keepLoaded(session, false, true)), QString());
            registry.rememberActive(session);
            PlaylistSource renamed = session;
            renamed.name = u"Sessió 2"_s;
            const PlaylistSource other = m3u(u"Una altra"_s);
            QCOMPARE(StoreTest::run(registry.keepLoaded(other, false, true)), QString());
            QCOMPARE(StoreTest::run(registry.keepLoaded(renamed, false, true)), QString());

            QCOMPARE(registry.temporarySources(), QList<PlaylistSource>({other, renamed}));
            QCOMPARE(registry.allSources(), QList<PlaylistSource>({saved, other, renamed}));
            QCOMPARE(registry.source(session.id), renamed);
            QVERIFY(!registry.isSaved(session.id));
            QCOMPARE(sources.count(), 1); // the saved one only
            QCOMPARE(lookUp(service), item);
            QCOMPARE(preferences.settings().value(ConnectionRegistry::activeSourceKey()).toString(),
                saved.id.toString(QUuid::WithoutBraces).toUpper());
        }
        // The next run starts on the saved connection, with the session's gone.
        preferences.restart();
        ConnectionRegistry registry(KeychainStore(service), preferences.settings());
        QCOMPARE(StoreTest::run(registry.readSaved()).value->start, saved);
        QCOMPARE(registry.allSources(), QList<PlaylistSource>({saved}));
    }

    // A save asked for while the start-up read, or another save, is still waiting for the keychain
    // must build its list from what they settle, not from what was known when it was asked for. And
    // the registry may go (the application quits) while the keychain is still working.
    void overlappingOperationsTakeTurns()
    {
        const QString service = freshService();
        const PlaylistSource a = m3u(u"A"_s, u"pa"_s);
        const PlaylistSource b = m3u(u"B"_s, u"pb"_s);
        const PlaylistSource c = m3u(u"C"_s, u"pc"_s);
        QCOMPARE(StoreTest::run(KeychainStore(service).write({a})), QString());

        StoreTest::Preferences preferences;
        auto registry = std::make_unique<ConnectionRegistry>(KeychainStore(service), preferences.settings());
        auto startUp = settled(registry->readSaved());
        auto saveB = StoreTest::settled(registry->keepLoaded(b, true, false));
        auto saveC = StoreTest::settled(registry->keepLoaded(c, true, false));
        auto removeA = StoreTest::settled(registry->remove(a));
        QCOMPARE(QCoro::waitFor(std::move(startUp)).value->start, a);
        QCOMPARE(QCoro::waitFor(std::move(saveB)).text, QString());
        QCOMPARE(QCoro::waitFor(std::move(saveC)).text, QString());
        QCOMPARE(QCoro::waitFor(std::move(removeA)).text, QString());
        QCOMPARE(registry->sources(), QList<PlaylistSource>({b, c}));
        QCOMPARE(readBack(service), QList<PlaylistSource>({b, c}));

        registry = std::make_unique<ConnectionRegistry>(KeychainStore(service), preferences.settings());
        auto nextStartUp = settled(registry->readSaved());
        auto save = StoreTest::settled(registry->keepLoaded(m3u(u"D"_s), true, false));
        registry.reset();
        QCOMPARE(QCoro::waitFor(std::move(nextStartUp)).failure, u"<cancelled>"_s);
        QCOMPARE(QCoro::waitFor(std::move(save)).text, u"<cancelled>"_s);
        QCOMPARE(readBack(service), QList<PlaylistSource>({b, c}));
    }

    void anUnreadableItemDisablesSaving_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("notice");
        QTest::newRow("not JSON") << u"{ not json"_s << Texts::generalFailure;
        QTest::newRow("an object") << u"{\"id\":1}"_s << Texts::generalFailure;
        QTest::newRow("a connection without kind") << u"[{\"id\":\"0B0E1C2D-0000-4000-8000-00000000000A\","
                                                      u"\"name\":\"A\",\"address\":\"http://127.0.0.1/\","
                                                      "\"username\":\"\",\"password\":\"\"}]"_s
                                                   << Texts::generalFailure;
        // The keychain answers, but with nothing to read: a read failure of its own, status 0.
        QTest::newRow("an item without data") << QString() << Texts::keychainReadFailure(0);
    }

    void anUnreadableItemDisablesSaving()
    {
        QFETCH(QString, stored);
        QFETCH(QString, notice);
        const QString service = freshService();
        QCOMPARE(putRaw(service, stored), QString());

        StoreTest::Preferences preferences;
        ConnectionRegistry registry(KeychainStore(service), preferences.settings());
        QSignalSpy canSave(&registry, &ConnectionRegistry::canSaveChanged);
        const auto startUp = StoreTest::run(registry.readSaved());
        QCOMPARE(startUp.failure, QString());
        QCOMPARE(startUp.value->notice, notice);
        QVERIFY(!startUp.value->start);
        QVERIFY(!registry.canSave());
        QCOMPARE(canSave.count(), 1);
        QVERIFY(registry.sources().isEmpty());

        const PlaylistSource source = m3u(u"Nova"_s, u"clau"_s);
        QCOMPARE(StoreTest::run(registry.keepLoaded(source, true, false)),
            ConnectionRegistry::unavailableMessage());
        QVERIFY(registry.sources().isEmpty());
        QCOMPARE(QString::fromUtf8(lookUp(service)), stored); // never overwritten

        QCOMPARE(StoreTest::run(registry.keepLoaded(source, false, true)), QString());
        QCOMPARE(registry.allSources(), QList<PlaylistSource>({source}));
    }

    void credentialsNeverReachAPlainFile()
    {
        // Unusual enough that no file holds them by chance.
        const QString password = u"Cl4u-%1-ÀÉÏ"_s.arg(QUuid::createUuid().toString(QUuid::Id128));
        const QString username = u"usuari-%1"_s.arg(QUuid::createUuid().toString(QUuid::Id128));
        const QList<QByteArray> forms {password.toUtf8(),
            QByteArray(reinterpret_cast<const char *>(password.utf16()), password.size() * 2),
            password.toUtf8().toBase64(), PlaylistSource::encoded(password).toUtf8(), username.toUtf8(),
            (username + u':' + password).toUtf8().toBase64()};

        // The application's own preferences, in the standard place (inside the throw-away HOME).
        QSettings standard;
        standard.clear();
        const QString service = freshService();
        {
            ConnectionRegistry registry(KeychainStore(service), standard);
            QCOMPARE(StoreTest::run(registry.readSaved()).failure, QString());
            PlaylistSource source = xtream(u"Compte"_s, password);
            source.username = username;
            PlaylistSource basic = m3u(u"Amb usuari"_s, password);
            basic.username = username;
            QCOMPARE(StoreTest::run(registry.keepLoaded(source, true, false)), QString());
            QCOMPARE(StoreTest::run(registry.keepLoaded(basic, true, false)), QString());
            QCOMPARE(StoreTest::run(registry.keepLoaded(m3u(u"Sessió"_s, password), false, true)), QString());
            registry.rememberActive(source);
            const QList<PlaylistSource> back = readBack(service); // the secret is in the keychain
            QCOMPARE(back.size(), 2);
            QCOMPARE(back.first().password, password);
        }
        standard.sync();
        QVERIFY(QFile::exists(standard.fileName()));
        QVERIFY(standard.contains(ConnectionRegistry::activeSourceKey()));

        QStringList folders {QDir::homePath()};
        for (const char *variable :
            {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
            const QString folder = qEnvironmentVariable(variable);
            QVERIFY2(!folder.isEmpty(), variable);
            folders.append(folder);
        }
        folders.append(QFileInfo(standard.fileName()).absolutePath());
        for (const QString &folder : std::as_const(folders))
            QCOMPARE(filesContaining(folder, forms), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestKeychainStore)
#include "tst_keychain_store.moc"
