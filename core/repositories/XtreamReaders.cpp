#include "XtreamReaders.h"
#include "XtreamJson.h"
#include "records/IPTVError.h"
#include "records/JsonError.h"
#include "text/LocalizedText.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <vector>

using namespace Qt::StringLiterals;
using namespace XtreamJson;

namespace {

const QString liveGroupDefault = u"Directe"_s;

// The ids already taken in one answer, where the first occurrence wins. Ids are ASCII digits; the
// usual ones are kept as numbers in an open-addressing table (no string to allocate and free per
// row), the rest as text, so that "007" and "7" stay two ids.
class TakenIDs
{
public:
    explicit TakenIDs(qsizetype expected)
    {
        std::size_t capacity = 64;
        while (capacity < std::size_t(2 * expected))
            capacity *= 2;
        m_numbers.assign(capacity, empty);
    }

    // False when `id` was taken before.
    bool take(const QString &id)
    {
        if (id.size() <= 18 && (id.size() == 1 || id.front() != u'0')) {
            qint64 number = 0;
            for (const QChar c : id)
                number = number * 10 + (c.unicode() - u'0');
            return takeNumber(number);
        }
        if (m_others.contains(id))
            return false;
        m_others.insert(id);
        return true;
    }

private:
    static constexpr qint64 empty = -1; // ids are never negative

    bool takeNumber(qint64 number)
    {
        if (2 * (m_count + 1) > qsizetype(m_numbers.size()))
            grow();
        const std::size_t mask = m_numbers.size() - 1;
        for (std::size_t at = spread(number) & mask;; at = (at + 1) & mask) {
            if (m_numbers[at] == number)
                return false;
            if (m_numbers[at] == empty) {
                m_numbers[at] = number;
                ++m_count;
                return true;
            }
        }
    }

    // Consecutive ids are common: mix the bits so that they do not fill one run of the table.
    static std::size_t spread(qint64 number)
    {
        return std::size_t((quint64(number) * 0x9e3779b97f4a7c15ULL) >> 20);
    }

    void grow()
    {
        std::vector<qint64> larger(2 * m_numbers.size(), empty);
        const std::size_t mask = larger.size() - 1;
        for (const qint64 number : m_numbers) {
            if (number == empty)
                continue;
            std::size_t at = spread(number) & mask;
            while (larger[at] != empty)
                at = (at + 1) & mask;
            larger[at] = number;
        }
        m_numbers = std::move(larger);
    }

    std::vector<qint64> m_numbers;
    qsizetype m_count = 0;
    QSet<QString> m_others;
};

// Texts that repeat from row to row of one answer (extensions, ratings, years, categories), made once
// and then shared. Keyed by the JSON string as it stands in the parsed document, which outlives the
// loop, in a small open-addressing table; values that are not strings are made each time. A field
// whose values hardly repeat stops being remembered once the table is half full.
class SharedTexts
{
public:
    // `shape(text(element))`, for a string made only the first time it is met.
    template<typename Shape>
    QString of(const std::optional<Element> &element, Shape shape)
    {
        std::string_view view;
        if (!element || element->get(view))
            return shape(text(element));
        const std::size_t mask = m_entries.size() - 1;
        std::size_t at = hashOf(view) & mask;
        for (; m_entries[at].used; at = (at + 1) & mask) {
            if (m_entries[at].key == view)
                return m_entries[at].text;
        }
        QString shaped = shape(text(element));
        if (2 * m_count < qsizetype(m_entries.size())) {
            m_entries[at] = {view, shaped, true};
            ++m_count;
        }
        return shaped;
    }

private:
    struct Entry
    {
        std::string_view key;
        QString text;
        bool used = false;
    };

    // FNV-1a: the texts are short.
    static std::size_t hashOf(std::string_view view)
    {
        std::size_t hash = 14695981039346656037ULL;
        for (const char c : view)
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
        return hash ^ (hash >> 29);
    }

