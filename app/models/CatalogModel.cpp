#include "CatalogModel.h"

#include "PersonalListContent.h"

#include "CatalogCategoryListModel.h"
#include "CatalogEpisodeListModel.h"
#include "CatalogItemListModel.h"
#include "LibraryModel.h"
#include "Publish.h"
#include "async/Cancellation.h"
#include "records/WatchProgress.h"
#include "stores/WatchHistory.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool isCancellation(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const CancelledError &) {
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

CatalogModel::CatalogModel(WatchHistory &history, HTTPClient::Fetch fetch, QObject *parent)
    : QObject(parent)
    , m_history(history)
    , m_repository(std::move(fetch))
    , m_filteredCategories(new CatalogCategoryListModel(this))
    , m_filteredItems(new CatalogItemListModel(history, this))
    , m_episodes(new CatalogEpisodeListModel(history, this))
{
    connect(&history, &WatchHistory::recordsChanged, this, [this] {
        updateEpisodeProgress();
        updateSelectedItemMap();
    });
}

// Cancelling a download may resume its coroutine at once, inside this destructor: the identifiers change
// first, so that the coroutine finds its request stale and never touches the half-destroyed model.
CatalogModel::~CatalogModel()
{
    m_listRequest.invalidate();
    m_detailRequest.invalidate();
}

QString CatalogModel::missingCategoryMessage()
{
    return u"Aquesta agrupació ja no està disponible al proveïdor."_s;
}

QString CatalogModel::cacheKey(CatalogKind kind, const QString &categoryID)
{
    return CatalogKinds::rawValue(kind) + u':' + categoryID;
}

std::optional<QUuid> CatalogModel::sourceID() const
{
    return m_source ? std::optional<QUuid>(m_source->id) : std::nullopt;
}

// Operations

void CatalogModel::reset(const std::optional<PlaylistSource> &source)
{
    m_listRequest.invalidate();
    m_detailRequest.invalidate();
    setSource(source);
    m_requestedCategoryID.reset();
    m_categoryCache.clear();
    m_itemCache.clear();
    m_lastCategories.clear();

    setCategories({});
    setSelectedCategory(std::nullopt);
    setItems({});
    setDetail(std::nullopt);
    setSelectedItem(std::nullopt);
    setLoading(false);
    setLoadingDetail(false);
    setError(std::nullopt);
    setDetailError(std::nullopt);
    setSearch(QString());
    setCategorySearch(QString());
}

void CatalogModel::open(CatalogKind kind, bool refresh, const std::optional<CatalogItem> &requestedItem,
    const std::optional<QString> &requestedCategory)
{
    m_requestedCategoryID = requestedCategory;
    // The kind on screen, already loaded: keep the category, the titles and the searches.
    if (kind == m_kind && !m_categories.isEmpty() && !refresh && !requestedCategory) {
        if (requestedItem)
            show(*requestedItem);
        return;
    }

    const RequestSlot::Ticket ticket = m_listRequest.begin();
    closeDetail();
    setKind(kind);
    setSearch(QString());
    setCategorySearch(QString());
    setError(std::nullopt);
    setCategories({});
    setSelectedCategory(std::nullopt);
    setItems({});

    // A connection without a catalogue: the browser explains it; no message here.
    if (!hasCatalog()) {
        setLoading(false);
        return;
    }
    if (refresh || requestedCategory) {
        m_categoryCache.remove(kind);
        const QString prefix = CatalogKinds::rawValue(kind) + u':';
        m_itemCache.removeIf([&prefix](const auto &entry) { return entry.key().startsWith(prefix); });
    }
    loadCategories(ticket, *m_source, kind, requestedCategory, requestedItem);
}

QCoro::Task<> CatalogModel::loadCategories(RequestSlot::Ticket ticket, PlaylistSource source,
    CatalogKind kind, std::optional<QString> requestedCategory, std::optional<CatalogItem> requestedItem)
{
    QList<CatalogCategory> categories;
    std::exception_ptr failure;
    try {
        const auto cached = m_categoryCache.constFind(kind);
        if (cached != m_categoryCache.cend()) {
            categories = *cached;
        } else {
            setLoading(true);
            categories = co_await m_repository.categories(source, kind, ticket.cancellation());
            ticket.cancellation().throwIfCancelled();
        }
    } catch (...) {
        failure = std::current_exception();
    }
    if (!ticket.isCurrent())
        co_return; // a newer request (or the model's end) has taken over
    if (failure) {
        // The detail of a title asked for is still attempted.
        if (applyListFailure(failure) && requestedItem)
            show(*requestedItem);
        co_return;
    }

    setCategories(categories);
    m_categoryCache.insert(kind, categories);
    setLoading(false);

    const auto withID = [&categories](const QString &id) -> std::optional<CatalogCategory> {
        const auto found = std::find_if(categories.cbegin(), categories.cend(),
            [&id](const CatalogCategory &category) { return category.id == id; });
        return found != categories.cend() ? std::optional(*found) : std::nullopt;
    };
    if (requestedCategory) {
        if (const auto category = withID(*requestedCategory))
            select(*category, true);
        else
            setError(missingCategoryMessage());
    } else {
        std::optional<CatalogCategory> category;
        if (requestedItem)
            category = withID(requestedItem->categoryID);
        if (!category && m_lastCategories.contains(kind))
            category = withID(m_lastCategories.value(kind));
        if (!category && !categories.isEmpty())
            category = categories.first();
        if (category)
            select(*category, false);
    }
    if (requestedItem)
        show(*requestedItem);
}

