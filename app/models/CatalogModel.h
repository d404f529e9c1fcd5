#pragma once

#include "async/RequestSlot.h"
#include "http/HTTPClient.h"
#include "records/CatalogCategory.h"
#include "records/CatalogDetail.h"
#include "records/CatalogItem.h"
#include "records/CatalogKind.h"
#include "records/PlaylistSource.h"
#include "repositories/CatalogRepository.h"

#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <exception>
#include <optional>

class CatalogCategoryListModel;
class CatalogEpisodeListModel;
class CatalogItemListModel;
class WatchHistory;

Q_MOC_INCLUDE("models/CatalogCategoryListModel.h")
Q_MOC_INCLUDE("models/CatalogEpisodeListModel.h")
Q_MOC_INCLUDE("models/CatalogItemListModel.h")

// The movies-and-series browser of the active connection: the kind shown, its categories, the
// selected category and its titles, the open title's detail, loading flags, error texts, the two
// searches and the sort switch.
//
// Categories and titles are cached per connection (reset() empties the caches; refresh(), retry() and
// a category asked for from outside fetch past them). One list request (categories or titles) and one
// detail request run at a time, each in its RequestSlot: a newer request cancels the older one, and an
// answer whose request is no longer current — success or failure — changes nothing. Failures reach the
// user through LibraryModel::safeError; a cancellation shows nothing.
//
// QML reads the records as maps (the roles of the list models by name) and acts on rows of the
// filtered lists. Main thread only.
class CatalogModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The library model owns the one catalogue model.")
    // "movies" or "series", with the kind's name and icon.
    Q_PROPERTY(QString kind READ kindName NOTIFY kindChanged FINAL)
    Q_PROPERTY(QString kindTitle READ kindTitle NOTIFY kindChanged FINAL)
    Q_PROPERTY(QString kindSymbol READ kindSymbol NOTIFY kindChanged FINAL)
    // The active connection offers a catalogue (it is an Xtream account).
    Q_PROPERTY(bool hasCatalog READ hasCatalog NOTIFY sourceChanged FINAL)
    Q_PROPERTY(int categoryCount READ categoryCount NOTIFY categoriesChanged FINAL)
    Q_PROPERTY(int itemCount READ itemCount NOTIFY itemsChanged FINAL)
    // {categoryID, name}, or null.
    Q_PROPERTY(QVariant selectedCategory READ selectedCategoryValue NOTIFY selectedCategoryChanged FINAL)
    // The open title with the roles of CatalogItemListModel, plus its watch record for a movie
    // (hasRecord, progressSeconds, progressDuration, progressFraction, resumeSeconds); or null.
    Q_PROPERTY(QVariant selectedItem READ selectedItemValue NOTIFY selectedItemChanged FINAL)
    // {plot, genre, cast, duration, poster, hasMovie, seasons, episodeCount}, or null until loaded.
    Q_PROPERTY(QVariant detail READ detailValue NOTIFY detailChanged FINAL)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged FINAL)
    Q_PROPERTY(bool loadingDetail READ loadingDetail NOTIFY loadingDetailChanged FINAL)
    // Empty when there is none.
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged FINAL)
    Q_PROPERTY(QString detailError READ detailErrorText NOTIFY detailErrorChanged FINAL)
    // A season number, or null.
    Q_PROPERTY(QVariant selectedSeason READ selectedSeasonValue WRITE setSelectedSeasonValue NOTIFY
            selectedSeasonChanged FINAL)
    // The season whose episodes `episodes` lists: the selected one when the detail has it, else the
    // lowest; null without seasons.
    Q_PROPERTY(QVariant shownSeason READ shownSeasonValue NOTIFY shownSeasonChanged FINAL)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged FINAL)
    Q_PROPERTY(
        QString categorySearch READ categorySearch WRITE setCategorySearch NOTIFY categorySearchChanged FINAL)
    Q_PROPERTY(bool sortByTitle READ sortByTitle WRITE setSortByTitle NOTIFY sortByTitleChanged FINAL)
    Q_PROPERTY(CatalogCategoryListModel *filteredCategories READ filteredCategories CONSTANT FINAL)
    Q_PROPERTY(CatalogItemListModel *filteredItems READ filteredItems CONSTANT FINAL)
    Q_PROPERTY(CatalogEpisodeListModel *episodes READ episodes CONSTANT FINAL)
    // Over every episode of the detail: how many are watched, and the first one that is not
    // ({episodeID, season, number, title}, or null when all are).
    Q_PROPERTY(int watchedEpisodeCount READ watchedEpisodeCount NOTIFY episodeProgressChanged FINAL)
    Q_PROPERTY(QVariant nextEpisode READ nextEpisodeValue NOTIFY episodeProgressChanged FINAL)

