#include "GuideCache.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QSaveFile>

#include <zlib.h>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcGuideCache, "quenvo.guide.cache", QtInfoMsg)

namespace {

constexpr quint32 magic = 0x51475544; // "QGUD"
constexpr quint32 version = 1;

QByteArray digest(const QString &source)
{
    return QCryptographicHash::hash(source.toUtf8(), QCryptographicHash::Sha256);
}

quint32 checksum(QByteArrayView bytes)
{
    uLong crc = crc32(0, nullptr, 0);
    for (qsizetype at = 0; at < bytes.size();) {
        const auto length = uInt(std::min<qsizetype>(bytes.size() - at, 1 << 30));
        crc = crc32(crc, reinterpret_cast<const Bytef *>(bytes.data() + at), length);
        at += length;
    }
    return quint32(crc);
}

} // namespace

bool GuideCache::Entry::isStale(const QDateTime &now) const
{
    return fetchedAt.secsTo(now) > std::chrono::seconds(staleAfter).count();
}

GuideCache::GuideCache(QString folder)
    : m_folder(std::move(folder))
{
}

QString GuideCache::filePath(const QString &source) const
{
    return QDir(m_folder).filePath(QString::fromLatin1(digest(source).toHex()) + u".guide"_s);
}

bool GuideCache::store(const QString &source, const GuideData &guide, const QDateTime &fetchedAt) const
{
    if (!QDir().mkpath(m_folder))
        return false;
    const QByteArray payload = guide.serialized();
    QSaveFile file(filePath(source));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << magic << version << fetchedAt.toMSecsSinceEpoch() << digest(source) << payload << checksum(payload);
    const bool written = stream.status() == QDataStream::Ok && file.commit();
    if (!written)
        qCWarning(lcGuideCache) << "could not write" << file.fileName() << file.errorString();
    return written;
}

std::optional<GuideCache::Entry> GuideCache::load(const QString &source) const
{
    QFile file(filePath(source));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_6_4);
    quint32 fileMagic = 0;
    quint32 fileVersion = 0;
    qint64 fetchedAt = 0;
    QByteArray sourceDigest;
    QByteArray payload;
    quint32 sum = 0;
    stream >> fileMagic >> fileVersion;
    if (stream.status() == QDataStream::Ok && fileMagic == magic && fileVersion == version)
        stream >> fetchedAt >> sourceDigest >> payload >> sum;
    std::optional<GuideData> guide;
    if (stream.status() == QDataStream::Ok && fileMagic == magic && fileVersion == version && stream.atEnd()
        && sourceDigest == digest(source) && sum == checksum(payload))
        guide = GuideData::fromSerialized(payload);
    if (!guide) {
        qCInfo(lcGuideCache) << "dropping an unreadable guide file" << file.fileName();
        file.close();
        file.remove();
        return std::nullopt;
    }
    return Entry {std::move(*guide), QDateTime::fromMSecsSinceEpoch(fetchedAt, Qt::UTC)};
}

bool GuideCache::remove(const QString &source) const
{
    return QFile::remove(filePath(source));
}
