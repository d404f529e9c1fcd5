#pragma once

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QSettings>
#include <QString>
#include <QThreadPool>

#include <functional>

// Encodes and writes large preference values on a thread of its own, so that saving a personal list
// of 100,000 channels never holds the window. Writes of one key are applied in the order they were
// asked for; a write still waiting when a newer one of the same key arrives is dropped, only the
// newest is encoded. Every write goes to disk (QSettings::sync) before the next one starts.
//
// The worker opens its own QSettings on the same file: QSettings objects of one process share what
// they hold of a file, so the value is visible through `preferences` as soon as it is written.
// Destruction waits for the writes asked for so far.
class BackgroundPreferenceWriter
{
public:
    explicit BackgroundPreferenceWriter(const QSettings &preferences);
    ~BackgroundPreferenceWriter();
    BackgroundPreferenceWriter(const BackgroundPreferenceWriter &) = delete;
    BackgroundPreferenceWriter &operator=(const BackgroundPreferenceWriter &) = delete;

    // `encode` runs on the worker: it must only read what it captured.
    void write(const QString &key, std::function<QByteArray()> encode);
    // Blocks until every write asked for so far is on disk.
    void waitForWrites();

private:
    void writePending(const QString &key);

    const QString m_fileName;
    const QSettings::Format m_format;
    QMutex m_mutex;
    QHash<QString, std::function<QByteArray()>> m_pending;
    QThreadPool m_pool;
};