public:
    // `fetch` is the transport of the catalogue repository.
    explicit CatalogModel(WatchHistory &history, HTTPClient::Fetch fetch = HTTPClient::defaultFetch(),
        QObject *parent = nullptr);
    ~CatalogModel() override;

    // A new active connection (or none): cancels everything, empties the caches and the lists. The kind,
    // the sort switch and the selected season stay. Nothing is fetched.
    void reset(const std::optional<PlaylistSource> &source);
    // Shows `kind`. With the kind already shown and loaded, no refresh and no requested category, only
    // `requestedItem` is opened and everything else stays. Otherwise the categories are taken from the
    // cache (fetched with `refresh` or a requested category), then `requestedCategory` is selected (a
    // missing one is reported), else the category of `requestedItem`, the last one selected for the
    // kind, or the first; finally `requestedItem` is opened.
    void open(CatalogKind kind, bool refresh, const std::optional<CatalogItem> &requestedItem,
        const std::optional<QString> &requestedCategory);
    // Fetches the current kind's categories again and reselects the same category with its titles.
    Q_INVOKABLE void refresh();
    // Repeats what failed: the titles of the selected category, else the categories.
    Q_INVOKABLE void retry();
    Q_INVOKABLE void closeDetail();
    // Shows a category's titles, from the cache unless `refresh`. Closes the detail.
    void select(const CatalogCategory &category, bool refresh);
    // Opens a title's detail; details are never cached.
    void show(const CatalogItem &item);

    // Asks again for the open title's detail (after a failure); nothing when no title is open.
    Q_INVOKABLE void retryDetail();
    // Rows of filteredCategories and filteredItems; rows out of range are ignored.
    Q_INVOKABLE void selectCategoryAt(int row);
    Q_INVOKABLE void showItemAt(int row);
    // What "Afegeix a una llista…" offers for a row of filteredCategories, and for the selected
    // category (PersonalListContent: the category as a linked group); empty without a connection.
    Q_INVOKABLE QVariant personalContentForCategoryAt(int row) const;
    Q_INVOKABLE QVariant personalContentForSelectedCategory() const;
    // The watch-history key of a title ("movies"/"series" and its id) or of an episode (kind "series"),
    // empty without a connection.
    Q_INVOKABLE QString watchKey(const QString &kind, const QString &id) const;
    // Flips a title's or an episode's watched mark; nothing for an empty key.
    Q_INVOKABLE void toggleWatched(const QString &key);

    CatalogKind kind() const { return m_kind; }
    QString kindName() const;
    QString kindTitle() const;
    QString kindSymbol() const;
    const std::optional<PlaylistSource> &source() const { return m_source; }
    bool hasCatalog() const;
    const QList<CatalogCategory> &categories() const { return m_categories; }
    int categoryCount() const { return int(m_categories.size()); }
    const std::optional<CatalogCategory> &selectedCategory() const { return m_selectedCategory; }
    const QList<CatalogItem> &items() const { return m_items; }
    int itemCount() const { return int(m_items.size()); }
    const std::optional<CatalogDetail> &detail() const { return m_detail; }
    const std::optional<CatalogItem> &selectedItem() const { return m_selectedItem; }
    bool loading() const { return m_loading; }
    bool loadingDetail() const { return m_loadingDetail; }
    const std::optional<QString> &error() const { return m_error; }
    const std::optional<QString> &detailError() const { return m_detailError; }
    std::optional<qint64> selectedSeason() const { return m_selectedSeason; }
    void setSelectedSeason(std::optional<qint64> season);
    std::optional<qint64> shownSeason() const { return m_shownSeason; }
    QString search() const { return m_search; }
    void setSearch(const QString &search);
    QString categorySearch() const { return m_categorySearch; }
    void setCategorySearch(const QString &search);
    bool sortByTitle() const { return m_sortByTitle; }
    void setSortByTitle(bool sortByTitle);

    CatalogCategoryListModel *filteredCategories() const { return m_filteredCategories; }
    CatalogItemListModel *filteredItems() const { return m_filteredItems; }
    CatalogEpisodeListModel *episodes() const { return m_episodes; }
    // The detail's episode with this id, to play it.
    std::optional<CatalogEpisode> episode(const QString &episodeID) const;
    int watchedEpisodeCount() const { return m_watchedEpisodeCount; }
    const std::optional<CatalogEpisode> &nextEpisode() const { return m_nextEpisode; }

    QVariant selectedCategoryValue() const;
    QVariant selectedItemValue() const { return m_selectedItemMap; }
    QVariant detailValue() const;
    QString errorText() const { return m_error.value_or(QString()); }
    QString detailErrorText() const { return m_detailError.value_or(QString()); }
    QVariant selectedSeasonValue() const;
    void setSelectedSeasonValue(const QVariant &season);
    QVariant shownSeasonValue() const;
    QVariant nextEpisodeValue() const;

    // The text shown when a category asked for from outside is no longer offered.
    static QString missingCategoryMessage();

