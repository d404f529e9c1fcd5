#include "ProviderAnswers.h"
#include "PhpJsonWriter.h"

#include <QDateTime>
#include <QTime>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QString stamp(qint64 seconds)
{
    return QString::number(seconds);
}

QString date(int year, int index)
{
    return QString::number(year) + u'-' + QString::number(index % 12 + 1).rightJustified(2, u'0') + u'-'
        + QString::number(index % 28 + 1).rightJustified(2, u'0');
}

double fiveBased(const QString &rating)
{
    return rating.toDouble() / 2.0;
}

QString duration(int seconds)
{
    return QTime(0, 0).addSecs(seconds).toString(u"HH:mm:ss"_s);
}

// Category filters read like PHP: an empty or absent category_id means every row.
bool inCategory(const QString &filter, const QString &category)
{
    return filter.isEmpty() || filter == category;
}

void categoryIDs(PhpJsonWriter &json, const QString &categoryID)
{
    json.key("category_ids");
    json.beginArray();
    json.number(qint64(categoryID.toLongLong()));
    json.endArray();
}

QString percentEncoded(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

const QString cast = u"Anna Puig, Jordi Ferrer, Núria Solé, Pau Martí"_s;
const QString director = u"Mercè Rovira"_s;

} // namespace

ProviderAnswers::ProviderAnswers(const ProviderCatalog &catalog, QString baseURL, bool posterPerTitle)
    : m_catalog(catalog)
    , m_baseURL(std::move(baseURL))
    , m_posterPerTitle(posterPerTitle)
{
}

QString ProviderAnswers::logoURL(int logo) const
{
    return m_baseURL + u"/images/logo-"_s + QString::number(logo) + u".png"_s;
}

QString ProviderAnswers::posterURL(int poster) const
{
    return m_baseURL + u"/images/poster-"_s + QString::number(poster) + u".jpg"_s;
}

QString ProviderAnswers::titlePosterURL(int poster, const char *kind, qint64 id) const
{
    if (!m_posterPerTitle)
        return posterURL(poster);
    return posterURL(poster) + u'?' + QLatin1String(kind) + u'=' + QString::number(id);
}

QByteArray ProviderAnswers::playlist(const ProviderAccount &account, const QString &extension) const
{
    const QString prefix = m_baseURL + u"/live/"_s + percentEncoded(account.username) + u'/'
        + percentEncoded(account.password) + u'/';
    QString text;
    text.reserve(m_catalog.liveChannelCount() * 240);
    // The guide's address in both spellings players look for.
    text += u"#EXTM3U url-tvg=\""_s + m_baseURL + u"/guide.xml.gz\" x-tvg-url=\""_s + m_baseURL
        + u"/guide.xml.gz\"\n"_s;
    for (int index = 0; index < m_catalog.liveChannelCount(); ++index) {
        const QString name = m_catalog.liveChannelName(index);
        const bool hls = m_catalog.liveChannelKind(index) == ProviderCatalog::LiveKind::hls;
        text += u"#EXTINF:-1 tvg-id=\""_s + m_catalog.liveChannelGuideID(index) + u"\" tvg-name=\""_s + name
            + u"\" tvg-logo=\""_s + logoURL(m_catalog.liveChannelLogo(index)) + u"\" group-title=\""_s
            + m_catalog.liveCategoryName(m_catalog.liveChannelCategory(index)) + u"\","_s + name + u'\n';
        if (index == m_catalog.userAgentChannel())
            text += u"#EXTVLCOPT:http-user-agent="_s + ProviderCatalog::userAgentChannelAgent() + u'\n';
        text += prefix + QString::number(m_catalog.liveChannelID(index)) + u'.'
            + (hls ? u"m3u8"_s : extension) + u'\n';
    }
    return text.toUtf8();
}

QByteArray ProviderAnswers::accountInfo(const ProviderAccount &account, qint64 now) const
{
    const QUrl base(m_baseURL);
    QByteArray out;
    PhpJsonWriter json(out);
    json.beginObject();
    json.key("user_info");
    json.beginObject();
    json.field("username", account.username);
    json.field("password", account.password);
    json.field("message", u"Benvinguts al proveïdor local de proves."_s);
    json.field("auth", 1);
    json.field("status", account.status);
    json.field("exp_date", account.isActive() ? u"1893456000"_s : u"1609459200"_s);
    json.field("is_trial", u"0"_s);
    json.field("active_cons", u"0"_s);
    json.field("created_at", u"1577836800"_s);
    json.field("max_connections", u"2"_s);
    json.key("allowed_output_formats");
    json.beginArray();
    for (const QString &format : account.outputFormats)
        json.string(format);
    json.endArray();
    json.endObject();
    json.key("server_info");
    json.beginObject();
    json.field("url", base.host());
    json.field("port", QString::number(base.port()));
    json.field("https_port", u""_s);
    json.field("server_protocol", base.scheme());
    json.field("rtmp_port", u""_s);
    json.field("timezone", u"UTC"_s);
    json.field("timestamp_now", now);
    json.field("time_now", QDateTime::fromSecsSinceEpoch(now, Qt::UTC).toString(u"yyyy-MM-dd HH:mm:ss"_s));
    json.key("process");
    json.boolean(true);
    json.endObject();
    json.endObject();
    return out;
}

