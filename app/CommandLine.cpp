#include "CommandLine.h"

#include "models/LibraryModel.h"

#include <QFileInfo>
#include <QUrl>
#include <QUuid>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace CommandLine {

namespace {

std::optional<PlaylistSource> playlistSource(const QString &argument)
{
    const QString address = argument.trimmed();
    const QUrl url(address, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != "http"_L1 && scheme != "https"_L1))
        return std::nullopt;
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

Playlists playlists(const QStringList &arguments)
{
    Playlists result;
    for (const QString &argument : arguments) {
        if (std::optional<PlaylistSource> source = playlistSource(argument))
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