void CatalogModel::select(const CatalogCategory &category, bool refresh)
{
    const RequestSlot::Ticket ticket = m_listRequest.begin();
    closeDetail();
    m_requestedCategoryID.reset();

    setSelectedCategory(category);
    m_lastCategories.insert(m_kind, category.id);
    setItems({});
    setSearch(QString());
    setError(std::nullopt);

    if (!m_source) {
        setLoading(false);
        return;
    }
    const QString key = cacheKey(m_kind, category.id);
    if (!refresh) {
        const auto cached = m_itemCache.constFind(key);
        if (cached != m_itemCache.cend()) {
            setItems(*cached);
            setLoading(false);
            return;
        }
    }
    setLoading(true);
    loadItems(ticket, *m_source, m_kind, category.id, key);
}

QCoro::Task<> CatalogModel::loadItems(
    RequestSlot::Ticket ticket, PlaylistSource source, CatalogKind kind, QString categoryID, QString cacheKey)
{
    QList<CatalogItem> items;
    std::exception_ptr failure;
    try {
        items = co_await m_repository.items(
            std::move(source), kind, std::move(categoryID), ticket.cancellation());
        ticket.cancellation().throwIfCancelled();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!ticket.isCurrent())
        co_return;
    if (failure) {
        applyListFailure(failure);
        co_return;
    }
    setItems(items);
    m_itemCache.insert(cacheKey, items);
    setLoading(false);
}

bool CatalogModel::applyListFailure(const std::exception_ptr &failure)
{
    setLoading(false);
    if (isCancellation(failure))
        return false;
    setError(LibraryModel::safeError(failure));
    return true;
}

void CatalogModel::show(const CatalogItem &item)
{
    const RequestSlot::Ticket ticket = m_detailRequest.begin();
    setSelectedItem(item);
    setSelectedSeason(std::nullopt);
    setDetail(std::nullopt);
    setLoadingDetail(true);
    setDetailError(std::nullopt);
    if (!m_source) {
        setLoadingDetail(false);
        return;
    }
    loadDetail(ticket, *m_source, item);
}

QCoro::Task<> CatalogModel::loadDetail(RequestSlot::Ticket ticket, PlaylistSource source, CatalogItem item)
{
    std::optional<CatalogDetail> detail;
    std::exception_ptr failure;
    try {
        detail = co_await m_repository.detail(source, std::move(item), ticket.cancellation());
        ticket.cancellation().throwIfCancelled();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!ticket.isCurrent())
        co_return;
    if (failure) {
        setLoadingDetail(false);
        if (!isCancellation(failure))
            setDetailError(LibraryModel::safeError(failure));
        co_return;
    }
    const auto watched = [this, &source](const CatalogEpisode &episode) {
        const auto record = m_history.record(WatchProgress::key(source.id, CatalogKind::series, episode.id));
        return record && record->watched;
    };
    setSelectedSeason(detail->initialSeason(watched));
    setDetail(std::move(detail));
    setLoadingDetail(false);
}

void CatalogModel::closeDetail()
{
    m_detailRequest.invalidate();
    setDetail(std::nullopt);
    setSelectedItem(std::nullopt);
    setDetailError(std::nullopt);
    setLoadingDetail(false);
}

void CatalogModel::retry()
{
    if (m_selectedCategory)
        select(*m_selectedCategory, true);
    else
        open(m_kind, true, std::nullopt, m_requestedCategoryID);
}

void CatalogModel::refresh()
{
    std::optional<QString> category = m_requestedCategoryID;
    if (!category && m_selectedCategory)
        category = m_selectedCategory->id;
    open(m_kind, true, std::nullopt, category);
}

void CatalogModel::retryDetail()
{
    if (m_selectedItem)
        show(*m_selectedItem);
}

void CatalogModel::selectCategoryAt(int row)
{
    if (row >= 0 && row < m_filteredCategories->count())
        select(m_filteredCategories->categoryAt(row), false);
}

void CatalogModel::showItemAt(int row)
{
    if (row >= 0 && row < m_filteredItems->count())
        show(m_filteredItems->itemAt(row));
}

