#include "PlaylistGenerator.h"

#include <QByteArrayList>
#include <QSet>

#include <iterator>

using namespace Qt::StringLiterals;

namespace {

// SplitMix64: tiny, fast and fully defined, so the bytes never depend on the standard library.
// Only integer arithmetic, so no floating-point mode can change a choice.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_state(seed)
    {
    }

    quint64 next()
    {
        quint64 z = (m_state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }

    qsizetype below(qsizetype bound) { return qsizetype(next() % quint64(bound)); }
    qsizetype between(qsizetype low, qsizetype high) { return low + below(high - low + 1); }
    bool perMille(int chance) { return below(1000) < chance; }
    // Favours the first items of a pool, as a few countries and groups fill most of a real list.
    qsizetype skewedBelow(qsizetype bound) { return std::min(below(bound), below(bound)); }

    template<std::size_t N> const char *pick(const char *const (&pool)[N])
    {
        return pool[below(qsizetype(N))];
    }
    template<std::size_t N> const char *pickSkewed(const char *const (&pool)[N])
    {
        return pool[skewedBelow(qsizetype(N))];
    }

private:
    quint64 m_state;
};

// Channel names in the scripts real lists mix. The source is UTF-8.
const char *const latinNames[] = {"TV3", "La 1", "La 2", "Antena 3", "Cuatro", "Telecinco", "laSexta",
    "Canal Sur", "Telemadrid", "À Punt", "IB3", "Betevé", "3/24", "Esport3", "Super3", "Clan", "Teledeporte",
    "Canal 24 Horas", "France 2", "France 3 Côte d’Azur", "Télé Matin", "Arte", "Rai 1", "Rai Storia",
    "Canale 5", "Italia 1", "ZDF", "Das Erste", "BR Fernsehen Süd", "ORF 1", "SRF zwei", "RTP 1",
    "SIC Notícias", "Globo São Paulo", "Record News", "TV Pública", "Telefe", "Canal Once", "Teleantioquia",
    "Caracol Televisión", "BBC One", "ITV 1", "Sky News", "Euronews Català", "Al Jazeera English",
    "CNN International", "TVE Internacional", "Televisió de Girona", "Ràdio Andorra", "Andorra Televisió",
    "Cine Clàssic", "Cinéma Français", "Película Española", "Documentaires", "Música Clàssica",
    "Notícies 24h", "Niños y Niñas", "Łódź TV", "TVP Kraków", "Polsat", "Pro TV", "Antena 1 România",
    "RTL Nieuws", "NPO 1", "SVT1", "NRK1", "Yle TV1", "DR1", "RTÉ One", "TRT Haber", "Kanal D", "Show TV",
    "Star TV", "ATV Türkiye", "TV Nova", "ČT24", "Markíza", "HRT 1", "RTS Svet", "Nova TV", "Magyar M1",
    "Duna", "Lietuvos Ryto TV", "ERR ETV"};
const char *const cyrillicNames[] = {"Первый канал", "Россия 1", "Россия 24", "НТВ", "Пятница!", "Матч ТВ",
    "Карусель", "Домашний", "Звезда", "Мир", "Культура", "ТНТ", "СТС", "Рен ТВ", "Беларусь 24", "ОНТ",
    "Україна 24", "1+1 Марафон", "Новини", "Кино ТВ", "Музыка Первого", "Дом кино", "Спорт 1", "Детский мир",
    "Хабар 24", "БНТ 1", "Канал 5 Македонија"};
const char *const cjkNames[] = {"CCTV-1 综合", "CCTV-5 体育", "CCTV-13 新闻", "湖南卫视", "浙江卫视",
    "东方卫视", "北京卫视", "翡翠台", "凤凰卫视中文台", "NHK総合", "NHK Eテレ", "日本テレビ", "テレビ朝日",
    "TBSテレビ", "フジテレビ", "KBS1 한국방송", "MBC 뉴스", "SBS 스포츠", "JTBC", "YTN 뉴스", "中天新聞台",
    "民視", "公視", "TVB 星河", "澳門蓮花"};
const char *const otherNames[] = {"ΕΡΤ1", "ΕΡΤ Ειδήσεις", "Σκάι", "ANT1 Ελλάδα", "الجزيرة", "العربية",
    "MBC مصر", "قناة السويسرية", "France 24 عربي", "כאן 11", "קשת 12", "ช่อง 7HD", "ไทยพีบีเอส", "NDTV हिन्दी",
    "आज तक", "Sun TV தமிழ்", "ETV తెలుగు", "Asianet മലയാളം", "VTV1 Việt Nam", "Հ1", "რუსთავი 2", "IRIB تهران"};
const char *const emojiNames[]
    = {"🎬 Cine Estrenes", "⚽ Futbol en directe", "🎵 Hits 24/7", "📺 Clàssics", "🏀 Bàsquet", "🎮 Esports Live"};
const char *const nameSuffixes[] = {"", "", "", "", "", "", " HD", " HD", " FHD", " 4K", " SD", " (1080p)",
    " (720p)", " (576p) [Not 24/7]", " (720p) [Geo-blocked]", " +1", " Ⓢ", " ᴴᴰ"};
const char *const titleTails[] = {
    ", edició vespre", ", Live", ", en directe", ", 24/7", ", Ireland, UK", ", Notícies i Esports", ", VOD"};

const char *const countries[] = {"es", "ad", "fr", "it", "de", "uk", "us", "ru", "ua", "cn", "jp", "kr", "gr",
    "tr", "br", "pt", "ar", "mx", "pl", "ro", "sa", "il", "th", "in", "nl", "se", "cz", "hr", "ge", "vn"};
// Indexed like countries.
const char *const countryGroups[] = {"Espanya", "Andorra", "France", "Italia", "Deutschland",
    "United Kingdom", "USA", "Россия", "Україна", "中国", "日本", "한국", "Ελλάδα", "Türkiye", "Brasil",
    "Portugal", "Argentina", "México", "Polska", "România", "السعودية", "ישראל", "ไทย", "India", "Nederland",
    "Sverige", "Česko", "Hrvatska", "საქართველო", "Việt Nam"};
static_assert(std::size(countries) == std::size(countryGroups));
const char *const categories[] = {"General", "Notícies", "Esports", "Cinema", "Sèries", "Infantil", "Música",
    "Documentals", "Entreteniment", "Movies, Action", "Movies, Drama", "Cuina", "Viatges", "Religió",
    "Educació", "Kids", "News", "Sports", "Shop", "Weather", "Legislative", "Comedy", "Lifestyle", "Classic",
    "Outdoor", "Business", "Animation", "VOD: Films, Séries et Docs", "24/7", "Radio"};
const char *const slugs[] = {"TV3", "La1", "La2", "Antena3", "Cuatro", "CanalSur", "Telemadrid", "APunt",
    "IB3", "Beteve", "Esport3", "France2", "France3", "Arte", "Rai1", "Canale5", "ZDF", "DasErste", "RTP1",
    "Globo", "BBCOne", "ITV1", "SkyNews", "Euronews", "AlJazeera", "CNN", "Perviy", "Rossiya1", "NTV",
    "CCTV1", "HunanTV", "NHKG", "KBS1", "ERT1", "TRT1", "Polsat", "ProTV", "NPO1", "SVT1", "CT24"};
const char *const userAgents[] = {"Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like "
                                  "Gecko) Chrome/119.0 Safari/537.36",
    "Mozilla/5.0 (X11; Linux x86_64; rv:120.0) Gecko/20100101 Firefox/120.0", "VLC/3.0.20 LibVLC/3.0.20",
    "Lavf/60.3.100",
    "Mozilla/5.0 (iPhone; CPU iPhone OS 17_1 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) "
    "Mobile/15E148",
    "ExoPlayerLib/2.19.1"};
const char *const referrers[] = {"https://www.tvplayer.example/", "https://player.canal.example.org/live/",
    "https://embed.streams.example.net/", "https://www.rtve.example/directo/", "http://tv.example.com/"};

// Hosts are under the names reserved for documentation and testing (.example, .test, example.*):
// the file is parsed, never played.
struct Provider
{
    const char *host;
    int port;
    const char *user;
    const char *password;
};
const Provider providers[] = {{"line.ultra-provider.test", 8080, "u7Hk29aQ", "Zx81pLm4"},
    {"cdn.premiumtv.example", 80, "bench_user", "s3cr3tPass"},
    {"srv2.iptvline.example.net", 25461, "ab12cd34", "9988776655"},
    {"tv.megahost.test", 8000, "clientA", "k8sJ2mQ1"},
    {"panel.streamzone.example.org", 2082, "joan.garcia", "Tv2023xyz"},
    {"go.fasttv.test", 8880, "QWERTY99", "ASDFGH11"}};
const char *const cdnHosts[] = {"live.tvstream.example", "hls.canal.example.org",
    "d1x2y3z4.cloudfront.example.net", "stream.broadcaster.test", "edge-eu-03.cdn.example.com",
    "cdn-live.mediacorp.test", "rtve-live.akamai.example", "streaming.local-tv.example",
    "origin.news24.example.net", "ott.sport.example.org"};
const char *const cdnPrefixes[]
    = {"live", "hls", "live/eds", "tv/stream", "channels", "out/v1", "LIVE/PUB", "i"};
const char *const playlistNames[]
    = {"index.m3u8", "playlist.m3u8", "master.m3u8", "chunklist.m3u8", "mono.m3u8"};
const char *const logoHosts[]
    = {"i.imgur.example", "logos.tvcdn.example.net", "upload.wikimedia.example.org", "raw.logos.example.com"};

constexpr char hexDigits[] = "0123456789abcdef";
constexpr char tokenAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// The fraction of entries, in thousandths, of each shape and extra line.
constexpr int repeatedAddressShare = 50;
constexpr int longAddressShare = 6;
constexpr int otherSchemeShare = 20;
constexpr int relativeShare = 5;
constexpr int withoutAddressShare = 2;
constexpr int crlfBlockShare = 300;
constexpr qsizetype entriesPerBlock = 256;

class Writer
{
public:
    Writer(quint64 seed, qsizetype entries)
        : m_random(seed)
    {
        m_playlist.text.reserve(entries * 250 + 4096);
    }

