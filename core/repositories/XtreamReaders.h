#pragma once

#include "async/Cancellation.h"
#include "records/CatalogCategory.h"
#include "records/CatalogDetail.h"
#include "records/CatalogItem.h"
#include "records/Channel.h"
#include "records/ChannelExtras.h"
#include "records/PlaylistSource.h"

#include <QByteArray>
#include <QHash>
#include <QList>

// The Xtream Codes answers turned into records: pure functions from a body to values, with no I/O,
// so that they run off the main thread and can be measured and fuzzed on their own.
// Each throws IPTVError with the message the user reads, or JsonError for a body that is not JSON.
// The list readers look at `cancellation` every few thousand rows and throw CancelledError once it
// is raised.
namespace XtreamReaders {

// The stream extension an account allows: "m3u8", else "ts". Throws when the account is refused,
// inactive, or offers neither format.
QString accountStreamExtension(const QByteArray &body);

// Live category id → name.
QHash<QString, QString> liveCategories(const QByteArray &body, const CancellationFlag &cancellation = {});

// One channel per usable live stream row, in the answer's order. Throws when none is usable. With
// `extras`, each kept row's "epg_channel_id" and "stream_icon" are appended to it.
QList<Channel> liveStreams(const QByteArray &body, const PlaylistSource &source, const QString &extension,
                           const QHash<QString, QString> &categories, const CancellationFlag &cancellation = {},
                           ChannelExtras *extras = nullptr);

QList<CatalogCategory> catalogCategories(const QByteArray &body, const CancellationFlag &cancellation = {});
QList<CatalogItem> catalogItems(const QByteArray &body, CatalogKind kind, const QString &categoryID,
                                const CancellationFlag &cancellation = {});
CatalogDetail catalogDetail(const QByteArray &body, const PlaylistSource &source, const CatalogItem &item);

} // namespace XtreamReaders
