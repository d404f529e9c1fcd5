#pragma once

#include "records/PlaylistSource.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

// The saved connections, credentials included, as one item of the system's secret store: the
// Secret Service on Linux (GNOME Keyring, KWallet), the Keychain on macOS, reached through
// QtKeychain. The item is found by (service, account "playlist-sources-v1") and holds the compact
// JSON array of every saved connection, in list order; each write replaces the whole list.
//
// Jobs run on the calling (main) thread's event loop; the store is a small value and may be copied.
class KeychainStore
{
public:
    explicit KeychainStore(QString service);

    const QString &service() const { return m_service; }

    // The connections stored so far; an empty list when there is no item yet (first start).
    // Throws IPTVError "No s’ha pogut llegir el Clauer (codi N). …" for any other outcome of the
    // secret store, and JsonError when the item does not hold a JSON array of connections. An item
    // that is there but locked is never taken for a first start (QtKeychain reports it as missing
    // on Linux; the store asks the Secret Service and reports AccessDenied).
    QCoro::Task<QList<PlaylistSource>> read() const;
    // Replaces the stored list, creating the item when there is none. Throws IPTVError
    // "No s’ha pogut desar la connexió al Clauer (codi N)."
    //
    // The item is labelled "Quenvo · Connexions" (itemLabel()). QtKeychain names it itself; on Linux
    // the Secret Service item is renamed right after the write (on macOS the label is left to
    // QtKeychain). The item is found by service and account alone, never by its label.
    QCoro::Task<> write(QList<PlaylistSource> sources) const;

    // The service of the application's item: its reverse-domain identifier, "app.quenvo.Quenvo",
    // built from the organisation domain and application name set in main().
    static QString applicationService();
    static QString account();
    static QString itemLabel();

    // The signed status a QtKeychain outcome (QKeychain::Error) is reported with in the messages.
    // The codes are those of the macOS Security framework, so that a message reads the same on
    // every platform:
    //   NoError             →      0  errSecSuccess
    //   EntryNotFound       → −25300  errSecItemNotFound
    //   AccessDenied        → −25308  errSecInteractionNotAllowed (a locked keyring)
    //   AccessDeniedByUser  →   −128  errSecUserCanceled
    //   NotImplemented      →     −4  errSecUnimplemented
    //   NoBackendAvailable, CouldNotDeleteEntry, OtherError and anything else
    //                       → −25291  errSecNotAvailable (no usable secret store: on Linux this is
    //                                 what a missing Secret Service or keyring reports)
    static int status(int keychainError);

    static QByteArray encode(const QList<PlaylistSource> &sources);
    // Throws JsonError unless `data` is a JSON array of valid connection objects.
    static QList<PlaylistSource> decode(const QByteArray &data);

    static QString readFailure(int status);
    static QString writeFailure(int status);

private:
    QString m_service;
};