    std::vector<Entry> m_entries = std::vector<Entry>(1024);
    qsizetype m_count = 0;
};

// An object's rows when the body is an array whose every element is an object, else nothing.
std::optional<QList<Object>> objectRows(const Element &root)
{
    simdjson::dom::array array;
    if (root.get(array))
        return std::nullopt;
    QList<Object> rows;
    rows.reserve(qsizetype(array.size()));
    for (const Element element : array) {
        Object row;
        if (element.get(row))
            return std::nullopt;
        rows.append(row);
    }
    return rows;
}

// A list answer of the catalogue: an array of objects, or an empty object standing for no rows.
QList<Object> catalogRows(const Element &root)
{
    // The top level of a catalogue answer is an object or an array: anything else is no catalogue
    // document at all, and fails as malformed JSON does.
    if (!root.is_object() && !root.is_array())
        throw JsonError(u"the answer is neither an object nor an array"_s);
    if (std::optional<QList<Object>> rows = objectRows(root))
        return *rows;
    Object object;
    if (!root.get(object) && object.size() == 0)
        return {};
    throw IPTVError(u"El servidor no ha retornat un catàleg vàlid."_s);
}

QList<Object> liveRows(const Element &root)
{
    if (std::optional<QList<Object>> rows = objectRows(root))
        return *rows;
    throw IPTVError(u"Catàleg Xtream no vàlid."_s);
}

std::optional<QUrl> optionalHttpURL(const QString &text)
{
    if (text.isEmpty())
        return std::nullopt;
    const QUrl url = PlaylistSource::parseURL(text);
    // A plainly written address is known to be accepted without asking the parsed URL again.
    if (!PlaylistSource::isPlainHttpURL(text) && !PlaylistSource::isAcceptedHttpURL(url))
        return std::nullopt;
    return url;
}

// The posters of one answer, which come from a few hosts. A plainly written address
// (PlaylistSource::plainHttpAuthorityEnd) is made from its scheme and authority, parsed once per
// answer, and its own path and query: QUrl holds exactly what it would hold after parsing the whole
// address, for less than half the work. Any other address is parsed and checked on its own.
class Posters
{
public:
    std::optional<QUrl> of(const QString &text)
    {
        const qsizetype authorityEnd = PlaylistSource::plainHttpAuthorityEnd(text);
        if (authorityEnd < 0)
            return optionalHttpURL(text);
        const QUrl *origin = originOf(QStringView(text).first(authorityEnd));
        if (!origin)
            return PlaylistSource::parseURL(text);
        QUrl url = *origin;
        const qsizetype queryStart = text.indexOf(u'?', authorityEnd);
        const qsizetype pathEnd = queryStart < 0 ? text.size() : queryStart;
        url.setPath(text.sliced(authorityEnd, pathEnd - authorityEnd), QUrl::TolerantMode);
        if (queryStart >= 0)
            url.setQuery(text.sliced(queryStart + 1), QUrl::TolerantMode);
        return url;
    }

private:
    struct Origin
    {
        QString text;
        QUrl url;
    };

    // The parsed "scheme://authority", or nothing when the answer uses more hosts than are kept.
    const QUrl *originOf(QStringView text)
    {
        for (const Origin &origin : m_origins) {
            if (origin.text == text)
                return &origin.url;
        }
        if (m_origins.size() >= 16)
            return nullptr;
        m_origins.push_back({text.toString(), PlaylistSource::parseURL(text)});
        return &m_origins.back().url;
    }

    std::vector<Origin> m_origins;
};

// The values of the keys a reader looks at, found in one pass over the row rather than one search
// per key. As with Object::at_key, the first of repeated keys counts; absent keys stay empty.
template<std::size_t N>
std::array<std::optional<Element>, N> fieldsOf(const Object &row, const std::array<std::string_view, N> &keys)
{
    std::array<std::optional<Element>, N> values;
    for (const auto field : row) {
        for (std::size_t i = 0; i < N; ++i) {
            if (field.key == keys[i]) {
                if (!values[i])
                    values[i] = field.value;
                break;
            }
        }
    }
    return values;
}

// The first present value among `values`, in order: a fallback decided by presence, as valueOr.
std::optional<Element> firstPresent(std::initializer_list<std::optional<Element>> values)
{
    for (const std::optional<Element> &value : values) {
        if (value)
            return value;
    }
    return std::nullopt;
}

// The first four characters of a year or a date. Printable ASCII without a carriage return breaks
// into one character per unit, which spares the grapheme search of LocalizedText::leftCharacters.
QString yearOf(const QString &text)
{
    constexpr qsizetype length = 4;
    if (text.size() <= length)
        return text;
    for (qsizetype i = 0; i <= length; ++i) {
        const char16_t c = text[i].unicode();
        if (c < 0x20 || c >= 0x7f)
            return LocalizedText::leftCharacters(text, length);
    }
    return text.left(length);
}

// The live stream addresses of one account: a prefix and a suffix around each stream id. When the
// prefix is a plain address (PlaylistSource::isPlainHttpURL), so is every prefix + digits + suffix,
// and its bytes are put together directly; otherwise each goes through encodedHttpURL.
class LiveAddresses
{
public:
    LiveAddresses(QString prefix, QString suffix)
        : m_prefix(std::move(prefix))
        , m_suffix(std::move(suffix))
        , m_plain(PlaylistSource::isPlainHttpURL(QString(m_prefix + u'0' + m_suffix)))
        , m_prefixBytes(m_prefix.toLatin1())
        , m_suffixBytes(m_suffix.toLatin1())
    {
    }

