#pragma once

#include "records/PlaylistSource.h"

#include <QList>
#include <QStringList>

class LibraryModel;

// What the command line can ask for: playlist addresses to open for this run. Quenvo has no other
// options; its configuration is what the user stored.
namespace CommandLine {

struct Playlists
{
    // Session-only M3U connections, in the order they were given.
    QList<PlaylistSource> sources;
    // The arguments that are not HTTP or HTTPS playlist addresses.
    QStringList ignored;
};

// Reads the arguments that follow the program name. Every HTTP or HTTPS address becomes an M3U
// connection with a fresh id, named after the address's host (or, failing that, its file name).
Playlists playlists(const QStringList &arguments);

// Opens `sources` one after the other as session-only connections; the last one ends active. Each
// load waits for the previous one to finish, since a newer load would drop an older one's answer.
void open(LibraryModel &library, const QList<PlaylistSource> &sources);

} // namespace CommandLine
