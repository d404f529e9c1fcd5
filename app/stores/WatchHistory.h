#pragma once

#include "records/WatchProgress.h"

#include "StoredValueBackup.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>

#include <optional>

class QSettings;

// How far the user got in every movie and episode, keyed by WatchProgress::key, kept in the
// preferences under "watchHistory.v1" as one JSON object (key → {"seconds", "duration", "watched"}).
// One instance for the whole application; main thread only. Every change rewrites the whole map.
//
// Stored bytes that cannot be read give an empty history and are kept under a dated backup key
// (StoredValueBackup) just before the first save replaces them.
class WatchHistory : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QHash<QString, WatchProgress> records READ records NOTIFY recordsChanged FINAL)

public:
    explicit WatchHistory(QSettings &preferences, QObject *parent = nullptr);

    static QString storageKey();

    const QHash<QString, WatchProgress> &records() const { return m_records; }
    std::optional<WatchProgress> record(const QString &key) const;

    // Records a playback position (WatchProgress::update). Nothing is published or written when the
    // key already holds an equal record; a new key gets a record even when the values were unusable.
    void update(const QString &key, double seconds, double duration);
    // Flips the watched mark; a key without a record becomes watched at 0 of 0.
    void toggle(const QString &key);

    static QByteArray encode(const QHash<QString, WatchProgress> &records);
    // Throws JsonError unless `data` is a JSON object of valid progress objects.
    static QHash<QString, WatchProgress> decode(const QByteArray &data);

Q_SIGNALS:
    void recordsChanged();

private:
    void store(const QString &key, const WatchProgress &progress);
    void save();

    StoredJsonValue m_stored;
    QHash<QString, WatchProgress> m_records;
};
