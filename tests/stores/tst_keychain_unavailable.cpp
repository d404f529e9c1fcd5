// When the keychain cannot be read at start-up: the read message with its status code, no saved
// connections, saving refused for the rest of the run, while connections used for the session only
// still work. Run twice by CTest through scripts/with-secret-service.sh: with a keyring that this
// test locks after saving a connection into it, and with no Secret Service on the bus at all.

#include "HeldSecretService.h"
#include "StoreTestSupport.h"
#include "Texts.h"
#include "models/LibraryModel.h"
#include "stores/ConnectionRegistry.h"
#include "stores/KeychainStore.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QSignalSpy>
#include <QTest>


using namespace Qt::StringLiterals;

namespace {
const QString service = u"app.quenvo.Quenvo.tests.unavailable"_s;

PlaylistSource m3u(const QString &name)
{
    return PlaylistSource(QUuid::createUuid(), name, u"http://127.0.0.1:8080/%1.m3u"_s.arg(name), u"usuari"_s,
        u"clau"_s, PlaylistSource::Kind::m3u);
}

// Locks the default collection through the Secret Service's own interface, as the user (or the
// session's screen lock) would. Returns an error text, or nothing.
QString lockDefaultCollection()
{
    QDBusInterface secrets(u"org.freedesktop.secrets"_s, u"/org/freedesktop/secrets"_s,
        u"org.freedesktop.Secret.Service"_s, QDBusConnection::sessionBus());
    const QDBusReply<QDBusObjectPath> collection = secrets.call(u"ReadAlias"_s, u"default"_s);
    if (!collection.isValid() || collection.value().path() == u"/"_s)
        return u"no default collection: "_s + collection.error().message();
    const QDBusMessage locked
        = secrets.call(u"Lock"_s, QVariant::fromValue(QList<QDBusObjectPath> {collection.value()}));
    if (locked.type() == QDBusMessage::ErrorMessage)
        return u"locking failed: "_s + locked.errorMessage();
    return QString();
}
} // namespace

class TestKeychainUnavailable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readFailureDisablesSaving()
    {
        const QString state = qEnvironmentVariable("QUENVO_SECRET_SERVICE");
        int status = 0;
        const PlaylistSource saved = m3u(u"Desada"_s);
        if (state == u"unlocked"_s) {
            // A keyring that holds the connections, read, then locked: writes fail, and the saved
            // list stays as it was, in the registry and in the keychain.
            QCOMPARE(StoreTest::run(KeychainStore(service).write({saved})), QString());
            StoreTest::Preferences before;
            ConnectionRegistry reader(KeychainStore(service), before.settings());
            QCOMPARE(StoreTest::run(reader.readSaved()).value->start, saved);
            QCOMPARE(lockDefaultCollection(), QString());
            status = -25308;
            QCOMPARE(StoreTest::run(reader.keepLoaded(m3u(u"Nova"_s), true, false)), Texts::keychainWriteFailure(status));
            QCOMPARE(StoreTest::run(reader.remove(saved)), Texts::keychainWriteFailure(status));
            QCOMPARE(reader.sources(), QList<PlaylistSource>({saved}));
        } else if (state == u"absent"_s) {
            status = -25291;
        } else {
            QFAIL("run through scripts/with-secret-service.sh (with or without --without-keyring)");
        }

        StoreTest::Preferences preferences;
        preferences.settings().setValue(
            ConnectionRegistry::activeSourceKey(), saved.id.toString(QUuid::WithoutBraces).toUpper());
        ConnectionRegistry registry(KeychainStore(service), preferences.settings());
        QSignalSpy canSave(&registry, &ConnectionRegistry::canSaveChanged);
        const auto startUp = StoreTest::run(registry.readSaved());
        QCOMPARE(startUp.failure, QString());
        QCOMPARE(startUp.value->notice, Texts::keychainReadFailure(status));
        QVERIFY(!startUp.value->start);
        QVERIFY(registry.sources().isEmpty());
        QVERIFY(!registry.canSave());
        QCOMPARE(canSave.count(), 1);

        // Saving is refused for the rest of the run, before the keychain is even asked.
        const PlaylistSource fresh = m3u(u"Nova"_s);
        QCOMPARE(StoreTest::run(registry.keepLoaded(fresh, true, false)), Texts::keychainUnavailable);
        QCOMPARE(StoreTest::run(registry.keepLoaded(fresh, true, true)), Texts::keychainUnavailable);
        QVERIFY(registry.allSources().isEmpty());

        // The session still works.
        QCOMPARE(StoreTest::run(registry.keepLoaded(fresh, false, true)), QString());
        QCOMPARE(registry.allSources(), QList<PlaylistSource>({fresh}));
        registry.rememberActive(fresh);
        QCOMPARE(preferences.settings().value(ConnectionRegistry::activeSourceKey()).toString(),
            saved.id.toString(QUuid::WithoutBraces).toUpper());
        QCOMPARE(StoreTest::run(registry.remove(fresh)), QString());
        QVERIFY(registry.allSources().isEmpty());

        // The store itself reports what a write meets.
        QCOMPARE(StoreTest::run(KeychainStore(service).write({fresh})), Texts::keychainWriteFailure(status));
    }

    // Runs after the test above has left a saved connection in a locked keyring. The window reads
    // the keychain while the user already acts: a load that fails meanwhile keeps its message, and
    // the welcome view does not claim there are no connections before the answer is in.
    void aSlowReadDoesNotHideANewerMessage()
    {
        if (qEnvironmentVariable("QUENVO_SECRET_SERVICE") != u"unlocked"_s)
            QSKIP("needs a Secret Service process to hold back");
        HeldSecretService held;
        QVERIFY(held.held());

        StoreTest::Preferences preferences;
        LibraryModel model(LibraryModel::Environment{&preferences.settings(), service});
        QSignalSpy started(&model, &LibraryModel::startedUp);
        QVERIFY(model.readingConnections());

        // Nothing listens there: the load fails at once, while the read still waits.
        const PlaylistSource unreachable(QUuid::createUuid(), u"Enlloc"_s, u"http://127.0.0.1:1/llista.m3u"_s,
            QString(), QString(), PlaylistSource::Kind::m3u);
        model.load(unreachable, false, true);
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        const std::optional<QString> loadFailure = model.notice();
        QVERIFY(loadFailure.has_value());
        QVERIFY(model.readingConnections());
        QCOMPARE(started.count(), 0);

        held.release();
        QVERIFY(started.wait(20000));
        QVERIFY(!model.readingConnections());
        QVERIFY(!model.canSave()); // the read did fail
        QCOMPARE(model.notice(), loadFailure);
    }
};

QTEST_GUILESS_MAIN(TestKeychainUnavailable)
#include "tst_keychain_unavailable.moc"
