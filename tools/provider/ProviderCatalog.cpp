#include "ProviderCatalog.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

enum Stream
{
    liveStream = 1,
    movieStream,
    seriesStream
};

constexpr qint64 firstLiveID = 1001;
constexpr qint64 firstMovieID = 20001;
constexpr qint64 firstSeriesID = 5001;
constexpr qint64 firstEpisodeID = 700000;
// Episode ids pack the series, the season (0–3) and the number (1–15).
constexpr qint64 episodesPerSeries = 64;
constexpr qint64 episodesPerSeason = 16;
constexpr int clipsForRegularChannels = 4;

quint64 mix(quint64 x)
{
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

const std::array stationNames = {
    u"Televisió Àrtic"_s,
    u"Canal Pirineu"_s,
    u"Notícies 24 Hores"_s,
    u"Ràdio, Vídeo i Cançó"_s,
    u"Esports Màxim"_s,
    u"Ona Mediterrània"_s,
    u"Cinema d’Autor"_s,
    u"Petits Genis"_s,
    u"Documentals del Món"_s,
    u"Música Clàssica"_s,
    u"Cuina i Sabor"_s,
    u"Natura Salvatge"_s,
    u"Història Viva"_s,
    u"Ciència Oberta"_s,
    u"Teatre Íntim"_s,
    u"Müller Zürich TV"_s,
    u"Muntanya Blanca"_s,
    u"Òpera Prima"_s,
    u"Festa Major"_s,
    u"Clàssics en Blanc i Negre"_s,
    u"Mar Endins"_s,
    u"Èxits d’Ahir"_s,
    u"Jazz Nocturn"_s,
    u"Ñandú Comèdia"_s,
};
const std::array liveCategoryNames = {
    u"Notícies"_s,
    u"Esports"_s,
    u"Infantil"_s,
    u"Música"_s,
    u"Documentals"_s,
    u"Cinema"_s,
    u"Entreteniment"_s,
    u"Cultura"_s,
    u"Internacional"_s,
    u"Regionals"_s,
};
const std::array movieTitles = {
    u"El secret del far"_s,
    u"La nit d’estiu"_s,
    u"Camí a Ítaca"_s,
    u"L’últim tren"_s,
    u"Cançó de bressol"_s,
    u"Els dies feliços"_s,
    u"Viatge a Zürich"_s,
    u"Ñandú i companyia"_s,
    u"La memòria de l’aigua"_s,
    u"Ombres a la ciutat"_s,
    u"El jardí dels cirerers"_s,
    u"Nit de Sant Joan"_s,
    u"Muntanyes de sal"_s,
    u"Crònica d’un hivern"_s,
    u"La veu de l’òliba"_s,
    u"Més enllà del riu"_s,
};
const std::array movieCategoryNames = {
    u"Acció"_s,
    u"Comèdia"_s,
    u"Drama"_s,
    u"Animació"_s,
    u"Ciència-ficció"_s,
    u"Terror"_s,
    u"Romàntiques"_s,
    u"Documentals"_s,
    u"Clàssics"_s,
    u"Família"_s,
};
const std::array seriesTitles = {
    u"Els Guardians del Delta"_s,
    u"Hotel Pirineu"_s,
    u"La Família Puig"_s,
    u"Crims a l’Empordà"_s,
    u"Estació Polar"_s,
    u"Barri Gòtic"_s,
    u"L’Acadèmia"_s,
    u"Temps de Verema"_s,
    u"Codi Mediterrani"_s,
    u"Germanes"_s,
};
const std::array seriesCategoryNames = {
    u"Drames"_s,
    u"Comèdies"_s,
    u"Thrillers"_s,
    u"Animació"_s,
    u"Documentals"_s,
    u"Juvenils"_s,
    u"Policíaques"_s,
    u"Fantasia"_s,
};

// Names from a list, unique for any count: the list again with " 2", " 3"… once it runs out.
// The seed decides where in the list the catalogue starts.
template<std::size_t N> QString uniqueName(const std::array<QString, N> &names, int index, quint64 seed)
{
    const auto size = qsizetype(N);
    const qsizetype round = index / size;
    const QString &base = names[std::size_t((index + qsizetype(seed % N)) % size)];
    return round == 0 ? base : base + u' ' + QString::number(round + 1);
}

template<std::size_t N> QString categoryName(const std::array<QString, N> &names, int category)
{
    const auto size = int(N);
    return category < size
        ? names[std::size_t(category)]
        : names[std::size_t(category % size)] + u' ' + QString::number(category / size + 1);
}

std::optional<int> indexOf(qint64 id, qint64 first, int count)
{
    if (id < first || id - first >= count)
        return std::nullopt;
    return int(id - first);
}

QString rating(quint64 roll)
{
    const int tenths = int(roll % 60) + 35; // 3.5 … 9.4
    return QString::number(tenths / 10) + u'.' + QString::number(tenths % 10);
}

} // namespace

