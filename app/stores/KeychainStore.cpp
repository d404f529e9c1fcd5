#include "KeychainStore.h"
#include "NextEmission.h"
#include "StoresLogging.h"

#include "records/IPTVError.h"
#include "records/JsonError.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

#include <qt6keychain/keychain.h>

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN) && !defined(Q_OS_ANDROID)
#define QUENVO_HAS_SECRET_SERVICE
#include "SecretServiceProbe.h"
#endif

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

// Starts `job` and waits for its end. The job is owned here, not auto-deleted, so that its
// outcome can be read after the wait.
QCoro::Task<> run(QKeychain::Job &job)
{
    job.setAutoDelete(false);
    job.setKey(KeychainStore::account());
    // Never QtKeychain's insecure fallback, which would write the secret into a settings file.
    job.setInsecureFallback(false);
    // start() only queues the job: `finished` cannot be emitted before the wait below begins.
    job.start();
    co_await NextEmission(&job, &QKeychain::Job::finished);
}

} // namespace

KeychainStore::KeychainStore(QString service)
    : m_service(std::move(service))
{
}

QString KeychainStore::applicationService()
{
    QStringList domain = QCoreApplication::organizationDomain().split(u'.', Qt::SkipEmptyParts);
    std::reverse(domain.begin(), domain.end());
    domain.append(QCoreApplication::applicationName());
    return domain.join(u'.');
}

QString KeychainStore::account()
{
    return u"playlist-sources-v1"_s;
}

QString KeychainStore::itemLabel()
{
    return u"Quenvo · Connexions"_s;
}

int KeychainStore::status(int keychainError)
{
    switch (keychainError) {
    case QKeychain::NoError:
        return 0;
    case QKeychain::EntryNotFound:
        return -25300;
    case QKeychain::AccessDenied:
        return -25308;
    case QKeychain::AccessDeniedByUser:
        return -128;
    case QKeychain::NotImplemented:
        return -4;
    default:
        return -25291;
    }
}

QString KeychainStore::readFailure(int status)
{
    return u"No s’ha pogut llegir el Clauer (codi "_s + QString::number(status)
        + u"). Desbloqueja el Clauer i torna a obrir l’aplicació."_s;
}

QString KeychainStore::writeFailure(int status)
{
    return u"No s’ha pogut desar la connexió al Clauer (codi "_s + QString::number(status) + u")."_s;
}

QByteArray KeychainStore::encode(const QList<PlaylistSource> &sources)
{
    QJsonArray array;
    for (const PlaylistSource &source : sources)
        array.append(source.toJson());
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QList<PlaylistSource> KeychainStore::decode(const QByteArray &data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        throw JsonError(u"saved connections: "_s + error.errorString());
    if (!document.isArray())
        throw JsonError(u"saved connections: expected an array"_s);
    QList<PlaylistSource> sources;
    const QJsonArray array = document.array();
    sources.reserve(array.size());
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            throw JsonError(u"saved connections: expected objects"_s);
        sources.append(PlaylistSource::fromJson(value.toObject()));
    }
    return sources;
}

QCoro::Task<QList<PlaylistSource>> KeychainStore::read() const
{
    const QString service = m_service; // the store may be gone once the job has run
    auto job = std::make_unique<QKeychain::ReadPasswordJob>(service);
    co_await run(*job);

    QKeychain::Error error = job->error();
#ifdef QUENVO_HAS_SECRET_SERVICE
    if (error == QKeychain::EntryNotFound) {
        // A locked keyring reads as "not found" through QtKeychain: never take it for a first start,
        // or the next save would overwrite the user's connections.
        const bool locked = co_await SecretServiceProbe::hasLockedItem(service, account());
        if (locked)
            error = QKeychain::AccessDenied;
    }
#endif
    if (error == QKeychain::EntryNotFound)
        co_return QList<PlaylistSource>();
    if (error != QKeychain::NoError) {
        qCWarning(lcStores) << "reading the keychain failed:" << error << job->errorString();
        throw IPTVError(readFailure(status(error)));
    }
    const QByteArray data = job->binaryData();
    if (data.isEmpty()) {
        // An item without data: the store answered, but with nothing to read.
        qCWarning(lcStores) << "the keychain item holds no data";
        throw IPTVError(readFailure(status(QKeychain::NoError)));
    }
    co_return decode(data);
}

QCoro::Task<> KeychainStore::write(QList<PlaylistSource> sources) const
{
    auto job = std::make_unique<QKeychain::WritePasswordJob>(m_service);
    // Stored as text: the item holds readable JSON in the Secret Service, as it does in the Keychain.
    job->setTextData(QString::fromUtf8(encode(sources)));
    co_await run(*job);

    const QKeychain::Error error = job->error();
    if (error != QKeychain::NoError) {
        qCWarning(lcStores) << "writing the keychain failed:" << error << job->errorString();
        throw IPTVError(writeFailure(status(error)));
    }
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN) && !defined(Q_OS_ANDROID)
    // QtKeychain names the item itself; the Secret Service lets the name be changed afterwards.
    if (!co_await SecretServiceProbe::setLabel(m_service, account(), itemLabel()))
        qCInfo(lcStores) << "the keychain item keeps the name QtKeychain gave it";
#endif
}
