#pragma once

#include "KeychainStore.h"

#include <QCoroTask>
#include <QFuture>
#include <QList>
#include <QObject>
#include <QPromise>
#include <QUuid>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

class QSettings;

// The connections the library model knows and the rules for keeping them: the saved ones, read
// from the keychain at start-up and written back whole on every change; the session-only ones,
// never written anywhere; whether saving is allowed for this run; and the "activeSource"
// preference that names the connection to open at the next start. The library model owns one and
// calls it at the steps of its start-up, of a successful load and of a removal.
//
// Main thread only. Keychain reads and writes take turns in the order they were asked for, so a
// save never computes its list from connections that an earlier read or write has yet to settle.
class ConnectionRegistry : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<PlaylistSource> sources READ sources NOTIFY sourcesChanged FINAL)
    Q_PROPERTY(
        QList<PlaylistSource> temporarySources READ temporarySources NOTIFY temporarySourcesChanged FINAL)
    Q_PROPERTY(bool canSave READ canSave NOTIFY canSaveChanged FINAL)

public:
    // What start-up found: the connection to load (without saving), and the text for the model's
    // `notice` when the keychain could not be read.
    struct StartUp
    {
        std::optional<PlaylistSource> start;
        std::optional<QString> notice;
    };

    ConnectionRegistry(KeychainStore store, QSettings &preferences, QObject *parent = nullptr);
    ~ConnectionRegistry() override;

    static QString activeSourceKey();
    static QString unavailableMessage();

    const KeychainStore &store() const { return m_store; }
    const QList<PlaylistSource> &sources() const { return m_sources; }
    const QList<PlaylistSource> &temporarySources() const { return m_temporarySources; }
    // False once the start-up read has failed: nothing is written to the keychain for the rest of
    // the run, so a list that could not be read is never overwritten.
    bool canSave() const { return m_canSave; }

    // `sources` followed by `temporarySources`.
    QList<PlaylistSource> allSources() const;
    // The first connection of `allSources` with that id.
    std::optional<PlaylistSource> source(const QUuid &id) const;
    bool isSaved(const QUuid &id) const;

    // Start-up: reads the saved connections. On failure `sources` stays empty, `canSave` becomes
    // false and the failure's text (FailureText::of) is returned as the notice. The start
    // connection is the one "activeSource" names, else the first saved one.
    QCoro::Task<StartUp> readSaved();

    // The save and session-only steps after `source` has loaded successfully. Saving writes the
    // saved list without any connection with the same id, followed by `source` (an edited
    // connection moves to the end), then drops it from the session-only list. Throws IPTVError
    // (`unavailableMessage()` while `canSave` is false, the keychain's write failure otherwise)
    // and then leaves both lists unchanged. Keeping it for the session replaces any connection with
    // the same id in `temporarySources` and appends it; nothing is written.
    // `stillWanted` is asked after every wait (the keychain's turn): once it answers false nothing is
    // written or kept, and CancelledError is thrown.
    QCoro::Task<> keepLoaded(PlaylistSource source, bool save, bool temporary,
        std::function<bool()> stillWanted = {});

    // Remembers a saved connection as the one to open at the next start; a session-only
    // connection is never remembered.
    void rememberActive(const PlaylistSource &source);
    // Forgets "activeSource" (the active connection was removed).
    void forgetActive();

    // Deletes a connection: a saved one is first removed from the keychain's list (a write failure
    // throws IPTVError and nothing changes), then from both lists.
    QCoro::Task<> remove(PlaylistSource source);

Q_SIGNALS:
    void sourcesChanged();
    void temporarySourcesChanged();
    void canSaveChanged();

private:
    class Turn;
    QCoro::Task<std::unique_ptr<Turn>> takeTurn();
    void passTurn();

    void setSources(const QList<PlaylistSource> &sources);
    void setTemporarySources(const QList<PlaylistSource> &sources);
    void setCanSave(bool canSave);

    KeychainStore m_store;
    QSettings &m_preferences;
    QList<PlaylistSource> m_sources;
    QList<PlaylistSource> m_temporarySources;
    bool m_canSave = true;

    // The keychain turn: held by the operation that reads or writes, handed to the next waiter.
    bool m_keychainBusy = false;
    std::deque<std::shared_ptr<QPromise<void>>> m_waiting;
};
