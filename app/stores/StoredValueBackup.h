#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>

class QSettings;

// Keeps a stored value that could not be read before a store writes over it, so that a user's data
// can always be recovered by hand. The copy goes under a sibling key named after the original and
// the day, "watchHistory.v1.unreadable-2026-11-23"; a later copy on the same day gets "-2", "-3", …
// appended, so an earlier copy is never overwritten.
namespace StoredValueBackup {

// Writes `bytes` under the first free backup key of `key` and returns that key.
QString keep(
    QSettings &preferences, const QString &key, const QByteArray &bytes, QDate day = QDate::currentDate());

// Every backup key of `key` present in `preferences`, in the order QSettings lists them.
QStringList keys(const QSettings &preferences, const QString &key);

} // namespace StoredValueBackup