namespace {
// A category answer: id, name and the parent every server sends, in category order.
template<typename ID, typename Name>
QByteArray categoryList(int count, ID id, Name name)
{
    QByteArray out;
    PhpJsonWriter json(out);
    json.beginArray();
    for (int category = 0; category < count; ++category) {
        json.beginObject();
        json.field("category_id", id(category));
        json.field("category_name", name(category));
        json.field("parent_id", 0);
        json.endObject();
    }
    json.endArray();
    return out;
}
} // namespace

QByteArray ProviderAnswers::refused()
{
    return QByteArrayLiteral(R"({"user_info":{"auth":0}})");
}

QByteArray ProviderAnswers::liveCategories() const
{
    return categoryList(m_catalog.liveCategoryCount(), [this](int category) { return m_catalog.liveCategoryID(category); },
                        [this](int category) { return m_catalog.liveCategoryName(category); });
}

QByteArray ProviderAnswers::vodCategories() const
{
    return categoryList(m_catalog.vodCategoryCount(), [this](int category) { return m_catalog.vodCategoryID(category); },
                        [this](int category) { return m_catalog.vodCategoryName(category); });
}

QByteArray ProviderAnswers::seriesCategories() const
{
    return categoryList(m_catalog.seriesCategoryCount(), [this](int category) { return m_catalog.seriesCategoryID(category); },
                        [this](int category) { return m_catalog.seriesCategoryName(category); });
}

QByteArray ProviderAnswers::liveStreams(const QString &categoryID) const
{
    QByteArray out;
    out.reserve(qsizetype(m_catalog.liveChannelCount()) * 330);
    PhpJsonWriter json(out);
    json.beginArray();
    int number = 0;
    for (int index = 0; index < m_catalog.liveChannelCount(); ++index) {
        const QString category = m_catalog.liveCategoryID(m_catalog.liveChannelCategory(index));
        if (!inCategory(categoryID, category))
            continue;
        const bool radio = m_catalog.liveChannelKind(index) == ProviderCatalog::LiveKind::radio;
        json.beginObject();
        json.field("num", ++number);
        json.field("name", m_catalog.liveChannelName(index));
        json.field("stream_type", radio ? u"radio_streams"_s : u"live"_s);
        json.field("stream_id", m_catalog.liveChannelID(index));
        json.field("stream_icon", logoURL(m_catalog.liveChannelLogo(index)));
        if (index % 3 == 0)
            json.field("epg_channel_id", m_catalog.liveChannelGuideID(index));
        else
            json.nullField("epg_channel_id");
        json.field("added", stamp(m_catalog.liveChannelAdded(index)));
        json.field("is_adult", u"0"_s);
        json.field("category_id", category);
        categoryIDs(json, category);
        json.field("custom_sid", u""_s);
        if (index % 7 == 3) {
            json.field("tv_archive", 1);
            json.field("direct_source", u""_s);
            json.field("tv_archive_duration", u"3"_s);
        } else {
            json.field("tv_archive", 0);
            json.field("direct_source", u""_s);
            json.field("tv_archive_duration", 0);
        }
        json.endObject();
    }
    json.endArray();
    return out;
}

