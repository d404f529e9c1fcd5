#pragma once

#include "records/PlaylistSource.h"

#include <QList>
#include <QStringList>

class LibraryModel;

// What the command line can ask for: playlists to open for this run — web addresses, and files on
// this computer (paths or file: URLs, as the file manager hands them over). Quenvo has no other
// options; its configuration is what the user stored.
namespace CommandLine {

struct Playlists
{
    // Session-only M3U connections, in the order they were given.
    QList<PlaylistSource> sources;
    // The arguments that are neither HTTP or HTTPS playlist addresses nor files.
    QStringList ignored;

    // The sources' addresses: what another instance is handed to open the same playlists (files as
    // absolute file: URLs, so they mean the same thing from any working folder).
    QStringList addresses() const;
};

// Reads the arguments that follow the program name. Every HTTP or HTTPS address becomes an M3U
// connection with a fresh id, named after the address's host (or, failing that, its file name).
// A file: URL or a path (relative to `workingDirectory`) becomes an M3U connection whose address is
// the file's absolute file: URL, named after the file; the file is read when the connection loads,
// so a missing one is reported then, as a notice. Arguments starting with "-" are ignored.
Playlists playlists(const QStringList &arguments, const QString &workingDirectory = QString());

// Opens `sources` one after the other as session-only connections; the last one ends active. Each
// load waits for the previous one to finish, since a newer load would drop an older one's answer.
void open(LibraryModel &library, const QList<PlaylistSource> &sources);

} // namespace CommandLine
