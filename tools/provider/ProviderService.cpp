#include "ProviderService.h"
#include "HttpConnection.h"
#include "ProviderCounters.h"

#include <QDateTime>
#include <QLoggingCategory>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcProvider, "quenvo.provider", QtWarningMsg)

namespace {

constexpr int liveWindowSegments = 4;

HttpReply notFound()
{
    return HttpReply::text(404, "Not Found\n");
}

HttpReply forbidden()
{
    return HttpReply::text(403, "Forbidden\n");
}

HttpReply mediaMissing(const QString &why)
{
    return HttpReply::text(503, "No media: " + why.toUtf8() + '\n');
}

HttpReply json(QByteArray body)
{
    return HttpReply::text(200, std::move(body), "application/json");
}

std::optional<qint64> number(QStringView text)
{
    if (text.isEmpty() || text.size() > 18
        || !std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; }))
        return std::nullopt;
    return text.toLongLong();
}

// "1234.ts" → {"1234", "ts"}; no dot → nothing.
std::optional<std::pair<QString, QString>> splitExtension(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return std::nullopt;
    return std::pair {name.left(dot), name.mid(dot + 1)};
}

std::optional<ProviderAccount> activeAccount(const QString &username, const QString &password)
{
    std::optional<ProviderAccount> account = ProviderCatalog::account(username, password);
    if (!account || !account->isActive())
        return std::nullopt;
    return account;
}

QByteArray contentType(QStringView extension)
{
    if (extension == u"ts")
        return "video/mp2t";
    if (extension == u"m3u8")
        return "application/vnd.apple.mpegurl";
    if (extension == u"mp4")
        return "video/mp4";
    if (extension == u"mkv")
        return "video/x-matroska";
    if (extension == u"png")
        return "image/png";
    if (extension == u"jpg")
        return "image/jpeg";
    return "application/octet-stream";
}

struct ByteRange
{
    qint64 first;
    qint64 last;
};

// The single range of a "Range: bytes=…" header over `size` bytes. Nothing when the header is
// absent, malformed or lists several ranges (the whole body is sent then); a range past the end
// reads as {-1, -1}.
std::optional<ByteRange> requestedRange(const QByteArray &header, qint64 size)
{
    const QByteArray value = header.trimmed();
    if (!value.startsWith("bytes=") || value.contains(','))
        return std::nullopt;
    const QByteArray bounds = value.mid(6).trimmed();
    const qsizetype dash = bounds.indexOf('-');
    if (dash < 0)
        return std::nullopt;
    const QByteArray from = bounds.left(dash).trimmed();
    const QByteArray to = bounds.mid(dash + 1).trimmed();
    const auto digits = [](const QByteArray &text) {
        return !text.isEmpty() && text.size() <= 18
            && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    constexpr ByteRange unsatisfiable {-1, -1};
    if (from.isEmpty()) {
        if (!digits(to))
            return std::nullopt;
        const qint64 suffix = to.toLongLong();
        if (suffix == 0 || size == 0)
            return unsatisfiable;
        return ByteRange {std::max<qint64>(0, size - suffix), size - 1};
    }
    if (!digits(from) || (!to.isEmpty() && !digits(to)))
        return std::nullopt;
    const qint64 first = from.toLongLong();
    const qint64 last = to.isEmpty() ? size - 1 : std::min(to.toLongLong(), size - 1);
    if (!to.isEmpty() && to.toLongLong() < first)
        return std::nullopt;
    if (first >= size)
        return unsatisfiable;
    return ByteRange {first, last};
}

HttpReply fileReply(const HttpRequest &request, const QByteArray &bytes, const QByteArray &type)
{
    HttpReply reply;
    reply.body = bytes;
    reply.addHeader("Content-Type", type);
    reply.addHeader("Accept-Ranges", "bytes");
    const qint64 size = bytes.size();
    if (const std::optional<ByteRange> range = requestedRange(request.header("range"), size)) {
        if (range->first < 0) {
            HttpReply refused = HttpReply::text(416, "Range Not Satisfiable\n");
            refused.addHeader("Content-Range", "bytes */" + QByteArray::number(size));
            return refused;
        }
        reply.status = 206;
        reply.offset = range->first;
        reply.length = range->last - range->first + 1;
        reply.addHeader("Content-Range",
            "bytes " + QByteArray::number(range->first) + '-' + QByteArray::number(range->last) + '/'
                + QByteArray::number(size));
    }
    return reply;
}

// The request as logged: no credentials, whether in the path or in the query.
QString redacted(const HttpRequest &request)
{
    QStringList path = request.path;
    const QString first = path.value(0);
    if ((first == u"live"_s || first == u"movie"_s || first == u"series"_s) && path.size() >= 4)
        path[1] = path[2] = u"…"_s;
    QString text = u'/' + path.join(u'/');
    if (const QString action = request.queryValue(u"action"_s); !action.isEmpty())
        text += u"?action="_s + action;
    return text;
}

} // namespace

