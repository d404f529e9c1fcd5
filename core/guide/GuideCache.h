#pragma once

#include "GuideData.h"

#include <QDateTime>
#include <QString>

#include <chrono>
#include <optional>

// Guides kept on disk between runs, one file per source in a folder of their own (the application's
// cache folder, "guide" inside it). A file is named after the SHA-256 of the source's address, so
// no address, and no credential in one, shows in a file name; it holds a version, the time of the
// download, the source address's digest and the guide, with a checksum. A file that cannot be read
// back whole (damaged, cut short, another version, another source) is deleted and counts as absent.
class GuideCache
{
public:
    static constexpr std::chrono::hours staleAfter {12};

    struct Entry
    {
        GuideData guide;
        QDateTime fetchedAt; // UTC

        // More than twelve hours old at `now`.
        bool isStale(const QDateTime &now) const;
    };

    explicit GuideCache(QString folder);

    const QString &folder() const { return m_folder; }
    QString filePath(const QString &source) const;

    // Writes atomically (a half-written file never replaces a good one); false when it could not.
    bool store(const QString &source, const GuideData &guide, const QDateTime &fetchedAt) const;
    std::optional<Entry> load(const QString &source) const;
    bool remove(const QString &source) const;

private:
    QString m_folder;
};