Q_SIGNALS:
    void kindChanged();
    void sourceChanged();
    void categoriesChanged();
    void selectedCategoryChanged();
    void itemsChanged();
    void detailChanged();
    void selectedItemChanged();
    void loadingChanged();
    void loadingDetailChanged();
    void errorChanged();
    void detailErrorChanged();
    void selectedSeasonChanged();
    void shownSeasonChanged();
    void searchChanged();
    void categorySearchChanged();
    void sortByTitleChanged();
    void episodeProgressChanged();

private:
    QCoro::Task<> loadCategories(RequestSlot::Ticket ticket, PlaylistSource source, CatalogKind kind,
        std::optional<QString> requestedCategory, std::optional<CatalogItem> requestedItem);
    QCoro::Task<> loadItems(RequestSlot::Ticket ticket, PlaylistSource source, CatalogKind kind,
        QString categoryID, QString cacheKey);
    QCoro::Task<> loadDetail(RequestSlot::Ticket ticket, PlaylistSource source, CatalogItem item);
    // The end of a list request that failed while still current. False for a cancellation.
    bool applyListFailure(const std::exception_ptr &failure);

    static QString cacheKey(CatalogKind kind, const QString &categoryID);
    std::optional<QUuid> sourceID() const;
    QVariant personalContent(const std::optional<CatalogCategory> &category) const;

    void setKind(CatalogKind kind);
    void setSource(const std::optional<PlaylistSource> &source);
    void setCategories(const QList<CatalogCategory> &categories);
    void setSelectedCategory(const std::optional<CatalogCategory> &category);
    void setItems(const QList<CatalogItem> &items);
    void setDetail(std::optional<CatalogDetail> detail);
    void setSelectedItem(const std::optional<CatalogItem> &item);
    void setLoading(bool loading);
    void setLoadingDetail(bool loading);
    void setError(const std::optional<QString> &error);
    void setDetailError(const std::optional<QString> &error);
    // Recomputes what follows from the detail, the selected season and the watch history.
    void updateEpisodes();
    void updateEpisodeProgress();
    void updateSelectedItemMap();
    bool isWatched(const CatalogEpisode &episode) const;

    WatchHistory &m_history;
    CatalogRepository m_repository;

    CatalogKind m_kind = CatalogKind::movies;
    std::optional<PlaylistSource> m_source;
    QList<CatalogCategory> m_categories;
    std::optional<CatalogCategory> m_selectedCategory;
    QList<CatalogItem> m_items;
    std::optional<CatalogDetail> m_detail;
    std::optional<CatalogItem> m_selectedItem;
    QVariant m_selectedItemMap;
    bool m_loading = false;
    bool m_loadingDetail = false;
    std::optional<QString> m_error;
    std::optional<QString> m_detailError;
    std::optional<qint64> m_selectedSeason;
    std::optional<qint64> m_shownSeason;
    QString m_search;
    QString m_categorySearch;
    bool m_sortByTitle = false;
    int m_watchedEpisodeCount = 0;
    std::optional<CatalogEpisode> m_nextEpisode;

    RequestSlot m_listRequest; // categories or titles
    RequestSlot m_detailRequest; // the open title's detail
    QMap<CatalogKind, QList<CatalogCategory>> m_categoryCache;
    QHash<QString, QList<CatalogItem>> m_itemCache; // "series:12" → titles
    QMap<CatalogKind, QString> m_lastCategories;
    std::optional<QString> m_requestedCategoryID;

    CatalogCategoryListModel *m_filteredCategories = nullptr;
    CatalogItemListModel *m_filteredItems = nullptr;
    CatalogEpisodeListModel *m_episodes = nullptr;
};