QByteArray ProviderAnswers::vodStreams(const QString &categoryID) const
{
    QByteArray out;
    out.reserve(qsizetype(m_catalog.movieCount()) * 380);
    PhpJsonWriter json(out);
    json.beginArray();
    int number = 0;
    for (int index = 0; index < m_catalog.movieCount(); ++index) {
        const QString category = m_catalog.vodCategoryID(m_catalog.movieCategory(index));
        if (!inCategory(categoryID, category))
            continue;
        const QString rating = m_catalog.movieRating(index);
        json.beginObject();
        json.field("num", ++number);
        json.field("name", m_catalog.movieName(index));
        json.field("stream_type", u"movie"_s);
        json.field("stream_id", m_catalog.movieID(index));
        json.field("stream_icon", titlePosterURL(m_catalog.moviePoster(index), "movie", m_catalog.movieID(index)));
        json.field("rating", rating);
        json.field("rating_5based", fiveBased(rating));
        json.field("added", stamp(m_catalog.movieAdded(index)));
        json.field("is_adult", u"0"_s);
        json.field("category_id", category);
        categoryIDs(json, category);
        json.field("container_extension", m_catalog.movieExtension(index));
        if (index % 2 == 0)
            json.field("custom_sid", u""_s);
        else
            json.nullField("custom_sid");
        json.field("direct_source", u""_s);
        if (index % 4 == 3)
            json.field("releaseDate", date(m_catalog.movieYear(index), index));
        else
            json.field("year", QString::number(m_catalog.movieYear(index)));
        json.endObject();
    }
    json.endArray();
    return out;
}

QByteArray ProviderAnswers::series(const QString &categoryID) const
{
    QByteArray out;
    out.reserve(qsizetype(m_catalog.seriesCount()) * 700);
    PhpJsonWriter json(out);
    json.beginArray();
    int number = 0;
    for (int index = 0; index < m_catalog.seriesCount(); ++index) {
        const QString category = m_catalog.seriesCategoryID(m_catalog.seriesCategory(index));
        if (!inCategory(categoryID, category))
            continue;
        const QString rating = m_catalog.seriesRating(index);
        const QString poster = titlePosterURL(m_catalog.seriesPoster(index), "series", m_catalog.seriesID(index));
        json.beginObject();
        json.field("num", ++number);
        json.field("name", m_catalog.seriesName(index));
        json.field("series_id", m_catalog.seriesID(index));
        json.field("cover", poster);
        json.field("plot", m_catalog.seriesPlot(index));
        json.field("cast", cast);
        json.field("director", director);
        json.field("genre", u"Drama / Comèdia"_s);
        json.field("releaseDate", date(m_catalog.seriesYear(index), index));
        json.field("last_modified", stamp(m_catalog.seriesModified(index)));
        json.field("rating", rating);
        json.field("rating_5based", fiveBased(rating));
        json.key("backdrop_path");
        if (index % 3 == 0) {
            json.null();
        } else {
            json.beginArray();
            json.string(poster);
            json.endArray();
        }
        json.field("youtube_trailer", u""_s);
        json.field("episode_run_time", u"1"_s);
        json.field("category_id", category);
        categoryIDs(json, category);
        json.endObject();
    }
    json.endArray();
    return out;
}

QByteArray ProviderAnswers::vodInfo(const QString &vodID) const
{
    bool numeric = false;
    const qint64 id = vodID.toLongLong(&numeric);
    const std::optional<int> found = numeric ? m_catalog.movieIndex(id) : std::nullopt;
    if (!found)
        return QByteArrayLiteral(R"({"info":[]})");
    const int index = *found;
    const QString poster = titlePosterURL(m_catalog.moviePoster(index), "movie", m_catalog.movieID(index));
    const QString rating = m_catalog.movieRating(index);
    const QString category = m_catalog.vodCategoryID(m_catalog.movieCategory(index));
    QByteArray out;
    PhpJsonWriter json(out);
    json.beginObject();
    json.key("info");
    json.beginObject();
    json.field("kinopoisk_url", u""_s);
    json.field("tmdb_id", 900000 + qint64(index));
    json.field("name", m_catalog.movieName(index));
    json.field("o_name", m_catalog.movieName(index));
    json.field("cover_big", poster);
    json.field("movie_image", poster);
    json.field("releasedate", date(m_catalog.movieYear(index), index));
    json.field("youtube_trailer", u""_s);
    json.field("director", director);
    json.field("actors", cast);
    json.field("cast", cast);
    json.field("description", m_catalog.moviePlot(index));
    json.field("plot", m_catalog.moviePlot(index));
    json.field("age", u""_s);
    json.field("country", u"Andorra"_s);
    json.field("genre", m_catalog.vodCategoryName(m_catalog.movieCategory(index)));
    json.key("backdrop_path");
    json.beginArray();
    json.string(poster);
    json.endArray();
    json.field("duration_secs", ProviderCatalog::movieSeconds);
    json.field("duration", duration(ProviderCatalog::movieSeconds));
    json.field("rating", rating);
    json.endObject();
    json.key("movie_data");
    json.beginObject();
    json.field("stream_id", m_catalog.movieID(index));
    json.field("name", m_catalog.movieName(index));
    json.field("added", stamp(m_catalog.movieAdded(index)));
    json.field("category_id", category);
    categoryIDs(json, category);
    json.field("container_extension", m_catalog.movieExtension(index));
    json.field("custom_sid", u""_s);
    json.field("direct_source", u""_s);
    json.endObject();
    json.endObject();
    return out;
}