    // `id` is made of ASCII digits.
    QByteArray address(const QString &id) const
    {
        if (!m_plain)
            return PlaylistSource::encodedHttpURL(QString(m_prefix + id + m_suffix));
        QByteArray bytes(m_prefixBytes.size() + id.size() + m_suffixBytes.size(), Qt::Uninitialized);
        char *out = std::copy(m_prefixBytes.cbegin(), m_prefixBytes.cend(), bytes.data());
        for (const QChar c : id)
            *out++ = char(c.unicode());
        std::copy(m_suffixBytes.cbegin(), m_suffixBytes.cend(), out);
        return bytes;
    }

private:
    QString m_prefix;
    QString m_suffix;
    bool m_plain;
    QByteArray m_prefixBytes;
    QByteArray m_suffixBytes;
};

// The stream of a catalogue title or episode: base/path/user/password/id.ext
Channel playable(const PlaylistSource &source, const QString &path, const QString &id, const QString &extension,
                 const QString &name, const QString &group)
{
    const bool extensionUsable = !extension.isEmpty() && extension.size() <= 10
        && std::all_of(extension.begin(), extension.end(), [](QChar c) {
               const char16_t u = c.unicode();
               return (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9');
           });
    if (!numeric(id) || !extensionUsable)
        throw IPTVError(u"El servidor ha retornat un format de vídeo no vàlid."_s);
    const QString address = source.base() + path + PlaylistSource::encoded(source.username) + u'/'
        + PlaylistSource::encoded(source.password) + u'/' + id + u'.' + extension;
    return Channel(name, group, PlaylistSource::encodedHttpURL(address), false);
}

struct SeasonGroup
{
    qint64 season;
    QList<Object> episodes;
};

QList<SeasonGroup> seasonGroups(const std::optional<Element> &episodes)
{
    QList<SeasonGroup> groups;
    if (!episodes)
        return groups;
    Object bySeason;
    simdjson::dom::array inOrder;
    if (!episodes->get(bySeason)) {
        for (const auto field : bySeason) {
            if (std::optional<QList<Object>> rows = objectRows(field.value)) {
                const QString key = QString::fromUtf8(field.key.data(), qsizetype(field.key.size()));
                groups.append({decimalInteger(key).value_or(0), std::move(*rows)});
            }
        }
    } else if (!episodes->get(inOrder)) {
        qint64 position = 0;
        for (const Element element : inOrder) {
            if (std::optional<QList<Object>> rows = objectRows(element))
                groups.append({position, std::move(*rows)});
            ++position;
        }
    }
    return groups;
}

QList<CatalogEpisode> episodesOf(const Object &root, const PlaylistSource &source, const CatalogItem &item)
{
    QList<CatalogEpisode> episodes;
    TakenIDs taken(0);
    for (const SeasonGroup &group : seasonGroups(value(root, "episodes"))) {
        for (const Object &episode : group.episodes) {
            const QString id = text(episode, "id");
            if (id.isEmpty() || !numeric(id) || !taken.take(id))
                continue;
            const qint64 season = decimalInteger(text(episode, "season")).value_or(group.season);
            const qint64 number = decimalInteger(text(episode, "episode_num")).value_or(0);
            QString title = text(episode, "title");
            if (title.isEmpty())
                title = u"Episodi "_s + QString::number(number);
            const std::optional<Object> info = object(value(episode, "info"));
            QString extension = text(episode, "container_extension");
            if (extension.isEmpty())
                extension = u"mp4"_s;
            const QString label =
                item.name + u" · T"_s + QString::number(season) + u" E"_s + QString::number(number);
            Channel channel = playable(source, u"/series/"_s, id, extension, title, label);
            episodes.append(CatalogEpisode{id, season, number, title, text(info, "plot"), text(info, "duration"),
                                           optionalHttpURL(text(info, "movie_image")), std::move(channel)});
        }
    }
    std::stable_sort(episodes.begin(), episodes.end(), [](const CatalogEpisode &a, const CatalogEpisode &b) {
        if (a.season != b.season)
            return a.season < b.season;
        if (a.number != b.number)
            return a.number < b.number;
        return a.id < b.id;
    });
    return episodes;
}

} // namespace

namespace XtreamReaders {

QString accountStreamExtension(const QByteArray &body)
{
    const Document document(body);
    Object account;
    if (document.root().get(account))
        throw IPTVError(u"Resposta Xtream no vàlida."_s);
    const QString refused = u"El servidor no ha acceptat l’usuari o la contrasenya."_s;
    const std::optional<Object> userInfo = object(value(account, "user_info"));
    if (!userInfo || text(*userInfo, "auth") != u"1"_s)
        throw IPTVError(refused);
    if (const std::optional<QString> status = string(value(*userInfo, "status")); status && status->toLower() != u"active"_s)
        throw IPTVError(u"El compte del servidor no està actiu."_s);

    simdjson::dom::array formats;
    const std::optional<Element> listed = value(*userInfo, "allowed_output_formats");
    if (!listed || listed->get(formats))
        return u"m3u8"_s;
    bool hls = false;
    bool ts = false;
    for (const Element format : formats) {
        const std::optional<QString> name = string(format);
        if (!name)
            return u"m3u8"_s; // not an array of strings: the default applies
        hls = hls || *name == u"m3u8";
        ts = ts || *name == u"ts";
    }
    if (hls)
        return u"m3u8"_s;
    if (ts)
        return u"ts"_s;
    throw IPTVError(u"Aquest servidor no ofereix fluxos HLS ni MPEG-TS compatibles."_s);
}

QHash<QString, QString> liveCategories(const QByteArray &body, const CancellationFlag &cancellation)
{
    CancellationCheckpoint checkpoint(cancellation);
    checkpoint.pass();
    const Document document(body);
    QHash<QString, QString> names;
    for (const Object &row : liveRows(document.root())) {
        checkpoint.pass();
        names.insert(text(row, "category_id"), string(value(row, "category_name")).value_or(liveGroupDefault));
    }
    return names;
}

QList<Channel> liveStreams(const QByteArray &body, const PlaylistSource &source, const QString &extension,
                           const QHash<QString, QString> &categories, const CancellationFlag &cancellation,
                           ChannelExtras *extras)
{
    CancellationCheckpoint checkpoint(cancellation);
    checkpoint.pass();
    const Document document(body);
    const QList<Object> rows = liveRows(document.root());
    const LiveAddresses addresses(source.base() + u"/live/"_s + PlaylistSource::encoded(source.username) + u'/'
                                      + PlaylistSource::encoded(source.password) + u'/',
                                  u'.' + extension);
    QList<Channel> channels;
    channels.reserve(rows.size());
    TakenIDs taken(rows.size());
    static constexpr std::array<std::string_view, 5> keys = {"stream_id", "name", "category_id", "epg_channel_id",
                                                             "stream_icon"};
    enum { streamID, streamName, categoryID, guideID, logo };
    SharedTexts groups;
    for (const Object &row : rows) {
        checkpoint.pass();
        const auto fields = fieldsOf(row, keys);
        const QString id = text(fields[streamID]);
        if (id.isEmpty() || !numeric(id) || !taken.take(id))
            continue;
        QByteArray url = addresses.address(id);
        QString name = string(fields[streamName]).value_or(u"Canal "_s + id);
        QString group = groups.of(fields[categoryID], [&](const QString &category) {
            return categories.value(category, liveGroupDefault);
        });
        channels.append(Channel(std::move(name), std::move(group), std::move(url), false));
        if (extras)
            extras->append(text(fields[guideID]), text(fields[logo]));
    }
    if (channels.isEmpty())
        throw IPTVError(u"El servidor no ha retornat canals en directe."_s);
    return channels;
}

QList<CatalogCategory> catalogCategories(const QByteArray &body, const CancellationFlag &cancellation)
{
    CancellationCheckpoint checkpoint(cancellation);
    checkpoint.pass();
    const Document document(body);
    QList<CatalogCategory> categories;
    const QList<Object> rows = catalogRows(document.root());
    TakenIDs taken(rows.size());
    for (const Object &row : rows) {
        checkpoint.pass();
        const QString id = text(row, "category_id");
        if (id.isEmpty() || !numeric(id) || !taken.take(id))
            continue;
        QString name = text(row, "category_name");
        if (name.isEmpty())
            name = u"Sense categoria"_s;
        categories.append(CatalogCategory{id, name});
    }
    return categories;
}

QList<CatalogItem> catalogItems(const QByteArray &body, CatalogKind kind, const QString &categoryID,
                                const CancellationFlag &cancellation)
{
    CancellationCheckpoint checkpoint(cancellation);
    checkpoint.pass();
    const Document document(body);
    const QList<Object> rows = catalogRows(document.root());
    QList<CatalogItem> items;
    items.reserve(rows.size());
    TakenIDs taken(rows.size());
    const std::array<std::string_view, 12> keys = {kind == CatalogKind::series ? "series_id" : "stream_id",
                                                   "name", "container_extension", "cover", "stream_icon", "year",
                                                   "releaseDate", "release_date", "rating", "plot", "added",
                                                   "last_modified"};
    enum { itemID, itemName, extensionKey, cover, icon, year, releaseDate, releaseDateSnake, rating, plot, added,
           lastModified };
    SharedTexts extensions;
    SharedTexts years;
    SharedTexts ratings;
    Posters posters;
    const auto asIs = [](const QString &text) { return text; };
    for (const Object &row : rows) {
        checkpoint.pass();
        const auto fields = fieldsOf(row, keys);
        const QString id = text(fields[itemID]);
        if (id.isEmpty() || !numeric(id) || !taken.take(id))
            continue;
        QString name = text(fields[itemName]);
        if (name.isEmpty())
            name = u"Sense títol"_s;
        const QString extension = extensions.of(fields[extensionKey], [](const QString &text) {
            return text.isEmpty() ? u"mp4"_s : text;
        });
        items.append(CatalogItem{
            id,
            kind,
            name,
            categoryID,
            posters.of(text(firstPresent({fields[cover], fields[icon]}))),
            years.of(firstPresent({fields[year], fields[releaseDate], fields[releaseDateSnake]}), yearOf),
            ratings.of(fields[rating], asIs),
            text(fields[plot]),
            extension,
            decimalNumber(firstPresent({fields[added], fields[lastModified]})).value_or(0),
        });
    }
    return items;
}

CatalogDetail catalogDetail(const QByteArray &body, const PlaylistSource &source, const CatalogItem &item)
{
    const Document document(body);
    Object root;
    if (document.root().get(root))
        throw IPTVError(u"La fitxa retornada pel servidor no és vàlida."_s);
    if (!value(root, "info") && !value(root, "movie_data") && !value(root, "episodes"))
        throw IPTVError(u"El servidor no ha retornat la fitxa d’aquest títol."_s);
    if (value(root, "user_info") || value(root, "error"))
        throw IPTVError(u"El servidor no permet accedir a aquesta fitxa."_s);
    const std::optional<Object> info = object(value(root, "info"));

    CatalogDetail detail;
    detail.item = item;
    if (item.kind == CatalogKind::series) {
        detail.episodes = episodesOf(root, source, item);
    } else {
        const std::optional<Object> movieData = object(value(root, "movie_data"));
        QString extension = movieData ? text(*movieData, "container_extension") : QString();
        if (extension.isEmpty())
            extension = item.fileExtension;
        detail.movie = playable(source, u"/movie/"_s, item.id, extension, item.name, u"Pel·lícules"_s);
    }
    detail.plot = text(valueOr(info, "plot", "description"));
    detail.genre = text(info, "genre");
    detail.cast = text(valueOr(info, "cast", "actors"));
    detail.duration = text(info, "duration");
    detail.poster = optionalHttpURL(text(valueOr(info, "cover", "movie_image")));
    if (detail.plot.isEmpty())
        detail.plot = item.plot;
    if (!detail.poster)
        detail.poster = item.poster;
    return detail;
}

} // namespace XtreamReaders
