#include "WatchHistory.h"

#include "records/JsonError.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

using namespace Qt::StringLiterals;

WatchHistory::WatchHistory(QSettings &preferences, QObject *parent)
    : QObject(parent)
    , m_stored(preferences, storageKey())
    , m_records(m_stored.read(&WatchHistory::decode))
{
}

QString WatchHistory::storageKey()
{
    return u"watchHistory.v1"_s;
}

std::optional<WatchProgress> WatchHistory::record(const QString &key) const
{
    const auto found = m_records.constFind(key);
    if (found == m_records.cend())
        return std::nullopt;
    return *found;
}

void WatchHistory::update(const QString &key, double seconds, double duration)
{
    const std::optional<WatchProgress> stored = record(key);
    WatchProgress progress = stored.value_or(WatchProgress {});
    progress.update(seconds, duration);
    if (stored && *stored == progress)
        return;
    store(key, progress);
}

void WatchHistory::toggle(const QString &key)
{
    WatchProgress progress = record(key).value_or(WatchProgress {});
    progress.mark(!progress.watched);
    store(key, progress);
}

void WatchHistory::store(const QString &key, const WatchProgress &progress)
{
    m_records.insert(key, progress);
    Q_EMIT recordsChanged();
    save();
}

void WatchHistory::save()
{
    m_stored.write(encode(m_records));
}

QByteArray WatchHistory::encode(const QHash<QString, WatchProgress> &records)
{
    QJsonObject object;
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        object.insert(it.key(), it->toJson());
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QHash<QString, WatchProgress> WatchHistory::decode(const QByteArray &data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        throw JsonError(u"watch history: "_s + error.errorString());
    if (!document.isObject())
        throw JsonError(u"watch history: expected an object"_s);
    QHash<QString, WatchProgress> records;
    const QJsonObject object = document.object();
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        if (!it->isObject())
            throw JsonError(u"watch history: expected objects"_s);
        records.insert(it.key(), WatchProgress::fromJson(it->toObject()));
    }
    return records;
}
