#include "FavoritesModel.h"

#include "ChannelListModel.h"
#include "FavoriteChannelListModel.h"
#include "FavoriteTitleListModel.h"
#include "LibraryModel.h"
#include "Publish.h"
#include "records/JsonFields.h"
#include "repositories/CatalogRepository.h"
#include "stores/CatalogFavorites.h"
#include "text/LocalizedText.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>

Q_LOGGING_CATEGORY(lcFavorites, "quenvo.favorites")

namespace {

// The channel digests of the favourite keys that name connection `source`, sorted, without repeats.
std::vector<Channel::Digest> favoriteDigests(const QSet<QString> &favorites, const std::optional<QUuid> &source)
{
    std::vector<Channel::Digest> digests;
    if (!source)
        return digests;
    const QString prefix = JsonFields::canonicalUuid(*source) + u':';
    for (const QString &key : favorites) {
        if (!key.startsWith(prefix))
            continue;
        const QByteArray bytes = QByteArray::fromHex(QStringView(key).mid(prefix.size()).toLatin1());
        Channel::Digest digest{};
        if (bytes.size() != qsizetype(digest.size()))
            continue;
        std::copy(bytes.cbegin(), bytes.cend(), digest.begin());
        digests.push_back(digest);
    }
    std::sort(digests.begin(), digests.end());
    digests.erase(std::unique(digests.begin(), digests.end()), digests.end());
    return digests;
}

// Whether `name` is shown for `search`: every name while the search is empty.
bool matches(const QString &name, const QString &search)
{
    return search.isEmpty() || LocalizedText::contains(name, search);
}

} // namespace

FavoritesModel::FavoritesModel(LibraryModel &library, HTTPClient::Fetch fetch, QObject *parent)
    : QObject(parent)
    , m_library(library)
    , m_fetch(std::move(fetch))
    , m_channels(new FavoriteChannelListModel(this))
    , m_titles(new FavoriteTitleListModel(this))
{
    CatalogFavorites *store = m_library.catalogFavorites();
    connect(&m_library, &LibraryModel::channelsChanged, this, [this] { updateFavoriteChannels(true); });
    connect(&m_library, &LibraryModel::favoritesChanged, this, [this] { updateFavoriteChannels(false); });
    connect(&m_library, &LibraryModel::activeIDChanged, this, [this] {
        updateFavoriteChannels(true);
        updateRecords();
    });
    connect(&m_library, &LibraryModel::favoriteSectionChanged, this, &FavoritesModel::updateMatchingTitles);
    // Each visit of the favourites starts with an empty search.
    connect(&m_library, &LibraryModel::favoritesOnlyChanged, this, [this] {
        if (m_library.favoritesOnly())
            setSearch(QString());
    });
    connect(store, &CatalogFavorites::recordsChanged, this, &FavoritesModel::updateRecords);
    connect(store, &CatalogFavorites::artworkChanged, this, [this, store] { m_titles->setArtwork(store->artwork()); });

    m_titles->setArtwork(store->artwork());
    updateFavoriteChannels(true);
    updateRecords();
}

FavoritesModel::~FavoritesModel()
{
    for (const Lookup &lookup : std::as_const(m_lookups))
        lookup.cancellation.cancel();
}

void FavoritesModel::setSearch(const QString &search)
{
    if (search == m_search)
        return;
    m_search = search;
    Q_EMIT searchChanged();
    updateMatchingChannels();
    updateMatchingTitles();
}

int FavoritesModel::count(const QString &section) const
{
    const std::optional<LibraryModel::Section> parsed = LibraryModel::sectionFromRawValue(section);
    if (!parsed)
        return 0;
    switch (*parsed) {
    case LibraryModel::Section::live:
        return liveCount();
    case LibraryModel::Section::movies:
        return movieCount();
    case LibraryModel::Section::series:
        return seriesCount();
    }
    return 0;
}

void FavoritesModel::updateFavoriteChannels(bool channelsChanged)
{
    std::vector<Channel::Digest> digests = favoriteDigests(m_library.favorites(), m_library.activeID());
    // Only another connection's favourites changed: nothing to scan.
    if (!channelsChanged && digests == m_favoriteDigests)
        return;
    m_favoriteDigests = std::move(digests);

    // The channel list keeps a favourite flag per channel: no pass over a hundred thousand channels
    // here. Until it lists the active connection (the moment between a new connection and its
    // channels), none of that connection's channels is listed.
    QList<Channel> favorites;
    const ChannelListModel &list = *m_library.filteredChannels();
    if (!m_favoriteDigests.empty() && m_library.activeID() == list.source())
        favorites = list.favoriteChannels();
    if (favorites == m_favoriteChannels)
        return;
    const int previousCount = liveCount();
    m_favoriteChannels = std::move(favorites);
    if (liveCount() != previousCount)
        Q_EMIT liveCountChanged();
    updateMatchingChannels();
}