bool ProviderAccount::isActive() const
{
    return status == u"Active"_s;
}

ProviderCatalog::ProviderCatalog(const ProviderOptions &options)
    : m_liveChannels(std::max(options.liveChannels, testChannelCount + 1))
    , m_movies(std::max(options.movies, 0))
    , m_series(std::max(options.series, 0))
    , m_categories(std::max(options.categories, 1))
    , m_seed(options.seed)
{
}

const QList<ProviderAccount> &ProviderCatalog::accounts()
{
    static const QList<ProviderAccount> list = {
        {u"demo"_s, u"demo"_s, u"Active"_s, {u"m3u8"_s, u"ts"_s}},
        {u"tsonly"_s, u"tsonly"_s, u"Active"_s, {u"ts"_s}},
        {u"expired"_s, u"expired"_s, u"Expired"_s, {u"m3u8"_s, u"ts"_s}},
    };
    return list;
}

std::optional<ProviderAccount> ProviderCatalog::account(QStringView username, QStringView password)
{
    for (const ProviderAccount &account : accounts()) {
        if (account.username == username && account.password == password)
            return account;
    }
    return std::nullopt;
}

QString ProviderCatalog::demoUsername()
{
    return u"demo"_s;
}

QString ProviderCatalog::demoPassword()
{
    return u"demo"_s;
}

quint64 ProviderCatalog::roll(int stream, int index, int salt) const
{
    return mix(
        m_seed ^ mix((quint64(stream) << 48) ^ (quint64(quint32(index)) << 8) ^ quint64(quint8(salt))));
}

// Live channels

qint64 ProviderCatalog::liveChannelID(int index) const
{
    return firstLiveID + index;
}

std::optional<int> ProviderCatalog::liveChannelIndex(qint64 id) const
{
    return indexOf(id, firstLiveID, m_liveChannels);
}

int ProviderCatalog::liveChannelIndex(LiveKind kind) const
{
    const int firstTest = m_liveChannels - testChannelCount;
    switch (kind) {
    case LiveKind::regular:
        return 0;
    case LiveKind::radio:
        return firstTest;
    case LiveKind::hls:
        return firstTest + 1;
    case LiveKind::stalled:
        return firstTest + 2;
    case LiveKind::missing:
        return firstTest + 3;
    case LiveKind::shortLived:
        return firstTest + 4;
    }
    return 0;
}

ProviderCatalog::LiveKind ProviderCatalog::liveChannelKind(int index) const
{
    constexpr std::array testKinds
        = {LiveKind::radio, LiveKind::hls, LiveKind::stalled, LiveKind::missing, LiveKind::shortLived};
    const int test = index - (m_liveChannels - testChannelCount);
    return test < 0 ? LiveKind::regular : testKinds[std::size_t(test)];
}

QString ProviderCatalog::liveChannelName(int index) const
{
    switch (liveChannelKind(index)) {
    case LiveKind::regular:
        return uniqueName(stationNames, index, m_seed);
    case LiveKind::radio:
        return u"Ràdio Només Àudio"_s;
    case LiveKind::hls:
        return u"Canal HLS"_s;
    case LiveKind::stalled:
        return u"Canal Encallat"_s;
    case LiveKind::missing:
        return u"Canal Inexistent"_s;
    case LiveKind::shortLived:
        return u"Canal Breu"_s;
    }
    return {};
}

