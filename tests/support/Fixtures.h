#pragma once

#include <QDir>
#include <QString>
#include <QStringList>

// Third-party playlists and provider answers kept beside the repository (read in place, never
// copied). Tests that need them skip with a clear message when they are absent.
namespace Fixtures {
// The fixtures folder, or an empty string when it is not there.
QString directory();
// Every file under `subfolder` of the fixtures whose name matches one of `patterns`, sorted.
QStringList files(const QString &subfolder, const QStringList &patterns);
QByteArray read(const QString &path);
} // namespace Fixtures

// Skips the current Qt Test function when the fixtures are not available.
#define QUENVO_REQUIRE_FIXTURES()                                                                          \
    do {                                                                                                   \
        if (Fixtures::directory().isEmpty())                                                               \
            QSKIP("the shared fixtures folder (../shared/fixtures beside the repository) is not present"); \
    } while (false)
