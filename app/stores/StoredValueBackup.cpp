#include "StoredValueBackup.h"
#include "StoresLogging.h"

#include <QSettings>

using namespace Qt::StringLiterals;

namespace StoredValueBackup {

QString keep(QSettings &preferences, const QString &key, const QByteArray &bytes, QDate day)
{
    const QString first = key + ".unreadable-"_L1 + day.toString(Qt::ISODate);
    QString candidate = first;
    for (int copy = 2; preferences.contains(candidate); ++copy)
        candidate = first + u'-' + QString::number(copy);
    preferences.setValue(candidate, bytes);
    qCWarning(lcStores) << "the value under" << key << "could not be read; its" << bytes.size()
                        << "bytes are kept under" << candidate;
    return candidate;
}

QStringList keys(const QSettings &preferences, const QString &key)
{
    const QString prefix = key + ".unreadable-"_L1;
    QStringList found;
    const QStringList all = preferences.childKeys();
    for (const QString &candidate : all) {
        if (candidate.startsWith(prefix))
            found.append(candidate);
    }
    return found;
}

} // namespace StoredValueBackup

void StoredJsonValue::write(const QByteArray &bytes)
{
    if (m_unreadable) {
        StoredValueBackup::keep(m_preferences, m_key, *m_unreadable);
        m_unreadable.reset();
    }
    m_preferences.setValue(m_key, bytes);
}