QString ProviderCatalog::liveChannelGuideID(int index) const
{
    return u"canal"_s + QString::number(liveChannelID(index)) + u".ad"_s;
}

int ProviderCatalog::liveChannelCategory(int index) const
{
    if (liveChannelKind(index) != LiveKind::regular)
        return m_categories;
    return int(roll(liveStream, index) % quint64(m_categories));
}

int ProviderCatalog::liveChannelLogo(int index) const
{
    return index % logoCount + 1;
}

qint64 ProviderCatalog::liveChannelAdded(int index) const
{
    return 1600000000 + qint64(roll(liveStream, index, 1) % 100000000);
}

int ProviderCatalog::userAgentChannel() const
{
    return m_liveChannels - testChannelCount > 1 ? 1 : 0;
}

QString ProviderCatalog::userAgentChannelAgent()
{
    return u"Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36 (KHTML, like Gecko) QuenvoDemo/1.0"_s;
}

QString ProviderCatalog::liveCategoryID(int category) const
{
    return QString::number(10 + category);
}

QString ProviderCatalog::liveCategoryName(int category) const
{
    return category == m_categories ? u"Proves de connexió"_s : categoryName(liveCategoryNames, category);
}

QList<ProviderCatalog::LiveClip> ProviderCatalog::liveClips() const
{
    constexpr std::array tones = {440, 523, 659, 784};
    const int regular = std::min(clipsForRegularChannels, m_liveChannels - testChannelCount);
    QList<LiveClip> clips;
    for (int index = 0; index < regular; ++index)
        clips.append({liveChannelName(index), tones[std::size_t(index)], true, 8});
    clips.append({liveChannelName(liveChannelIndex(LiveKind::radio)), 330, false, 8});
    clips.append({liveChannelName(liveChannelIndex(LiveKind::hls)), 587, true, 8});
    clips.append({liveChannelName(liveChannelIndex(LiveKind::shortLived)), 880, true, 4});
    return clips;
}

int ProviderCatalog::liveClipOf(int index) const
{
    const int regular = std::min(clipsForRegularChannels, m_liveChannels - testChannelCount);
    switch (liveChannelKind(index)) {
    case LiveKind::regular:
        return index % regular;
    case LiveKind::radio:
        return regular;
    case LiveKind::hls:
        return regular + 1;
    case LiveKind::shortLived:
        return regular + 2;
    case LiveKind::stalled:
    case LiveKind::missing:
        break;
    }
    return -1;
}

// Movies

qint64 ProviderCatalog::movieID(int index) const
{
    return firstMovieID + index;
}

std::optional<int> ProviderCatalog::movieIndex(qint64 id) const
{
    return indexOf(id, firstMovieID, m_movies);
}

QString ProviderCatalog::movieName(int index) const
{
    return uniqueName(movieTitles, index, m_seed);
}

int ProviderCatalog::movieCategory(int index) const
{
    return int(roll(movieStream, index) % quint64(m_categories));
}

int ProviderCatalog::movieYear(int index) const
{
    return 1960 + int(roll(movieStream, index, 1) % 66);
}

QString ProviderCatalog::movieRating(int index) const
{
    return rating(roll(movieStream, index, 2));
}

QString ProviderCatalog::movieExtension(int index) const
{
    return roll(movieStream, index, 3) % 5 == 0 ? u"mkv"_s : u"mp4"_s;
}

QString ProviderCatalog::moviePlot(int index) const
{
    return u"Una pel·lícula de prova generada per al proveïdor local: "_s + movieName(index) + u".\n\nDura "_s
        + QString::number(movieSeconds) + u" segons i té dues pistes d’àudio i subtítols."_s;
}

qint64 ProviderCatalog::movieAdded(int index) const
{
    return 1650000000 + qint64(roll(movieStream, index, 4) % 80000000);
}

