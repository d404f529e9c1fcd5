#pragma once

#include "records/Channel.h"
#include "records/ChannelExtras.h"
#include "records/PlaylistSource.h"

#include <QList>
#include <QUrl>

// A playlist file on this computer, opened for the session from the command line or the file
// manager. It is read with the rules of a downloaded list: at most 25 MB, UTF-8 only, relative
// entries resolved against the file's own location — where they name files, not http or https
// addresses, so they are skipped like any other address that is not a web stream.
namespace LocalPlaylistFile {

// Whether `source` is an M3U connection whose address is a file: URL.
bool isLocal(const PlaylistSource &source);
// The file: URL of such a connection's address, trimmed.
QUrl url(const PlaylistSource &source);

// Reads and parses the file; throws IPTVError (missing or unreadable file, too large, not UTF-8,
// not a playlist, no web streams in it). Blocking: run it off the main thread.
ChannelListing read(const QUrl &url);

} // namespace LocalPlaylistFile
