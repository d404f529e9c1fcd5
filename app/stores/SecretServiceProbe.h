#pragma once

#include <QCoroTask>
#include <QString>

// Questions for the freedesktop Secret Service (GNOME Keyring, KWallet) that QtKeychain cannot
// answer. Only meaningful where QtKeychain uses it: Linux and the other free desktops.
namespace SecretServiceProbe {

// QtKeychain's Secret Service backend cannot tell a locked keyring from a missing item: libsecret's
// lookup only sees unlocked items and, when no prompt can unlock them (or the user dismisses it),
// answers "not found". This asks the service itself whether an item of QtKeychain's (attributes
// "server" = service, "user" = key) is there but locked. False when the service cannot be asked.
QCoro::Task<bool> hasLockedItem(QString service, QString key);

// Gives QtKeychain's item of `service` and `key` the display name `label` (QtKeychain chooses its
// own). False when there is no such unlocked item or the service refuses.
QCoro::Task<bool> setLabel(QString service, QString key, QString label);

// The display name of that item; empty when there is none or the service cannot be asked.
QCoro::Task<QString> label(QString service, QString key);

} // namespace SecretServiceProbe
