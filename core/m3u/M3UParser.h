#pragma once

#include "async/Cancellation.h"
#include "records/Channel.h"
#include "records/ChannelExtras.h"

#include <QByteArray>
#include <QList>
#include <QStringView>
#include <QUrl>

// Turns the text of an M3U playlist into its channels, in playlist order, in one pass.
//
// Entries are "#EXTINF:" lines (title after the first comma outside quotes, "group-title" and
// "tvg-name" attributes), "#EXTGRP:" groups and "#EXTVLCOPT:" custom-header marks, followed by an
// address; relative addresses resolve against `baseURL`, only http(s) addresses are kept, and a
// repeated address keeps its first entry. A text with "#EXT-X-" tags is an HLS stream rather than a
// list, and becomes one channel pointing at `baseURL`.
//
// Throws IPTVError when the text is not a playlist or holds no usable address; never returns an
// empty list. Throws CancelledError once `cancellation` is raised: a list of millions of entries
// stops within a few thousand lines.
namespace M3UParser {
QList<Channel> parse(QStringView text, const QUrl &baseURL, const CancellationFlag &cancellation = {});
// The same against the list's own address as written (an accepted address's absolute string, see
// PlaylistSource::acceptedEncodedURL), which an HLS stream keeps as its channel's address.
QList<Channel> parse(QStringView text, const QByteArray &baseAddress, const CancellationFlag &cancellation = {});
// The same, with each kept channel's "tvg-id" and "tvg-logo" and the header's guide addresses.
ChannelListing parseListing(QStringView text, const QByteArray &baseAddress, const CancellationFlag &cancellation = {});
}