void FavoritesModel::updateRecords()
{
    QList<CatalogFavorite> records;
    if (const std::optional<QUuid> &active = m_library.activeID()) {
        for (const CatalogFavorite &record : m_library.catalogFavorites()->records()) {
            if (record.sourceID == *active)
                records.append(record);
        }
    }
    if (records == m_records)
        return;
    m_records = std::move(records);
    const auto movies = std::count_if(m_records.cbegin(), m_records.cend(),
                                      [](const CatalogFavorite &record) { return record.kind == CatalogKind::movies; });
    publish(this, m_movieCount, int(movies), &FavoritesModel::movieCountChanged);
    publish(this, m_seriesCount, int(m_records.size() - movies), &FavoritesModel::seriesCountChanged);
    updateMatchingTitles();
}

void FavoritesModel::updateMatchingChannels()
{
    QList<Channel> matching;
    for (const Channel &channel : std::as_const(m_favoriteChannels)) {
        if (matches(channel.name(), m_search))
            matching.append(channel);
    }
    std::stable_sort(matching.begin(), matching.end(), [](const Channel &a, const Channel &b) {
        return LocalizedText::lessThan(a.name(), b.name());
    });
    m_channels->setChannels(std::move(matching));
}

void FavoritesModel::updateMatchingTitles()
{
    const CatalogKind kind =
        m_library.favoriteSection() == LibraryModel::Section::movies ? CatalogKind::movies : CatalogKind::series;
    QList<CatalogFavorite> matching;
    for (const CatalogFavorite &record : std::as_const(m_records)) {
        if (record.kind == kind && matches(record.name, m_search))
            matching.append(record);
    }
    std::stable_sort(matching.begin(), matching.end(), [](const CatalogFavorite &a, const CatalogFavorite &b) {
        return LocalizedText::lessThan(a.name, b.name);
    });
    m_titles->setRecords(std::move(matching));
}

// --- actions ------------------------------------------------------------------------------------------

void FavoritesModel::playChannel(int row)
{
    if (row < 0 || row >= m_channels->count())
        return;
    const Channel channel = m_channels->channelAt(row);
    m_library.selectSection(LibraryModel::Section::live);
    m_library.setSearch(QString());
    m_library.setCategory(std::nullopt);
    m_library.play(channel, false);
}

void FavoritesModel::removeChannel(int row)
{
    if (row < 0 || row >= m_channels->count())
        return;
    const Channel channel = m_channels->channelAt(row);
    m_library.toggleFavorite(channel);
}

void FavoritesModel::openTitle(int row)
{
    if (row < 0 || row >= m_titles->count())
        return;
    m_library.openFavorite(m_titles->recordAt(row).item());
}

// --- posters ------------------------------------------------------------------------------------------

void FavoritesModel::requestPoster(const QString &recordID)
{
    const auto running = m_lookups.find(recordID);
    if (running != m_lookups.end()) {
        ++running->tiles;
        return;
    }
    if (m_library.catalogFavorites()->poster(recordID))
        return;
    const auto record = std::find_if(m_records.cbegin(), m_records.cend(),
                                     [&recordID](const CatalogFavorite &candidate) { return candidate.id() == recordID; });
    if (record == m_records.cend())
        return;
    // Only the active connection is asked, and only about its own titles.
    const std::optional<PlaylistSource> source = m_library.activeSource();
    if (!source || source->id != record->sourceID)
        return;
    const CancellationToken cancellation = CancellationToken::create();
    m_lookups.insert(recordID, Lookup{cancellation, 1});
    lookUpPoster(*record, *source, cancellation);
}

void FavoritesModel::releasePoster(const QString &recordID)
{
    const auto running = m_lookups.find(recordID);
    if (running == m_lookups.end() || --running->tiles > 0)
        return;
    const CancellationToken cancellation = running->cancellation;
    m_lookups.erase(running);
    cancellation.cancel();
}

QCoro::Task<> FavoritesModel::lookUpPoster(CatalogFavorite record, PlaylistSource source,
                                           CancellationToken cancellation)
{
    QPointer<FavoritesModel> self(this);
    std::optional<QUrl> poster;
    try {
        const CatalogRepository repository(m_fetch);
        const CatalogDetail detail = co_await repository.detail(std::move(source), record.item(), cancellation);
        poster = detail.poster;
    } catch (...) {
        // The tile keeps its placeholder.
        qCDebug(lcFavorites) << "no poster found for a favourite";
    }
    if (!self || cancellation.isCancelled())
        co_return;
    finishLookup(record.id(), cancellation);
    if (poster)
        m_library.catalogFavorites()->cachePoster(poster, record);
}

void FavoritesModel::finishLookup(const QString &recordID, const CancellationToken &cancellation)
{
    const auto running = m_lookups.find(recordID);
    if (running != m_lookups.end() && running->cancellation.state() == cancellation.state())
        m_lookups.erase(running);
}