ProviderService::ProviderService(const ProviderCatalog &catalog, ProviderMedia media,
    const ProviderOptions &options, ProviderCounters &counters)
    : m_catalog(catalog)
    , m_media(std::move(media))
    , m_options(options)
    , m_counters(counters)
    , m_guide(catalog)
{
}

ProviderService::~ProviderService() = default;

bool ProviderService::listen(quint16 port)
{
    m_server = new QTcpServer(this);
    if (!m_server->listen(QHostAddress::LocalHost, port)) {
        m_error = m_server->errorString();
        delete m_server;
        m_server = nullptr;
        return false;
    }
    m_answers.emplace(
        m_catalog, u"http://127.0.0.1:"_s + QString::number(m_server->serverPort()), m_options.posterPerTitle);
    m_liveClock.start();
    connect(m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server->nextPendingConnection())
            new HttpConnection(
                socket, [this](const HttpRequest &request) { return answer(request); }, m_counters, this);
    });
    return true;
}

quint16 ProviderService::port() const
{
    return m_server ? m_server->serverPort() : 0;
}

void ProviderService::shutdown()
{
    if (m_server)
        m_server->close();
    const QList<HttpConnection *> connections = findChildren<HttpConnection *>(Qt::FindDirectChildrenOnly);
    qDeleteAll(connections);
    delete m_server;
    m_server = nullptr;
}

HttpReply ProviderService::answer(const HttpRequest &request)
{
    HttpReply reply = route(request);
    qCInfo(lcProvider).noquote() << QString::fromLatin1(request.method) << redacted(request) << reply.status;
    return reply;
}

HttpReply ProviderService::route(const HttpRequest &request)
{
    if (request.method != "GET" && request.method != "HEAD") {
        HttpReply reply = HttpReply::text(405, "Method Not Allowed\n");
        reply.addHeader("Allow", "GET, HEAD");
        return reply;
    }
    const QStringList &path = request.path;
    if (path.isEmpty())
        return indexPage();
    const QString &first = path.first();
    if (path.size() == 1) {
        if (first == u"playlist.m3u"_s)
            return playlist(
                *ProviderCatalog::account(ProviderCatalog::demoUsername(), ProviderCatalog::demoPassword()),
                u"ts"_s);
        if (first == u"protected.m3u"_s)
            return protectedPlaylist(request);
        if (first == u"hls.m3u8"_s) {
            if (!m_media.isAvailable())
                return mediaMissing(m_media.error());
            return hlsPlaylist(
                m_catalog.liveClipOf(m_catalog.liveChannelIndex(ProviderCatalog::LiveKind::hls)), u"hls/"_s,
                false);
        }
        if (first == u"get.php"_s)
            return getPhp(request);
        if (first == u"guide.xml"_s || first == u"guide.xml.gz"_s)
            return guide(request, first.endsWith(u".gz"_s));
        if (first == u"xmltv.php"_s) {
            const std::optional<ProviderAccount> account = ProviderCatalog::account(
                request.queryValue(u"username"_s), request.queryValue(u"password"_s));
            if (!account || !account->isActive())
                return forbidden();
            return guide(request, false);
        }
        if (first == u"player_api.php"_s)
            return playerAPI(request);
    }
    if (first == u"hls"_s && path.size() == 2) {
        if (!m_media.isAvailable())
            return mediaMissing(m_media.error());
        return hlsSegment(
            m_catalog.liveClipOf(m_catalog.liveChannelIndex(ProviderCatalog::LiveKind::hls)), path[1], false);
    }
    if (first == u"live"_s)
        return live(request);
    if (first == u"movie"_s || first == u"series"_s)
        return catalogueFile(request, first == u"series"_s);
    if (first == u"images"_s && path.size() == 2)
        return image(request);
    return notFound();
}