QByteArray ProviderAnswers::seriesInfo(const QString &seriesID) const
{
    bool numeric = false;
    const qint64 id = seriesID.toLongLong(&numeric);
    const std::optional<int> found = numeric ? m_catalog.seriesIndex(id) : std::nullopt;
    if (!found) {
        return QByteArrayLiteral(
            R"({"seasons":[],"info":{"name":null,"cover":null,"plot":null,"cast":null,"director":null,)"
            R"("genre":null,"releaseDate":null,"last_modified":null,"rating":null,"rating_5based":null,)"
            R"("backdrop_path":null,"youtube_trailer":null,"episode_run_time":null,"category_id":null},)"
            R"("episodes":[]})");
    }
    const int index = *found;
    const QString poster = titlePosterURL(m_catalog.seriesPoster(index), "series", m_catalog.seriesID(index));
    const QString rating = m_catalog.seriesRating(index);
    const QString category = m_catalog.seriesCategoryID(m_catalog.seriesCategory(index));
    const QList<int> seasons = m_catalog.seasons(index);
    const QString extension = m_catalog.seriesExtension(index);
    QByteArray out;
    PhpJsonWriter json(out);
    json.beginObject();

    json.key("seasons");
    json.beginArray();
    for (const int season : seasons) {
        json.beginObject();
        json.field("air_date", date(m_catalog.seriesYear(index) + std::max(season - 1, 0), season));
        json.field("episode_count", m_catalog.episodeCount(index, season));
        if (index % 2 == 0)
            json.field("id", qint64(season));
        else
            json.field("id", QString::number(season));
        json.field("name", season == 0 ? u"Especials"_s : u"Temporada "_s + QString::number(season));
        json.field("overview", u""_s);
        json.field("season_number", season);
        json.field("cover", poster);
        json.field("cover_big", poster);
        json.field("vote_average", 0);
        json.endObject();
    }
    json.endArray();

    json.key("info");
    json.beginObject();
    json.field("name", m_catalog.seriesName(index));
    json.field("cover", poster);
    json.field("plot", m_catalog.seriesPlot(index));
    json.field("cast", cast);
    json.field("director", director);
    json.field("genre", u"Drama / Comèdia"_s);
    json.field("releaseDate", date(m_catalog.seriesYear(index), index));
    json.field("last_modified", stamp(m_catalog.seriesModified(index)));
    json.field("rating", rating);
    json.field("rating_5based", fiveBased(rating));
    json.key("backdrop_path");
    json.beginArray();
    json.string(poster);
    json.endArray();
    json.field("youtube_trailer", u""_s);
    json.field("episode_run_time", u"1"_s);
    json.field("category_id", category);
    json.endObject();

    json.key("episodes");
    json.beginObject();
    for (const int season : seasons) {
        const std::string key = std::to_string(season);
        json.key(key);
        json.beginArray();
        for (int number = 1; number <= m_catalog.episodeCount(index, season); ++number) {
            json.beginObject();
            json.field("id", QString::number(m_catalog.episodeID(index, season, number)));
            if (number % 3 == 0)
                json.field("episode_num", QString::number(number));
            else
                json.field("episode_num", number);
            json.field("title", m_catalog.episodeTitle(index, season, number));
            json.field("container_extension", extension);
            json.key("info");
            json.beginObject();
            json.field("movie_image",
                m_posterPerTitle ? titlePosterURL(m_catalog.seriesPoster(index), "episode",
                                       m_catalog.episodeID(index, season, number))
                                 : poster);
            json.field("releaseDate", date(m_catalog.seriesYear(index), number));
            json.field("plot",
                u"Episodi "_s + QString::number(number) + u" de «"_s + m_catalog.seriesName(index)
                    + u"»: una història curta per provar la reproducció."_s);
            json.field("duration_secs", ProviderCatalog::movieSeconds);
            json.field("duration", duration(ProviderCatalog::movieSeconds));
            json.field("rating", 7);
            json.endObject();
            json.field("custom_sid", u""_s);
            json.field("added", stamp(m_catalog.seriesModified(index) - 86400 * (10 - number)));
            json.field("season", season);
            json.field("direct_source", u""_s);
            json.endObject();
        }
        json.endArray();
    }
    json.endObject();

    json.endObject();
    return out;
}
