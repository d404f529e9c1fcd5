#pragma once

#include "records/JsonError.h"

#include <QByteArray>
#include <QDate>
#include <QSettings>
#include <QString>

#include <optional>

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

// One preferences key holding a store's JSON bytes. Reading gives the decoded value, or an empty one
// when nothing is stored or the bytes cannot be decoded; in that case the bytes are remembered, and
// the first write keeps them under a backup key before replacing them. Nothing is written by reading.
class StoredJsonValue
{
public:
    StoredJsonValue(QSettings &preferences, QString key)
        : m_preferences(preferences)
        , m_key(std::move(key))
    {
    }

    // `decode` turns the bytes into the value and throws JsonError when it cannot.
    template<typename Decode>
    auto read(Decode decode) -> decltype(decode(QByteArray()))
    {
        if (!m_preferences.contains(m_key))
            return {};
        const QByteArray data = m_preferences.value(m_key).toByteArray();
        try {
            return decode(data);
        } catch (const JsonError &) {
            if (!data.isEmpty())
                m_unreadable = data;
            return {};
        }
    }

    void write(const QByteArray &bytes);

private:
    QSettings &m_preferences;
    QString m_key;
    std::optional<QByteArray> m_unreadable; // what was stored when it could not be read
};