HttpReply ProviderService::indexPage() const
{
    const QString base = u"http://127.0.0.1:"_s + QString::number(port());
    QString text = u"Quenvo local provider\n\n"_s;
    text += u"M3U playlist:            "_s + base + u"/playlist.m3u\n"_s;
    text += u"M3U behind Basic auth:   "_s + base + u"/protected.m3u   (demo / demo)\n"_s;
    text += u"HLS stream as a playlist: "_s + base + u"/hls.m3u8\n"_s;
    text += u"Xtream server:           "_s + base
        + u"   (demo / demo, tsonly / tsonly, expired / expired)\n"_s;
    text += u"\nMedia: "_s + (m_media.isAvailable() ? u"available"_s : m_media.error()) + u'\n';
    return HttpReply::text(200, text.toUtf8());
}

QByteArray ProviderService::cached(const QString &key, const std::function<QByteArray()> &make)
{
    auto found = m_cache.constFind(key);
    if (found == m_cache.constEnd())
        found = m_cache.insert(key, make());
    return *found;
}

HttpReply ProviderService::playlist(const ProviderAccount &account, const QString &extension)
{
    const QByteArray body = cached(u"playlist/"_s + account.username + u'/' + extension,
        [&] { return m_answers->playlist(account, extension); });
    return HttpReply::text(200, body, "audio/x-mpegurl; charset=utf-8");
}

HttpReply ProviderService::protectedPlaylist(const HttpRequest &request)
{
    const QByteArray authorization = request.header("authorization");
    const QByteArray expected
        = (ProviderCatalog::demoUsername() + u':' + ProviderCatalog::demoPassword()).toUtf8();
    if (authorization.size() > 6 && authorization.left(6).toLower() == "basic "
        && QByteArray::fromBase64(authorization.mid(6).trimmed()) == expected) {
        return playlist(
            *ProviderCatalog::account(ProviderCatalog::demoUsername(), ProviderCatalog::demoPassword()),
            u"ts"_s);
    }
    HttpReply reply = HttpReply::text(401, "Unauthorized\n");
    reply.addHeader("WWW-Authenticate", R"(Basic realm="Quenvo provider", charset="UTF-8")");
    return reply;
}

HttpReply ProviderService::getPhp(const HttpRequest &request)
{
    const std::optional<ProviderAccount> account
        = activeAccount(request.queryValue(u"username"_s), request.queryValue(u"password"_s));
    if (!account)
        return forbidden();
    QString extension = request.queryValue(u"output"_s);
    if (extension.isEmpty())
        extension = u"ts"_s;
    if (extension == u"hls"_s)
        extension = u"m3u8"_s;
    if (!account->outputFormats.contains(extension))
        return forbidden();
    return playlist(*account, extension);
}

HttpReply ProviderService::playerAPI(const HttpRequest &request)
{
    const std::optional<ProviderAccount> account
        = ProviderCatalog::account(request.queryValue(u"username"_s), request.queryValue(u"password"_s));
    if (!account)
        return json(ProviderAnswers::refused());
    const QString action = request.queryValue(u"action"_s);
    if (action.isEmpty())
        return json(m_answers->accountInfo(*account, QDateTime::currentSecsSinceEpoch()));
    if (!account->isActive())
        return json(ProviderAnswers::refused());

    const ProviderAnswers &answers = *m_answers;
    const QString category = request.queryValue(u"category_id"_s);
    if (action == u"get_live_categories"_s)
        return json(cached(action, [&] { return answers.liveCategories(); }));
    if (action == u"get_vod_categories"_s)
        return json(cached(action, [&] { return answers.vodCategories(); }));
    if (action == u"get_series_categories"_s)
        return json(cached(action, [&] { return answers.seriesCategories(); }));
    if (action == u"get_live_streams"_s)
        return json(cached(action + u'/' + category, [&] { return answers.liveStreams(category); }));
    if (action == u"get_vod_streams"_s)
        return json(cached(action + u'/' + category, [&] { return answers.vodStreams(category); }));
    if (action == u"get_series"_s)
        return json(cached(action + u'/' + category, [&] { return answers.series(category); }));
    if (action == u"get_vod_info"_s)
        return json(answers.vodInfo(request.queryValue(u"vod_id"_s)));
    if (action == u"get_series_info"_s)
        return json(answers.seriesInfo(request.queryValue(u"series_id"_s)));
    if (action == u"get_short_epg"_s) {
        const std::optional<qint64> id = number(request.queryValue(u"stream_id"_s));
        const std::optional<int> channel = id ? m_catalog.liveChannelIndex(*id) : std::nullopt;
        const std::optional<qint64> limit = number(request.queryValue(u"limit"_s));
        return json(m_guide.shortEpg(channel.value_or(-1), int(std::clamp<qint64>(limit.value_or(4), 1, 50)),
            QDateTime::currentSecsSinceEpoch()));
    }
    return json("[]");
}