    PlaylistGenerator::Playlist finish(qsizetype entries)
    {
        writeHeader();
        for (qsizetype entry = 0; entry < entries; ++entry) {
            if (entry % entriesPerBlock == 0) {
                m_crlf = m_random.perMille(crlfBlockShare);
                m_blankAfterEntries = m_random.perMille(150);
            }
            writeEntry(entry);
        }
        return std::move(m_playlist);
    }

private:
    void endLine()
    {
        if (m_crlf) {
            m_playlist.text.append("\r\n");
            ++m_playlist.crlfLines;
        } else {
            m_playlist.text.append('\n');
            ++m_playlist.lfLines;
        }
    }

    void line(QByteArrayView text)
    {
        m_playlist.text.append(text);
        endLine();
    }

    void appendHex(QByteArray &out, int digits)
    {
        quint64 bits = m_random.next();
        for (int i = 0; i < digits; ++i) {
            if (i % 16 == 15)
                bits = m_random.next();
            out.append(hexDigits[bits & 0xf]);
            bits >>= 4;
        }
    }

    void appendToken(QByteArray &out, int length)
    {
        for (int i = 0; i < length; ++i)
            out.append(tokenAlphabet[m_random.below(64)]);
    }

    void writeHeader()
    {
        m_crlf = false;
        line(
            R"(#EXTM3U x-tvg-url="https://epg.guide.example/epg/guide.xml.gz,https://epg2.example.org/es.xml.gz,https://epg2.example.org/fr.xml.gz" url-tvg="https://epg.guide.example/epg/guide.xml.gz" refresh="3600")");
        line("#PLAYLIST:Llista de prova");
    }

    QByteArray channelName()
    {
        QByteArray name;
        const qsizetype script = m_random.below(100);
        if (script < 58)
            name = m_random.pickSkewed(latinNames);
        else if (script < 73)
            name = m_random.pick(cyrillicNames);
        else if (script < 85)
            name = m_random.pick(cjkNames);
        else if (script < 97)
            name = m_random.pick(otherNames);
        else
            name = m_random.pick(emojiNames);
        name.append(m_random.pick(nameSuffixes));
        return name;
    }

    QByteArray groupTitle(qsizetype country)
    {
        const qsizetype shape = m_random.below(100);
        QByteArray group;
        if (shape < 40)
            group = QByteArray(countryGroups[country]) + " | " + m_random.pickSkewed(categories);
        else if (shape < 65)
            group = m_random.pickSkewed(categories);
        else if (shape < 85)
            group = countryGroups[country];
        else if (shape < 95)
            group = QByteArray(m_random.pickSkewed(categories)) + ';' + m_random.pick(categories);
        return group; // empty: group-title=""
    }

    QByteArray tvgID(qsizetype entry, qsizetype country)
    {
        QByteArray id = m_random.pick(slugs);
        if (m_random.perMille(400))
            id.append(QByteArray::number(entry % 997));
        id.append('.').append(countries[country]);
        if (m_random.perMille(150))
            id.append(m_random.perMille(500) ? "@SD" : "@HD");
        return id;
    }

    QByteArray logo(qsizetype entry, qsizetype country, const Provider &provider)
    {
        QByteArray url;
        switch (m_random.below(10)) {
        case 0:
            break; // no logo: tvg-logo=""
        case 1:
        case 2:
            url = "https://" + QByteArray(m_random.pick(logoHosts)) + '/';
            appendToken(url, 7);
            url.append(".png");
            break;
        case 3:
        case 4:
        case 5:
            url = "https://" + QByteArray(m_random.pick(logoHosts)) + "/logos/" + countries[country] + '/'
                + QByteArray(m_random.pick(slugs)).toLower() + ".png";
            break;
        case 6:
            // Unencoded commas, as image-resizing services write them.
            url = "https://img.example.org/resize,w_200,h_200/" + QByteArray::number(entry) + ".png";
            break;
        default:
            url = "http://" + QByteArray(provider.host) + ':' + QByteArray::number(provider.port)
                + "/images/";
            appendHex(url, 16);
            url.append(".png");
            break;
        }
        return url;
    }

    QByteArray extinf(qsizetype entry)
    {
        const qsizetype country = m_random.skewedBelow(qsizetype(std::size(countries)));
        const Provider &provider = providers[m_random.below(qsizetype(std::size(providers)))];
        const QByteArray name = channelName();
        QByteArray title = name;
        if (m_random.perMille(50))
            title.append(m_random.pick(titleTails));

        QByteArray text;
        const qsizetype shape = m_random.below(100);
        if (shape < 60) {
            // The generated indexes: id, name, logo, group.
            text = "#EXTINF:-1 tvg-id=\"" + tvgID(entry, country) + "\" tvg-name=\"" + name + "\" tvg-logo=\""
                + logo(entry, country, provider) + "\" group-title=\"" + groupTitle(country) + "\"," + title;
        } else if (shape < 70) {
            // Numbered channels with catch-up, as provider lists carry them.
            text = "#EXTINF:-1 tvg-id=\"" + tvgID(entry, country) + "\" tvg-chno=\""
                + QByteArray::number(entry % 2000 + 1) + "\" tvg-name=\"" + name + "\" tvg-logo=\""
                + logo(entry, country, provider) + "\" tvg-shift=\"0\" catchup=\"default\" catchup-days=\""
                + QByteArray::number(m_random.between(1, 14)) + "\" group-title=\"" + groupTitle(country)
                + "\"," + title;
        } else if (shape < 80) {
            // The hand-maintained source style: an identifier and a title.
            text = "#EXTINF:-1 tvg-id=\"" + tvgID(entry, country) + "\"," + title;
        } else if (shape < 88) {
            // Xtream m3u_plus: empty id, the name twice.
            text = "#EXTINF:-1 tvg-id=\"\" tvg-name=\"" + name + "\" tvg-logo=\""
                + logo(entry, country, provider) + "\" group-title=\"" + groupTitle(country) + "\"," + name;
        } else if (shape < 92) {
            // The older index style: country and language attributes, comma inside a value.
            text = "#EXTINF:-1 tvg-id=\"" + tvgID(entry, country) + "\" tvg-name=\"" + name
                + "\" tvg-country=\"" + QByteArray(countries[country]).toUpper()
                + "\" tvg-language=\"Catalan;Spanish\" tvg-logo=\"" + logo(entry, country, provider)
                + "\" group-title=\"Notícies, Actualitat\"," + title;
        } else if (shape < 96) {
            static const char *const minimal[]
                = {"#EXTINF:-1,", "#EXTINF:0,", "#EXTINF: -1 ,", "#EXTINF:-1 ,"};
            text = m_random.pick(minimal) + title;
        } else {
            // No title: the name comes from tvg-name.
            text = "#EXTINF:-1 tvg-name=\"" + name + "\" group-title=\"" + groupTitle(country) + "\",";
        }
        if (m_random.perMille(2))
            text.prepend("  ");
        return text;
    }

    // An address no earlier entry has; `entry` keeps it unique. Records whether a player could open
    // it over HTTP.
    QByteArray freshAddress(qsizetype entry, bool &http)
    {
        http = true;
        const QByteArray number = QByteArray::number(entry);
        if (m_random.perMille(longAddressShare)) {
            ++m_playlist.longAddresses;
            QByteArray url = "https://edge" + QByteArray::number(m_random.between(1, 40))
                + ".secure-cdn.example.net/live/" + m_random.pick(slugs) + '/' + number
                + "/master.m3u8?token=";
            appendToken(url, 1840);
            url.append("&expires=").append(QByteArray::number(1700000000 + m_random.below(100000000)));
            url.append("&signature=");
            appendHex(url, 64);
            return url;
        }
        if (m_random.perMille(otherSchemeShare)) {
            http = false;
            ++m_playlist.otherSchemes;
            switch (m_random.below(4)) {
            case 0:
                return "rtmp://live.rtmp-server.example/app/" + QByteArray(m_random.pick(slugs)) + number;
            case 1:
                return "udp://@239." + QByteArray::number(entry / 65536 % 256) + '.'
                    + QByteArray::number(entry / 256 % 256) + '.' + QByteArray::number(entry % 256) + ":1234";
            case 2:
                return "rtsp://cam" + number + ".security.example:554/Streaming/Channels/101";
            default:
                return "mms://media.example.com/live" + number;
            }
        }
        if (m_random.perMille(relativeShare)) {
            ++m_playlist.relativeAddresses;
            static const char *const shapes[] = {"streams/", "../live/", "/hls/"};
            const char *shape = m_random.pick(shapes);
            return QByteArray(shape) + number + (shape[0] == '/' ? "/index.m3u8" : ".ts");
        }

        const qsizetype kind = m_random.below(1000);
        if (kind < 470) {
            const Provider &provider = providers[m_random.below(qsizetype(std::size(providers)))];
            QByteArray url
                = "http://" + QByteArray(provider.host) + ':' + QByteArray::number(provider.port) + '/';
            const QByteArray stream = QByteArray::number(100000 + entry);
            switch (m_random.below(3)) {
            case 0:
                return url + provider.user + '/' + provider.password + '/' + stream;
            case 1:
                return url + "live/" + provider.user + '/' + provider.password + '/' + stream + ".ts";
            default:
                return url + "live/" + provider.user + '/' + provider.password + '/' + stream + ".m3u8";
            }
        }
        if (kind < 975) {
            QByteArray url = "https://" + QByteArray(m_random.pickSkewed(cdnHosts)) + '/'
                + m_random.pick(cdnPrefixes) + '/' + m_random.pick(slugs) + '_' + number + '/'
                + m_random.pick(playlistNames);
            if (m_random.perMille(200)) {
                url.append("?session=");
                appendHex(url, 16);
            }
            return url;
        }
        if (kind < 985) {
            // A literal IPv6 host.
            return "http://[2001:db8:" + QByteArray::number(entry % 65536, 16)
                + "::" + QByteArray::number(m_random.between(1, 4095), 16) + "]:6610/PLTV/88888888/224/"
                + number + "/index.m3u8";
        }
        // Headers after a pipe, as some players read them.
        return "https://" + QByteArray(m_random.pick(cdnHosts)) + "/live/" + number
            + "/playlist.m3u8|User-Agent=" + QByteArray(m_random.pick(userAgents)).replace(' ', "%20")
            + "&Referer=" + m_random.pick(referrers);
    }

    void writeAddress(qsizetype entry)
    {
        if (!m_addresses.isEmpty() && m_random.perMille(repeatedAddressShare)) {
            ++m_playlist.repeatedAddresses;
            line(m_addresses.at(m_random.below(m_addresses.size())));
            return;
        }
        bool http = false;
        QByteArray address = freshAddress(entry, http);
        line(address);
        if (http)
            ++m_playlist.expectedChannels;
        m_addresses.append(std::move(address));
    }

    void writeEntry(qsizetype entry)
    {
        if (m_random.perMille(4))
            line(QByteArray("#----- ") + m_random.pick(countryGroups) + " -----");
        line(extinf(entry));
        ++m_playlist.entries;
        if (m_random.perMille(80))
            line(QByteArray("#EXTGRP:") + m_random.pickSkewed(categories));
        if (m_random.perMille(50))
            line(QByteArray("#EXTVLCOPT:http-user-agent=") + m_random.pick(userAgents));
        if (m_random.perMille(30))
            line(QByteArray("#EXTVLCOPT:http-referrer=") + m_random.pick(referrers));
        if (m_random.perMille(10))
            line("#EXTVLCOPT:network-caching=1000");
        if (m_random.perMille(10))
            line("#KODIPROP:inputstream=inputstream.adaptive");
        if (m_random.perMille(withoutAddressShare)) {
            ++m_playlist.entriesWithoutAddress;
        } else {
            writeAddress(entry);
        }
        if (m_blankAfterEntries)
            endLine();
    }

    Random m_random;
    PlaylistGenerator::Playlist m_playlist;
    QByteArrayList m_addresses;
    bool m_crlf = false;
    bool m_blankAfterEntries = false;
};

} // namespace

PlaylistGenerator::PlaylistGenerator(quint64 seed)
    : m_seed(seed)
{
}

PlaylistGenerator::Playlist PlaylistGenerator::generate(qsizetype entries) const
{
    return Writer(m_seed, entries).finish(entries);
}

QUrl PlaylistGenerator::baseURL()
{
    return QUrl(u"http://lists.example.test/bench/playlist.m3u"_s);
}
