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

} // namespace SecretServiceProbe