QVariant CatalogModel::personalContentForCategoryAt(int row) const
{
    std::optional<CatalogCategory> category;
    if (row >= 0 && row < m_filteredCategories->count())
        category = m_filteredCategories->categoryAt(row);
    return personalContent(category);
}

QVariant CatalogModel::personalContentForSelectedCategory() const
{
    return personalContent(m_selectedCategory);
}

QVariant CatalogModel::personalContent(const std::optional<CatalogCategory> &category) const
{
    PersonalListContent content;
    if (category && m_source) {
        content.categories.append(PersonalCategory(
            m_source->id, PersonalContentKinds::fromCatalogKind(m_kind), category->id, category->name));
    }
    return content.toVariant();
}

QString CatalogModel::watchKey(const QString &kind, const QString &id) const
{
    const auto catalogKind = CatalogKinds::fromRawValue(kind);
    if (!m_source || !catalogKind || id.isEmpty())
        return QString();
    return WatchProgress::key(m_source->id, *catalogKind, id);
}

void CatalogModel::toggleWatched(const QString &key)
{
    if (!key.isEmpty())
        m_history.toggle(key);
}

std::optional<CatalogEpisode> CatalogModel::episode(const QString &episodeID) const
{
    if (!m_detail)
        return std::nullopt;
    for (const CatalogEpisode &episode : m_detail->episodes) {
        if (episode.id == episodeID)
            return episode;
    }
    return std::nullopt;
}

// Published values

QString CatalogModel::kindName() const
{
    return CatalogKinds::rawValue(m_kind);
}

QString CatalogModel::kindTitle() const
{
    return CatalogKinds::title(m_kind);
}

QString CatalogModel::kindSymbol() const
{
    return CatalogKinds::symbol(m_kind);
}

bool CatalogModel::hasCatalog() const
{
    return m_source && m_source->kind == PlaylistSource::Kind::xtream;
}

QVariant CatalogModel::selectedCategoryValue() const
{
    if (!m_selectedCategory)
        return {};
    return QVariantMap {{u"categoryID"_s, m_selectedCategory->id}, {u"name"_s, m_selectedCategory->name}};
}

QVariant CatalogModel::detailValue() const
{
    if (!m_detail)
        return {};
    QVariantList seasons;
    for (const qint64 season : m_detail->seasons())
        seasons.append(season);
    return QVariantMap {
        {u"plot"_s, m_detail->plot},
        {u"genre"_s, m_detail->genre},
        {u"cast"_s, m_detail->cast},
        {u"duration"_s, m_detail->duration},
        {u"poster"_s, m_detail->poster.value_or(QUrl())},
        {u"hasMovie"_s, m_detail->movie.has_value()},
        {u"seasons"_s, seasons},
        {u"episodeCount"_s, int(m_detail->episodes.size())},
    };
}

QVariant CatalogModel::selectedSeasonValue() const
{
    return m_selectedSeason ? QVariant(*m_selectedSeason) : QVariant();
}

void CatalogModel::setSelectedSeasonValue(const QVariant &season)
{
    bool ok = false;
    const qint64 number = season.toLongLong(&ok);
    setSelectedSeason(season.isValid() && !season.isNull() && ok ? std::optional(number) : std::nullopt);
}

QVariant CatalogModel::shownSeasonValue() const
{
    return m_shownSeason ? QVariant(*m_shownSeason) : QVariant();
}

QVariant CatalogModel::nextEpisodeValue() const
{
    if (!m_nextEpisode)
        return {};
    return QVariantMap {
        {u"episodeID"_s, m_nextEpisode->id},
        {u"season"_s, m_nextEpisode->season},
        {u"number"_s, m_nextEpisode->number},
        {u"title"_s, m_nextEpisode->title},
    };
}

// Setters: each publishes only a change.

void CatalogModel::setKind(CatalogKind kind)
{
    publish(this, m_kind, kind, &CatalogModel::kindChanged);
}

void CatalogModel::setSource(const std::optional<PlaylistSource> &source)
{
    if (source == m_source)
        return;
    const bool hadCatalog = hasCatalog();
    m_source = source;
    m_filteredItems->setSource(sourceID());
    if (hasCatalog() != hadCatalog)
        Q_EMIT sourceChanged();
}

void CatalogModel::setCategories(const QList<CatalogCategory> &categories)
{
    if (categories == m_categories)
        return;
    m_categories = categories;
    m_filteredCategories->setCategories(m_categories);
    Q_EMIT categoriesChanged();
}

void CatalogModel::setSelectedCategory(const std::optional<CatalogCategory> &category)
{
    publish(this, m_selectedCategory, category, &CatalogModel::selectedCategoryChanged);
}