HttpReply ProviderService::guide(const HttpRequest &request, bool asFile)
{
    // Made again each quarter of an hour, so that the guide follows the clock.
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    if (now / 900 != m_guideQuarter) {
        m_guideQuarter = now / 900;
        m_guideXml = m_guide.xmltv(now);
        m_guideGzip = ProviderGuide::gzip(m_guideXml);
    }
    if (asFile)
        return HttpReply::text(200, m_guideGzip, "application/gzip");
    if (!request.header("accept-encoding").contains("gzip"))
        return HttpReply::text(200, m_guideXml, "application/xml; charset=utf-8");
    HttpReply reply = HttpReply::text(200, m_guideGzip, "application/xml; charset=utf-8");
    reply.addHeader("Content-Encoding", "gzip");
    return reply;
}

HttpReply ProviderService::live(const HttpRequest &request)
{
    const QStringList &path = request.path;
    if (path.size() != 4 && path.size() != 5)
        return notFound();
    const std::optional<ProviderAccount> account = activeAccount(path[1], path[2]);
    if (!account)
        return forbidden();
    const bool segment = path.size() == 5;
    const std::optional<std::pair<QString, QString>> file
        = segment ? std::pair {path[3], QString()} : splitExtension(path[3]);
    const std::optional<qint64> id = file ? number(file->first) : std::nullopt;
    const std::optional<int> index = id ? m_catalog.liveChannelIndex(*id) : std::nullopt;
    if (!index)
        return notFound();
    const ProviderCatalog::LiveKind kind = m_catalog.liveChannelKind(*index);
    if (kind == ProviderCatalog::LiveKind::missing)
        return notFound();
    const bool ended = kind == ProviderCatalog::LiveKind::shortLived;

    if (segment) {
        if (kind == ProviderCatalog::LiveKind::stalled)
            return notFound();
        if (!m_media.isAvailable())
            return mediaMissing(m_media.error());
        return hlsSegment(m_catalog.liveClipOf(*index), path[4], ended);
    }
    const QString &extension = file->second;
    if (extension != u"ts"_s && extension != u"m3u8"_s)
        return notFound();
    if (!account->outputFormats.contains(extension))
        return forbidden();
    if (kind == ProviderCatalog::LiveKind::stalled) {
        HttpReply reply;
        reply.kind = HttpReply::Body::stalled;
        reply.addHeader("Content-Type", contentType(extension));
        return reply;
    }
    if (!m_media.isAvailable())
        return mediaMissing(m_media.error());
    const int clip = m_catalog.liveClipOf(*index);
    if (extension == u"m3u8"_s)
        return hlsPlaylist(clip, file->first + u'/', ended);

    const ProviderMedia::LiveMedia &media = m_media.live(clip);
    HttpReply reply;
    reply.kind = HttpReply::Body::live;
    reply.body = media.stream;
    reply.bytesPerSecond = double(media.stream.size()) / media.seconds;
    reply.burstBytes = qint64(reply.bytesPerSecond * std::max(0.0, m_options.liveBurstSeconds));
    reply.loop = !ended;
    reply.addHeader("Content-Type", "video/mp2t");
    reply.addHeader("Cache-Control", "no-cache");
    return reply;
}

