// libFuzzer target for the Xtream Codes readers: any bytes must either be refused with an IPTVError
// carrying one of the reader's own texts, or with a JsonError, or give records that keep every promise
// of the readers. A broken promise aborts, so libFuzzer keeps the input that broke it; any other
// exception escapes and is reported as a crash too.
//
// An input whose first byte is a control character other than a JSON blank (0x01–0x1f without tab, LF
// and CR) uses that byte to pick one reader (its value modulo 8) and a connection and title variant (its
// value divided by 8), and the rest is the answer. Every other input, the answers taken from the wild
// among them, goes whole through every reader with the first variant.

#include "records/IPTVError.h"
#include "records/JsonError.h"
#include "records/PlaylistSource.h"
#include "repositories/XtreamReaders.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const char *promise, const QString &detail = QString())
{
    std::fprintf(stderr, "Xtream reader promise broken: %s %s\n", promise, qUtf8Printable(detail));
    std::abort();
}

void require(bool holds, const char *promise, const QString &detail = QString())
{
    if (!holds)
        fail(promise, detail);
}

enum class Reader
{
    account,
    liveCategories,
    liveStreams,
    catalogCategories,
    movieItems,
    seriesItems,
    movieDetail,
    seriesDetail
};
constexpr int readerCount = 8;

struct Variant
{
    PlaylistSource source;
    QString extension; // of the live streams
    CatalogItem (*title)(CatalogKind);
};

CatalogItem plainTitle(CatalogKind kind)
{
    return CatalogItem {
        u"42"_s, kind, u"Títol"_s, u"7"_s, std::nullopt, QString(), QString(), QString(), u"mp4"_s, 0};
}

CatalogItem fullTitle(CatalogKind kind)
{
    return CatalogItem {u"0012"_s, kind, u"La sèrie"_s, u"3"_s, QUrl(u"http://img.example/p.jpg"_s),
        u"2020"_s, u"7.5"_s, u"Sinopsi"_s, u"mkv"_s, 1700000000};
}

// A title whose own extension is unusable: a movie reads only when its answer names a good one.
CatalogItem titleWithoutExtension(CatalogKind kind)
{
    CatalogItem item = plainTitle(kind);
    item.id = u"9"_s;
    item.fileExtension.clear();
    item.plot = u"P"_s;
    return item;
}

const Variant &variant(int index)
{
    static const Variant variants[] = {
        {PlaylistSource(QUuid(), u"a"_s, u"http://provider.example:8080/"_s, u"user"_s, u"pass"_s,
             PlaylistSource::Kind::xtream),
            u"m3u8"_s, plainTitle},
        {PlaylistSource(QUuid(), u"b"_s, u"  https://Provider.Example/panel//  "_s, u"a b&c@d"_s,
             u"p/q?r#%"_s, PlaylistSource::Kind::xtream),
            u"ts"_s, fullTitle},
        {PlaylistSource(QUuid(), u"c"_s, u"http://[2001:db8::7]:8000"_s, u"jòsep"_s, u"€😀"_s,
             PlaylistSource::Kind::xtream),
            u"m3u8"_s, titleWithoutExtension},
        {PlaylistSource(
             QUuid(), u"d"_s, u"http://provider.example"_s, u" "_s, u"%41"_s, PlaylistSource::Kind::xtream),
            u"ts"_s, fullTitle},
    };
    return variants[index % std::size(variants)];
}

