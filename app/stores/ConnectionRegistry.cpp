#include "ConnectionRegistry.h"

#include "async/Cancellation.h"
#include "http/FailureText.h"
#include "records/IPTVError.h"
#include "records/JsonFields.h"

#include <QCoroFuture>
#include <QPointer>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QList<PlaylistSource> without(QList<PlaylistSource> sources, const QUuid &id)
{
    sources.removeIf([&id](const PlaylistSource &source) { return source.id == id; });
    return sources;
}

} // namespace

// The keychain turn of one operation; handed on to the next waiter when the operation ends, however
// it ends.
class ConnectionRegistry::Turn
{
public:
    explicit Turn(ConnectionRegistry *registry)
        : m_registry(registry)
    {
    }
    ~Turn()
    {
        if (m_registry)
            m_registry->passTurn();
    }
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

private:
    QPointer<ConnectionRegistry> m_registry;
};

ConnectionRegistry::ConnectionRegistry(KeychainStore store, QSettings &preferences, QObject *parent)
    : QObject(parent)
    , m_store(std::move(store))
    , m_preferences(preferences)
{
}

ConnectionRegistry::~ConnectionRegistry()
{
    // Waiters resume with their promise cancelled, find the registry gone and give up.
    for (const std::shared_ptr<QPromise<void>> &waiter : m_waiting)
        waiter->finish();
}

QString ConnectionRegistry::activeSourceKey()
{
    return u"activeSource"_s;
}

QString ConnectionRegistry::unavailableMessage()
{
    return u"El Clauer no està disponible. Torna a obrir l’aplicació després de desbloquejar-lo."_s;
}

QList<PlaylistSource> ConnectionRegistry::allSources() const
{
    return m_sources + m_temporarySources;
}

std::optional<PlaylistSource> ConnectionRegistry::source(const QUuid &id) const
{
    for (const QList<PlaylistSource> *list : {&m_sources, &m_temporarySources}) {
        const auto found = std::find_if(
            list->cbegin(), list->cend(), [&id](const PlaylistSource &source) { return source.id == id; });
        if (found != list->cend())
            return *found;
    }
    return std::nullopt;
}

bool ConnectionRegistry::isSaved(const QUuid &id) const
{
    return std::any_of(m_sources.cbegin(), m_sources.cend(),
        [&id](const PlaylistSource &source) { return source.id == id; });
}

QCoro::Task<ConnectionRegistry::StartUp> ConnectionRegistry::readSaved()
{
    QPointer<ConnectionRegistry> self(this);
    const std::unique_ptr<Turn> turn = co_await takeTurn();
    const KeychainStore store = m_store;

    std::exception_ptr failure;
    QList<PlaylistSource> saved;
    try {
        saved = co_await store.read();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        throw CancelledError();

    if (failure) {
        setCanSave(false);
        co_return StartUp {std::nullopt, FailureText::of(failure)};
    }
    setSources(saved);
    if (m_sources.isEmpty())
        co_return StartUp {};

    const std::optional<QUuid> active
        = JsonFields::parseCanonicalUuid(m_preferences.value(activeSourceKey()).toString());
    if (active) {
        for (const PlaylistSource &source : std::as_const(m_sources)) {
            if (source.id == *active)
                co_return StartUp {source, std::nullopt};
        }
    }
    co_return StartUp {m_sources.first(), std::nullopt};
}

QCoro::Task<> ConnectionRegistry::keepLoaded(
    PlaylistSource source, bool save, bool temporary, std::function<bool()> stillWanted)
{
    QPointer<ConnectionRegistry> self(this);
    if (save) {
        if (!m_canSave)
            throw IPTVError(unavailableMessage());
        const std::unique_ptr<Turn> turn = co_await takeTurn();
        // The request may have been cancelled or overtaken while it waited: then it writes nothing.
        if (!self || (stillWanted && !stillWanted()))
            throw CancelledError();
        // Checked again: the start-up read may have failed while this save waited for its turn.
        if (!m_canSave)
            throw IPTVError(unavailableMessage());
        QList<PlaylistSource> saved = without(m_sources, source.id);
        saved.append(source);
        const KeychainStore store = m_store;
        co_await store.write(saved);
        if (!self)
            throw CancelledError();
        setSources(saved);
        setTemporarySources(without(m_temporarySources, source.id));
    }
    if (temporary) {
        QList<PlaylistSource> kept = without(m_temporarySources, source.id);
        kept.append(source);
        setTemporarySources(kept);
    }
}

void ConnectionRegistry::rememberActive(const PlaylistSource &source)
{
    if (isSaved(source.id))
        m_preferences.setValue(activeSourceKey(), JsonFields::canonicalUuid(source.id));
}

void ConnectionRegistry::forgetActive()
{
    m_preferences.remove(activeSourceKey());
}

QCoro::Task<> ConnectionRegistry::remove(PlaylistSource source)
{
    QPointer<ConnectionRegistry> self(this);
    const std::unique_ptr<Turn> turn = co_await takeTurn();
    if (isSaved(source.id)) {
        if (!m_canSave)
            throw IPTVError(unavailableMessage());
        const QList<PlaylistSource> saved = without(m_sources, source.id);
        const KeychainStore store = m_store;
        co_await store.write(saved);
        if (!self)
            throw CancelledError();
        setSources(saved);
    }
    setTemporarySources(without(m_temporarySources, source.id));
}

QCoro::Task<std::unique_ptr<ConnectionRegistry::Turn>> ConnectionRegistry::takeTurn()
{
    if (m_keychainBusy) {
        QPointer<ConnectionRegistry> self(this);
        auto promise = std::make_shared<QPromise<void>>();
        QFuture<void> handedOver = promise->future();
        promise->start();
        m_waiting.push_back(std::move(promise));
        co_await handedOver;
        if (!self)
            throw CancelledError();
        // The turn was handed over: the keychain is still marked busy, now on this operation's behalf.
    } else {
        m_keychainBusy = true;
    }
    co_return std::make_unique<Turn>(this);
}

void ConnectionRegistry::passTurn()
{
    if (m_waiting.empty()) {
        m_keychainBusy = false;
        return;
    }
    const std::shared_ptr<QPromise<void>> next = m_waiting.front();
    m_waiting.pop_front();
    next->finish();
}

void ConnectionRegistry::setSources(const QList<PlaylistSource> &sources)
{
    if (m_sources == sources)
        return;
    m_sources = sources;
    Q_EMIT sourcesChanged();
}

void ConnectionRegistry::setTemporarySources(const QList<PlaylistSource> &sources)
{
    if (m_temporarySources == sources)
        return;
    m_temporarySources = sources;
    Q_EMIT temporarySourcesChanged();
}

void ConnectionRegistry::setCanSave(bool canSave)
{
    if (m_canSave == canSave)
        return;
    m_canSave = canSave;
    Q_EMIT canSaveChanged();
}