HttpReply ProviderService::hlsPlaylist(int clip, const QString &segmentPrefix, bool ended) const
{
    const ProviderMedia::LiveMedia &media = m_media.live(clip);
    const qint64 count = media.segments.size();
    const double longest = *std::max_element(media.segmentSeconds.cbegin(), media.segmentSeconds.cend());
    const QByteArray prefix = segmentPrefix.toUtf8();
    QByteArray text = "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:"
        + QByteArray::number(qint64(std::ceil(longest))) + '\n';
    const auto entry = [&](qint64 sequence) {
        text += "#EXTINF:" + QByteArray::number(media.segmentSeconds[qsizetype(sequence % count)], 'f', 3)
            + ",\n" + prefix + QByteArray::number(sequence) + ".ts\n";
    };
    if (ended) {
        text += "#EXT-X-PLAYLIST-TYPE:VOD\n#EXT-X-MEDIA-SEQUENCE:0\n";
        for (qint64 sequence = 0; sequence < count; ++sequence)
            entry(sequence);
        text += "#EXT-X-ENDLIST\n";
    } else {
        // The clip repeats for ever: the window starts at the segment playing now, and every
        // return to the clip's first segment is a discontinuity.
        const double elapsed = double(m_liveClock.elapsed()) / 1000.0;
        const qint64 cycles = qint64(elapsed / media.seconds);
        double within = elapsed - double(cycles) * media.seconds;
        qint64 first = cycles * count;
        for (qint64 index = 0; index < count - 1 && within >= media.segmentSeconds[qsizetype(index)];
             ++index) {
            within -= media.segmentSeconds[qsizetype(index)];
            ++first;
        }
        text += "#EXT-X-MEDIA-SEQUENCE:" + QByteArray::number(first)
            + "\n#EXT-X-DISCONTINUITY-SEQUENCE:" + QByteArray::number(first / count) + '\n';
        for (qint64 sequence = first; sequence < first + liveWindowSegments; ++sequence) {
            if (sequence != first && sequence % count == 0)
                text += "#EXT-X-DISCONTINUITY\n";
            entry(sequence);
        }
    }
    HttpReply reply = HttpReply::text(200, text, contentType(u"m3u8"));
    reply.addHeader("Cache-Control", "no-cache");
    return reply;
}

HttpReply ProviderService::hlsSegment(int clip, const QString &name, bool ended) const
{
    const ProviderMedia::LiveMedia &media = m_media.live(clip);
    const std::optional<std::pair<QString, QString>> file = splitExtension(name);
    const std::optional<qint64> sequence
        = file && file->second == u"ts"_s ? number(file->first) : std::nullopt;
    if (!sequence || (ended && *sequence >= media.segments.size()))
        return notFound();
    HttpReply reply;
    reply.body = media.segments[qsizetype(*sequence % media.segments.size())];
    reply.addHeader("Content-Type", contentType(u"ts"));
    return reply;
}

HttpReply ProviderService::catalogueFile(const HttpRequest &request, bool series)
{
    const QStringList &path = request.path;
    if (path.size() != 4)
        return notFound();
    if (!activeAccount(path[1], path[2]))
        return forbidden();
    const std::optional<std::pair<QString, QString>> file = splitExtension(path[3]);
    const std::optional<qint64> id = file ? number(file->first) : std::nullopt;
    if (!id)
        return notFound();
    QString extension;
    if (series) {
        if (const std::optional<ProviderCatalog::EpisodePlace> place = m_catalog.episodePlace(*id))
            extension = m_catalog.seriesExtension(place->series);
    } else if (const std::optional<int> index = m_catalog.movieIndex(*id)) {
        extension = m_catalog.movieExtension(*index);
    }
    if (extension.isEmpty() || extension != file->second)
        return notFound();
    if (!m_media.isAvailable())
        return mediaMissing(m_media.error());
    return fileReply(request, m_media.movie(extension), contentType(extension));
}

HttpReply ProviderService::image(const HttpRequest &request)
{
    m_counters.countImageRequest(QString::fromUtf8(request.target));
    const QString &name = request.path[1];
    HttpReply reply;
    if (const auto extra = m_options.extraImages.constFind(name); extra != m_options.extraImages.constEnd()) {
        reply = HttpReply::text(200, *extra, contentType(QStringView(name).mid(name.lastIndexOf(u'.') + 1)));
    } else if (!m_media.isAvailable()) {
        reply = mediaMissing(m_media.error());
    } else if (const QByteArray bytes = m_media.image(name); !bytes.isEmpty()) {
        reply = HttpReply::text(200, bytes, contentType(QStringView(name).mid(name.lastIndexOf(u'.') + 1)));
    } else {
        reply = notFound();
    }
    reply.image = true;
    reply.delayMs = std::max(0, m_options.imageDelayMs);
    return reply;
}
