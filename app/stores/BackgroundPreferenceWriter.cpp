#include "BackgroundPreferenceWriter.h"

BackgroundPreferenceWriter::BackgroundPreferenceWriter(const QSettings &preferences)
    : m_fileName(preferences.fileName())
    , m_format(preferences.format())
{
    // One thread: the writes reach the file in the order they were asked for.
    m_pool.setMaxThreadCount(1);
    m_pool.setObjectName(QStringLiteral("Quenvo preferences writer"));
}

BackgroundPreferenceWriter::~BackgroundPreferenceWriter()
{
    waitForWrites();
}

void BackgroundPreferenceWriter::write(const QString &key, std::function<QByteArray()> encode)
{
    {
        const QMutexLocker locker(&m_mutex);
        m_pending.insert(key, std::move(encode));
    }
    m_pool.start([this, key] { writePending(key); });
}

void BackgroundPreferenceWriter::waitForWrites()
{
    m_pool.waitForDone();
}

void BackgroundPreferenceWriter::writePending(const QString &key)
{
    std::function<QByteArray()> encode;
    {
        const QMutexLocker locker(&m_mutex);
        encode = m_pending.take(key);
    }
    // An earlier task of this key already took the newest value.
    if (!encode)
        return;
    const QByteArray bytes = encode();
    QSettings preferences(m_fileName, m_format);
    preferences.setValue(key, bytes);
    preferences.sync();
}