int ProviderCatalog::moviePoster(int index) const
{
    return index % posterCount + 1;
}

QString ProviderCatalog::vodCategoryID(int category) const
{
    return QString::number(100 + category);
}

QString ProviderCatalog::vodCategoryName(int category) const
{
    return categoryName(movieCategoryNames, category);
}

// Series

qint64 ProviderCatalog::seriesID(int index) const
{
    return firstSeriesID + index;
}

std::optional<int> ProviderCatalog::seriesIndex(qint64 id) const
{
    return indexOf(id, firstSeriesID, m_series);
}

QString ProviderCatalog::seriesName(int index) const
{
    return uniqueName(seriesTitles, index, m_seed);
}

int ProviderCatalog::seriesCategory(int index) const
{
    return int(roll(seriesStream, index) % quint64(m_categories));
}

int ProviderCatalog::seriesYear(int index) const
{
    return 1990 + int(roll(seriesStream, index, 1) % 36);
}

QString ProviderCatalog::seriesRating(int index) const
{
    return rating(roll(seriesStream, index, 2));
}

QString ProviderCatalog::seriesPlot(int index) const
{
    return u"Una sèrie de prova del proveïdor local: "_s + seriesName(index) + u".\n\nCada episodi dura "_s
        + QString::number(movieSeconds) + u" segons."_s;
}

qint64 ProviderCatalog::seriesModified(int index) const
{
    return 1650000000 + qint64(roll(seriesStream, index, 3) % 80000000);
}

int ProviderCatalog::seriesPoster(int index) const
{
    return (index + 2) % posterCount + 1;
}

QString ProviderCatalog::seriesExtension(int index) const
{
    return roll(seriesStream, index, 4) % 5 == 0 ? u"mkv"_s : u"mp4"_s;
}

int ProviderCatalog::regularSeasonCount(int index) const
{
    return 1 + int(roll(seriesStream, index, 5) % 3);
}

bool ProviderCatalog::hasSpecials(int index) const
{
    return roll(seriesStream, index, 6) % 4 == 0;
}

QList<int> ProviderCatalog::seasons(int index) const
{
    QList<int> numbers;
    if (hasSpecials(index))
        numbers.append(0);
    for (int season = 1; season <= regularSeasonCount(index); ++season)
        numbers.append(season);
    return numbers;
}

int ProviderCatalog::episodeCount(int index, int season) const
{
    if (season == 0)
        return hasSpecials(index) ? 1 + int(roll(seriesStream, index, 7) % 2) : 0;
    if (season < 1 || season > regularSeasonCount(index))
        return 0;
    return 2 + int(roll(seriesStream, index, 10 + season) % 5);
}

qint64 ProviderCatalog::episodeID(int index, int season, int number) const
{
    return firstEpisodeID + index * episodesPerSeries + season * episodesPerSeason + number;
}

QString ProviderCatalog::episodeTitle(int index, int season, int number) const
{
    if (season == 0)
        return seriesName(index) + u" - Especial "_s + QString::number(number);
    return seriesName(index) + u" - S"_s + QString::number(season).rightJustified(2, u'0') + u'E'
        + QString::number(number).rightJustified(2, u'0');
}

std::optional<ProviderCatalog::EpisodePlace> ProviderCatalog::episodePlace(qint64 id) const
{
    if (id < firstEpisodeID)
        return std::nullopt;
    const qint64 offset = id - firstEpisodeID;
    const qint64 series = offset / episodesPerSeries;
    if (series >= m_series)
        return std::nullopt;
    const int season = int(offset % episodesPerSeries / episodesPerSeason);
    const int number = int(offset % episodesPerSeason);
    if (number < 1 || number > episodeCount(int(series), season))
        return std::nullopt;
    return EpisodePlace {int(series), season, number};
}

QString ProviderCatalog::seriesCategoryID(int category) const
{
    return QString::number(200 + category);
}

QString ProviderCatalog::seriesCategoryName(int category) const
{
    return categoryName(seriesCategoryNames, category);
}