void CatalogModel::setItems(const QList<CatalogItem> &items)
{
    if (items == m_items)
        return;
    m_items = items;
    m_filteredItems->setItems(m_items);
    Q_EMIT itemsChanged();
}

void CatalogModel::setDetail(std::optional<CatalogDetail> detail)
{
    // A detail has no equality: only "none" twice is no change.
    if (!detail && !m_detail)
        return;
    m_detail = std::move(detail);
    Q_EMIT detailChanged();
    updateEpisodes();
    updateEpisodeProgress();
}

void CatalogModel::setSelectedItem(const std::optional<CatalogItem> &item)
{
    if (item == m_selectedItem)
        return;
    m_selectedItem = item;
    updateSelectedItemMap();
}

void CatalogModel::setLoading(bool loading)
{
    publish(this, m_loading, loading, &CatalogModel::loadingChanged);
}

void CatalogModel::setLoadingDetail(bool loading)
{
    publish(this, m_loadingDetail, loading, &CatalogModel::loadingDetailChanged);
}

void CatalogModel::setError(const std::optional<QString> &error)
{
    publish(this, m_error, error, &CatalogModel::errorChanged);
}

void CatalogModel::setDetailError(const std::optional<QString> &error)
{
    publish(this, m_detailError, error, &CatalogModel::detailErrorChanged);
}

void CatalogModel::setSelectedSeason(std::optional<qint64> season)
{
    if (season == m_selectedSeason)
        return;
    m_selectedSeason = season;
    Q_EMIT selectedSeasonChanged();
    updateEpisodes();
}

void CatalogModel::setSearch(const QString &search)
{
    if (search == m_search)
        return;
    m_search = search;
    m_filteredItems->setSearch(m_search);
    Q_EMIT searchChanged();
}

void CatalogModel::setCategorySearch(const QString &search)
{
    if (search == m_categorySearch)
        return;
    m_categorySearch = search;
    m_filteredCategories->setSearch(m_categorySearch);
    Q_EMIT categorySearchChanged();
}

void CatalogModel::setSortByTitle(bool sortByTitle)
{
    if (sortByTitle == m_sortByTitle)
        return;
    m_sortByTitle = sortByTitle;
    m_filteredItems->setSortByTitle(m_sortByTitle);
    Q_EMIT sortByTitleChanged();
}

// Derived state

void CatalogModel::updateEpisodes()
{
    std::optional<qint64> shown;
    QList<CatalogEpisode> episodes;
    if (m_detail) {
        const QList<qint64> seasons = m_detail->seasons();
        if (m_selectedSeason && seasons.contains(*m_selectedSeason))
            shown = m_selectedSeason;
        else if (!seasons.isEmpty())
            shown = seasons.first();
        if (shown) {
            for (const CatalogEpisode &episode : m_detail->episodes) {
                if (episode.season == *shown)
                    episodes.append(episode);
            }
        }
    }
    m_episodes->setEpisodes(episodes, sourceID());
    if (shown != m_shownSeason) {
        m_shownSeason = shown;
        Q_EMIT shownSeasonChanged();
    }
}

bool CatalogModel::isWatched(const CatalogEpisode &episode) const
{
    if (!m_source)
        return false;
    const auto record = m_history.record(WatchProgress::key(m_source->id, CatalogKind::series, episode.id));
    return record && record->watched;
}

void CatalogModel::updateEpisodeProgress()
{
    int watched = 0;
    std::optional<CatalogEpisode> next;
    if (m_detail) {
        for (const CatalogEpisode &episode : m_detail->episodes) {
            if (isWatched(episode))
                ++watched;
            else if (!next)
                next = episode;
        }
    }
    if (watched == m_watchedEpisodeCount && next == m_nextEpisode)
        return;
    m_watchedEpisodeCount = watched;
    m_nextEpisode = std::move(next);
    Q_EMIT episodeProgressChanged();
}

void CatalogModel::updateSelectedItemMap()
{
    QVariant value;
    if (m_selectedItem) {
        QVariantMap map = m_filteredItems->describe(*m_selectedItem);
        std::optional<WatchProgress> record;
        if (m_source && m_selectedItem->kind == CatalogKind::movies)
            record
                = m_history.record(WatchProgress::key(m_source->id, CatalogKind::movies, m_selectedItem->id));
        map.insert(u"hasRecord"_s, record.has_value());
        map.insert(u"progressSeconds"_s, record ? record->seconds : 0.0);
        map.insert(u"progressDuration"_s, record ? record->duration : 0.0);
        map.insert(u"progressFraction"_s, record ? record->fraction() : 0.0);
        map.insert(u"resumeSeconds"_s, record ? record->resumeSeconds() : 0.0);
        value = map;
    }
    if (value == m_selectedItemMap)
        return;
    m_selectedItemMap = value;
    Q_EMIT selectedItemChanged();
}
