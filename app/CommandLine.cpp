#include "CommandLine.h"

#include "models/LibraryModel.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>
#include <QUuid>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace CommandLine {

namespace {

// A file on this computer: a file: URL, or a path (which has no scheme).
std::optional<PlaylistSource> fileSource(const QString &argument, const QString &workingDirectory)
{
    if (argument.isEmpty() || argument.startsWith(u'-'))
        return std::nullopt;
    const QUrl url(argument, QUrl::TolerantMode);
    QString path;
    if (url.isLocalFile())
        path = url.toLocalFile();
    else if (url.scheme().isEmpty())
        path = argument;
    if (path.isEmpty())
        return std::nullopt;
    const QFileInfo file(workingDirectory.isEmpty() ? QDir::current() : QDir(workingDirectory), path);
    const QString absolute = QDir::cleanPath(file.absoluteFilePath());
    const QString name = QFileInfo(absolute).fileName();
    if (name.isEmpty())
        return std::nullopt;
    return PlaylistSource(QUuid::createUuid(), name, QUrl::fromLocalFile(absolute).toString(QUrl::FullyEncoded),
                          QString(), QString(), PlaylistSource::Kind::m3u);
}

std::optional<PlaylistSource> playlistSource(const QString &argument, const QString &workingDirectory)
{
    const QString address = argument.trimmed();
    const QUrl url(address, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != "http"_L1 && scheme != "https"_L1))
        return fileSource(argument, workingDirectory);
    QString name = url.host();
    if (name.isEmpty())
        name = QFileInfo(url.path()).fileName();
    PlaylistSource source(QUuid::createUuid(), name, address, QString(), QString(), PlaylistSource::Kind::m3u);
    try {
        // The same rules as the connection editor: a host, and no credentials inside the address.
        source.validatedURL();
    } catch (...) {
        return std::nullopt;
    }
    return source;
}

} // namespace

QStringList Playlists::addresses() const
{
    QStringList result;
    for (const PlaylistSource &source : sources)
        result.append(source.address);
    return result;
}

Playlists playlists(const QStringList &arguments, const QString &workingDirectory)
{
    Playlists result;
    for (const QString &argument : arguments) {
        if (std::optional<PlaylistSource> source = playlistSource(argument, workingDirectory))
            result.sources.append(*source);
        else
            result.ignored.append(argument);
    }
    return result;
}

void open(LibraryModel &library, const QList<PlaylistSource> &sources)
{
    if (sources.isEmpty())
        return;
    auto remaining = std::make_shared<QList<PlaylistSource>>(sources);
    // Lives while addresses remain; the connection below goes with it.
    auto *pending = new QObject(&library);
    auto openNext = [&library, remaining, pending] {
        if (remaining->isEmpty()) {
            pending->deleteLater();
            return;
        }
        library.load(remaining->takeFirst(), false, true);
    };
    // Queued: the finished load completes its own work before the next one starts.
    QObject::connect(
        &library, &LibraryModel::isLoadingChanged, pending,
        [&library, openNext] {
            if (!library.isLoading())
                openNext();
        },
        Qt::QueuedConnection);
    openNext();
}

} // namespace CommandLine