bool isDigits(const QString &text)
{
    return !text.isEmpty()
        && std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

bool isUsableExtension(QStringView text)
{
    return !text.isEmpty() && text.size() <= 10 && std::all_of(text.begin(), text.end(), [](QChar c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
    });
}

// The start of every stream address of a kind ("/live/", "/movie/", "/series/"), as stored in a channel.
QByteArray streamPrefix(const PlaylistSource &source, const QString &path)
{
    const QString prefix = source.base() + path + PlaylistSource::encoded(source.username) + u'/'
        + PlaylistSource::encoded(source.password) + u'/';
    const QByteArray probe = PlaylistSource::encodedHttpURL(prefix + u"0.x"_s);
    require(probe.endsWith("/0.x"), "the stream prefix of a source", QString::fromLatin1(probe));
    return probe.chopped(3);
}

// The id and extension of a stream address under `prefix`, which must hold nothing else.
std::pair<QString, QString> idAndExtension(const Channel &channel, const QByteArray &prefix)
{
    const QByteArray &address = channel.encodedURL();
    require(address.startsWith(prefix), "a stream address starts with base/kind/user/password/",
        QString::fromLatin1(address));
    const QString rest = QString::fromLatin1(address.mid(prefix.size()));
    const qsizetype dot = rest.indexOf(u'.');
    require(dot > 0, "a stream address ends in id.extension", rest);
    return {rest.left(dot), rest.mid(dot + 1)};
}

// How many rows an answer has, as Qt's own JSON reader sees it, when it reads it as an array.
std::optional<qsizetype> arrayLength(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    return document.array().size();
}

template<typename Read>
void expectFailureAmong(Read read, std::initializer_list<QString> messages, const char *promise)
{
    try {
        read();
    } catch (const IPTVError &error) {
        require(std::find(messages.begin(), messages.end(), error.message()) != messages.end(), promise,
            error.message());
        throw;
    }
}

void account(const QByteArray &body)
{
    QString extension;
    expectFailureAmong([&] { extension = XtreamReaders::accountStreamExtension(body); },
        {u"Resposta Xtream no vàlida."_s, u"El servidor no ha acceptat l’usuari o la contrasenya."_s,
            u"El compte del servidor no està actiu."_s,
            u"Aquest servidor no ofereix fluxos HLS ni MPEG-TS compatibles."_s},
        "the account refusals");
    require(extension == u"m3u8"_s || extension == u"ts"_s, "an account gives m3u8 or ts", extension);
}

QHash<QString, QString> liveCategories(const QByteArray &body)
{
    QHash<QString, QString> categories;
    expectFailureAmong([&] { categories = XtreamReaders::liveCategories(body); },
        {u"Catàleg Xtream no vàlid."_s}, "the live categories refusal");
    if (const std::optional<qsizetype> rows = arrayLength(body))
        require(categories.size() <= *rows, "at most one category per row");
    return categories;
}

void liveStreams(const QByteArray &body, const Variant &variant)
{
    // The categories of the same answer when it reads as such, else a fixed set.
    QHash<QString, QString> categories {
        {u"1"_s, u"Esports"_s}, {QString(), u"Sense id"_s}, {u"2"_s, QString()}};
    try {
        categories.insert(XtreamReaders::liveCategories(body));
    } catch (const IPTVError &) {
    } catch (const JsonError &) {
    }
    QList<Channel> channels;
    expectFailureAmong(
        [&] { channels = XtreamReaders::liveStreams(body, variant.source, variant.extension, categories); },
        {u"Catàleg Xtream no vàlid."_s, u"El servidor no ha retornat canals en directe."_s},
        "the live stream refusals");
    require(!channels.isEmpty(), "live streams are never empty");
    if (const std::optional<qsizetype> rows = arrayLength(body))
        require(channels.size() <= *rows, "at most one channel per row");
    const QByteArray prefix = streamPrefix(variant.source, u"/live/"_s);
    QSet<QString> ids;
    for (const Channel &channel : channels) {
        require(PlaylistSource::isAcceptedHttpURL(channel.url()), "every live address is accepted",
            QString::fromLatin1(channel.encodedURL()));
        const auto [id, extension] = idAndExtension(channel, prefix);
        require(isDigits(id), "live ids are digits", id);
        require(!ids.contains(id), "live ids are unique", id);
        ids.insert(id);
        require(extension == variant.extension, "live streams use the account's extension", extension);
        require(!channel.group().isEmpty(), "groups are never empty");
        require(!channel.requiresCustomHeaders(), "live streams need no custom headers");
    }
}

void catalogCategories(const QByteArray &body)
{
    QList<CatalogCategory> categories;
    expectFailureAmong([&] { categories = XtreamReaders::catalogCategories(body); },
        {u"El servidor no ha retornat un catàleg vàlid."_s}, "the catalogue refusal");
    if (const std::optional<qsizetype> rows = arrayLength(body))
        require(categories.size() <= *rows, "at most one category per row");
    QSet<QString> ids;
    for (const CatalogCategory &category : categories) {
        require(isDigits(category.id), "category ids are digits", category.id);
        require(!ids.contains(category.id), "category ids are unique", category.id);
        ids.insert(category.id);
        require(!category.name.isEmpty(), "category names are never empty");
    }
}

void catalogItems(const QByteArray &body, CatalogKind kind)
{
    const QString categoryID = kind == CatalogKind::series ? u"0"_s : u"123"_s;
    QList<CatalogItem> items;
    expectFailureAmong([&] { items = XtreamReaders::catalogItems(body, kind, categoryID); },
        {u"El servidor no ha retornat un catàleg vàlid."_s}, "the catalogue refusal");
    if (const std::optional<qsizetype> rows = arrayLength(body))
        require(items.size() <= *rows, "at most one title per row");
    QSet<QString> ids;
    for (const CatalogItem &item : items) {
        require(isDigits(item.id), "title ids are digits", item.id);
        require(!ids.contains(item.id), "title ids are unique", item.id);
        ids.insert(item.id);
        require(item.kind == kind, "titles keep the kind asked for");
        require(item.categoryID == categoryID, "titles keep the category asked for", item.categoryID);
        require(!item.name.isEmpty(), "title names are never empty");
        require(!item.fileExtension.isEmpty(), "title extensions are never empty");
        require(item.year.size() <= 4, "years have at most four characters", item.year);
        require(std::isfinite(item.added), "added is a finite number");
        require(!item.poster || PlaylistSource::isAcceptedHttpURL(*item.poster),
            "posters are accepted addresses");
    }
}

void catalogDetail(const QByteArray &body, const Variant &variant, CatalogKind kind)
{
    const CatalogItem item = variant.title(kind);
    std::optional<CatalogDetail> read;
    expectFailureAmong([&] { read = XtreamReaders::catalogDetail(body, variant.source, item); },
        {u"La fitxa retornada pel servidor no és vàlida."_s,
            u"El servidor no ha retornat la fitxa d’aquest títol."_s,
            u"El servidor no permet accedir a aquesta fitxa."_s,
            u"El servidor ha retornat un format de vídeo no vàlid."_s},
        "the detail refusals");
    const CatalogDetail &detail = *read;
    require(detail.item == item, "the detail keeps its title");
    require(!detail.poster || PlaylistSource::isAcceptedHttpURL(*detail.poster),
        "the poster is an accepted address");
    require(item.plot.isEmpty() || !detail.plot.isEmpty(), "the title's plot is the last fallback");
    require(detail.poster || !item.poster, "the title's poster is the last fallback");

    if (kind == CatalogKind::movies) {
        require(detail.movie.has_value(), "a movie detail has its stream");
        require(detail.episodes.isEmpty(), "a movie has no episodes");
        const Channel &movie = *detail.movie;
        require(PlaylistSource::isAcceptedHttpURL(movie.url()), "the movie address is accepted");
        const auto [id, extension] = idAndExtension(movie, streamPrefix(variant.source, u"/movie/"_s));
        require(id == item.id, "the movie plays the title's id", id);
        require(isUsableExtension(extension), "the movie extension is usable", extension);
        require(movie.name() == item.name && movie.group() == u"Pel·lícules"_s, "the movie's name and group");
        return;
    }

    require(!detail.movie, "a series has no movie stream");
    const QByteArray prefix = streamPrefix(variant.source, u"/series/"_s);
    QSet<QString> ids;
    for (qsizetype i = 0; i < detail.episodes.size(); ++i) {
        const CatalogEpisode &episode = detail.episodes[i];
        require(isDigits(episode.id), "episode ids are digits", episode.id);
        require(!ids.contains(episode.id), "episode ids are unique", episode.id);
        ids.insert(episode.id);
        if (i > 0) {
            const CatalogEpisode &before = detail.episodes[i - 1];
            require(std::tie(before.season, before.number, before.id)
                    < std::tie(episode.season, episode.number, episode.id),
                "episodes are sorted by season, number and id", episode.id);
        }
        require(!episode.title.isEmpty(), "episode titles are never empty");
        require(PlaylistSource::isAcceptedHttpURL(episode.channel.url()), "episode addresses are accepted");
        const auto [id, extension] = idAndExtension(episode.channel, prefix);
        require(id == episode.id, "an episode plays its own id", id);
        require(isUsableExtension(extension), "episode extensions are usable", extension);
        require(episode.channel.name() == episode.title, "an episode's stream is named after it");
        require(episode.channel.group()
                == item.name + u" · T"_s + QString::number(episode.season) + u" E"_s
                    + QString::number(episode.number),
            "an episode's group names the series, season and number", episode.channel.group());
        require(!episode.image || PlaylistSource::isAcceptedHttpURL(*episode.image),
            "episode images are accepted");
    }
}

enum class Outcome
{
    read,
    refused,
    notJson
};

Outcome readWith(Reader reader, const QByteArray &body, const Variant &variant)
{
    try {
        switch (reader) {
        case Reader::account:
            account(body);
            break;
        case Reader::liveCategories:
            liveCategories(body);
            break;
        case Reader::liveStreams:
            liveStreams(body, variant);
            break;
        case Reader::catalogCategories:
            catalogCategories(body);
            break;
        case Reader::movieItems:
            catalogItems(body, CatalogKind::movies);
            break;
        case Reader::seriesItems:
            catalogItems(body, CatalogKind::series);
            break;
        case Reader::movieDetail:
            catalogDetail(body, variant, CatalogKind::movies);
            break;
        case Reader::seriesDetail:
            catalogDetail(body, variant, CatalogKind::series);
            break;
        }
    } catch (const IPTVError &) {
        return Outcome::refused; // its text was checked where it was thrown
    } catch (const JsonError &) {
        return Outcome::notJson;
    }
    return Outcome::read;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const bool selected = size > 0 && data[0] >= 0x01 && data[0] <= 0x1f && data[0] != '\t' && data[0] != '\n'
        && data[0] != '\r';
    if (selected) {
        const QByteArray body(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
        readWith(Reader(data[0] % readerCount), body, variant(data[0] / readerCount));
        return 0;
    }
    // Whether a body is JSON does not depend on the reader, except that the catalogue's lists also
    // take a top level that is neither an object nor an array for malformed.
    const QByteArray body(reinterpret_cast<const char *>(data), qsizetype(size));
    const bool json = readWith(Reader::account, body, variant(0)) != Outcome::notJson;
    const QByteArray trimmed = body.trimmed();
    const bool container = trimmed.startsWith('{') || trimmed.startsWith('[');
    for (int reader = 1; reader < readerCount; ++reader) {
        const bool list = Reader(reader) == Reader::catalogCategories || Reader(reader) == Reader::movieItems
            || Reader(reader) == Reader::seriesItems;
        const bool expected = list ? json && container : json;
        require((readWith(Reader(reader), body, variant(0)) != Outcome::notJson) == expected,
            "every reader refuses the same bodies as not JSON");
    }
    return 0;
}
