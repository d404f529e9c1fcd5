#include "LibraryModel.h"

#include "CatalogModel.h"
#include "ChannelCategoriesModel.h"
#include "ChannelListModel.h"
#include "PersonalListContent.h"
#include "PersonalListsModel.h"
#include "FavoritesModel.h"
#include "ProgrammeGuide.h"
#include "Publish.h"
#include "async/Background.h"
#include "http/FailureText.h"
#include "records/IPTVError.h"
#include "records/JsonFields.h"
#include "repositories/PlaylistRepository.h"
#include "stores/CatalogFavorites.h"
#include "stores/ConnectionRegistry.h"
#include "stores/KeychainStore.h"
#include "stores/PersonalLists.h"
#include "stores/WatchHistory.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QVariantMap forViews(const PlaylistSource &source)
{
    return {
        {u"id"_s, JsonFields::canonicalUuid(source.id)},
        {u"name"_s, source.name},
        {u"kind"_s, PlaylistSource::rawValue(source.kind)},
        {u"address"_s, source.address},
        {u"username"_s, source.username},
        {u"password"_s, source.password},
    };
}

QVariantList forViews(const QList<PlaylistSource> &sources)
{
    QVariantList list;
    list.reserve(sources.size());
    for (const PlaylistSource &source : sources)
        list.append(forViews(source));
    return list;
}

QString textOf(const std::optional<QUuid> &id)
{
    return id ? JsonFields::canonicalUuid(*id) : QString();
}

std::optional<QUuid> uuidFromText(const QString &text)
{
    const QUuid id(text);
    if (id.isNull())
        return std::nullopt;
    return id;
}

// A loaded list made ready for the channel list off the main thread, with what the list says beside
// its channels.
struct PreparedListing
{
    ChannelListModel::Prepared list;
    ChannelExtras extras;
};

bool isCancellation(const std::exception_ptr &error)
{
    try {
        std::rethrow_exception(error);
    } catch (const CancelledError &) {
        return true;
    } catch (...) {
        return false;
    }
}

CatalogKind catalogKindOf(LibraryModel::Section section)
{
    return section == LibraryModel::Section::series ? CatalogKind::series : CatalogKind::movies;
}

LibraryModel::Section sectionOf(CatalogKind kind)
{
    return kind == CatalogKind::movies ? LibraryModel::Section::movies : LibraryModel::Section::series;
}

} // namespace

QString LibraryModel::safeError(const std::exception_ptr &error)
{
    return FailureText::of(error);
}

// --- construction ---------------------------------------------------------------------------------

LibraryModel::LibraryModel(QObject *parent)
    : LibraryModel(Environment{nullptr, KeychainStore::applicationService(), HTTPClient::defaultFetch()}, parent)
{
}

LibraryModel::LibraryModel(Environment environment, QObject *parent)
    : QObject(parent)
    , m_ownedPreferences(environment.preferences ? nullptr : std::make_unique<QSettings>())
    , m_preferences(environment.preferences ? *environment.preferences : *m_ownedPreferences)
    , m_fetch(std::move(environment.fetch))
    , m_clock(std::move(environment.clock))
    , m_pollPlayback(environment.pollPlayback)
    , m_elapsed(u"00:00"_s)
    , m_durationLabel(u"--:--"_s)
{
    m_catalogFavorites = new CatalogFavorites(m_preferences, this);
    m_personalLists = new PersonalLists(m_preferences, m_fetch, this);
    m_personalListsModel = new PersonalListsModel(*m_personalLists, this);
    connect(m_personalLists, &PersonalLists::listsChanged, this, &LibraryModel::updateSelectedPersonalListName);
    m_channelList = new ChannelListModel(this);
    m_guide = new ProgrammeGuide(m_fetch,
        environment.guideCacheFolder.isEmpty()
            ? QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + u"/guide"_s
            : environment.guideCacheFolder,
        this);
    m_channelList->setGuide(m_guide);
    connect(m_channelList, &ChannelListModel::channelsChanged, this, &LibraryModel::channelsChanged);
    connect(m_channelList, &ChannelListModel::searchChanged, this, &LibraryModel::searchChanged);
    connect(m_channelList, &ChannelListModel::categoryChanged, this, &LibraryModel::categoryChanged);
    connect(m_channelList, &ChannelListModel::favoritesOnlyChanged, this, &LibraryModel::favoritesOnlyChanged);

    m_history = new WatchHistory(m_preferences, this);
    m_catalog = new CatalogModel(*m_history, m_fetch, this);

    const QStringList stored = m_preferences.value(favoritesKey()).toStringList();
    m_favorites = QSet<QString>(stored.begin(), stored.end());
    m_channelList->setFavorites(m_favorites);

    makePlayer();
    connect(m_catalog, &CatalogModel::detailChanged, this, &LibraryModel::nextEpisodeChanged);
    // The position of a movie or episode still playing is saved before the application quits.
    if (QCoreApplication *application = QCoreApplication::instance())
        connect(application, &QCoreApplication::aboutToQuit, this, &LibraryModel::saveProgress);

    m_connections = new ConnectionRegistry(KeychainStore(environment.keychainService), m_preferences, this);
    connect(m_connections, &ConnectionRegistry::sourcesChanged, this, &LibraryModel::sourcesChanged);
    connect(m_connections, &ConnectionRegistry::temporarySourcesChanged, this, &LibraryModel::temporarySourcesChanged);
    connect(m_connections, &ConnectionRegistry::canSaveChanged, this, &LibraryModel::canSaveChanged);
    connect(this, &LibraryModel::sourcesChanged, this, &LibraryModel::activeSourceChanged);
    connect(this, &LibraryModel::temporarySourcesChanged, this, &LibraryModel::activeSourceChanged);
    connect(this, &LibraryModel::activeIDChanged, this, &LibraryModel::activeSourceChanged);

    m_player->setVolume(int(m_volume));
    m_favoritesBrowser = new FavoritesModel(*this, m_fetch, this);

    startUp();
}

LibraryModel::~LibraryModel() = default;

QCoro::Task<> LibraryModel::startUp()
{
    QPointer<LibraryModel> self(this);
    const quint64 noticesBefore = m_noticesShown;
    ConnectionRegistry::StartUp found;
    try {
        found = co_await m_connections->readSaved();
    } catch (...) {
        // Only the model going away interrupts the read; a failed read comes back as a notice.
        co_return;
    }
    if (!self)
        co_return;
    publish(this, m_readingConnections, false, &LibraryModel::readingConnectionsChanged);
    // The read's failure is older than anything the user did meanwhile: a load that was started
    // and failed while the keychain answered keeps its own message on screen.
    if (found.notice && m_noticesShown == noticesBefore)
        setNotice(found.notice);
    // A connection the user asked for while the keychain was being read wins over the start one.
    if (found.start && !m_lastAttempt)
        load(*found.start, false, false);
    Q_EMIT startedUp();
}

QString LibraryModel::favoritesKey()
{
    return u"favorites"_s;
}

QString LibraryModel::rawValue(Section section)
{
    switch (section) {
    case Section::live:
        return u"live"_s;
    case Section::movies:
        return u"movies"_s;
    case Section::series:
        return u"series"_s;
    }
    return u"live"_s;
}

std::optional<LibraryModel::Section> LibraryModel::sectionFromRawValue(QStringView raw)
{
    for (const Section section : {Section::live, Section::movies, Section::series}) {
        if (raw == rawValue(section))
            return section;
    }
    return std::nullopt;
}

// --- connections ------------------------------------------------------------------------------------

const QList<PlaylistSource> &LibraryModel::sources() const
{
    return m_connections->sources();
}

const QList<PlaylistSource> &LibraryModel::temporarySources() const
{
    return m_connections->temporarySources();
}

QList<PlaylistSource> LibraryModel::allSources() const
{
    return m_connections->allSources();
}

bool LibraryModel::canSave() const
{
    return m_connections->canSave();
}

std::optional<PlaylistSource> LibraryModel::activeSource() const
{
    return m_activeID ? m_connections->source(*m_activeID) : std::nullopt;
}

void LibraryModel::setEditingSource(const std::optional<PlaylistSource> &source)
{
    publish(this, m_editingSource, source, &LibraryModel::editingSourceChanged);
}

void LibraryModel::addSource()
{
    setEditingSource(
        PlaylistSource(QUuid::createUuid(), QString(), QString(), QString(), QString(), PlaylistSource::Kind::m3u));
}

void LibraryModel::editSource(const QString &id)
{
    const std::optional<QUuid> uuid = uuidFromText(id);
    if (const std::optional<PlaylistSource> source = uuid ? m_connections->source(*uuid) : std::nullopt)
        setEditingSource(source);
}

QString LibraryModel::connectEditedSource(const QString &kind, const QString &name, const QString &address,
                                          const QString &username, const QString &password, bool save)
{
    if (!m_editingSource)
        return QString();
    const PlaylistSource source(m_editingSource->id, name.trimmed(), address.trimmed(), username, password,
                                PlaylistSource::kindFromRawValue(kind).value_or(PlaylistSource::Kind::m3u));
    try {
        source.validatedURL();
    } catch (...) {
        return safeError(std::current_exception());
    }
    load(source, save, !save);
    return QString();
}

void LibraryModel::closeEditor()
{
    cancelLoad();
    setEditingSource(std::nullopt);
}

void LibraryModel::load(const PlaylistSource &source, bool save, bool temporary, std::function<void()> whenLoaded)
{
    RequestSlot::Ticket ticket = m_load.begin();
    m_lastAttempt = Attempt{source, save, temporary};
    setIsLoading(true);
    setNotice(std::nullopt);
    // The channels on screen stay visible while the new ones load.
    runLoad(source, save, temporary, std::move(whenLoaded), std::move(ticket));
}

QCoro::Task<> LibraryModel::runLoad(PlaylistSource source, bool save, bool temporary,
                                    std::function<void()> whenLoaded, RequestSlot::Ticket ticket)
{
    try {
        const PlaylistRepository repository(m_fetch);
        ChannelListing listing = co_await repository.loadListing(source, ticket.cancellation());
        ticket.cancellation().throwIfCancelled();
        if (!ticket.isCurrent())
            co_return;
        // Mapping the groups and the favourites of 100,000 channels takes tens of milliseconds: done
        // here, the list is then shown in a few.
        auto prepare = [listing = std::move(listing), favorites = m_favorites, id = source.id,
                        cancellation = ticket.cancellation().flag()]() mutable {
            ChannelListModel::Prepared list = ChannelListModel::prepare(listing.channels, favorites, id, cancellation);
            return PreparedListing{std::move(list), std::move(listing.extras)};
        };
        PreparedListing prepared = co_await inBackground(std::move(prepare));
        ticket.cancellation().throwIfCancelled();
        if (!ticket.isCurrent())
            co_return;
        const auto stillCurrent = [ticket] { return ticket.isCurrent(); };
        co_await m_connections->keepLoaded(source, save, temporary, stillCurrent);
        // The keychain write waits its turn: a newer request may have taken over meanwhile.
        if (!ticket.isCurrent())
            co_return;

        setEditingSource(std::nullopt);
        stop();
        setActiveID(source.id);
        // Relative guide addresses in a list resolve against the list's own address.
        m_guide->reset(source, QUrl(source.address.trimmed()).toEncoded(), prepared.list.channels, prepared.extras);
        // The filters are cleared first, so that the new list is filtered by nothing at all.
        setCategory(std::nullopt);
        setSearch(QString());
        m_channelList->setPrepared(std::move(prepared.list), source.id);
        m_catalog->reset(source);
        if (m_section != Section::live && !whenLoaded)
            m_catalog->open(catalogKindOf(m_section), false, std::nullopt, std::nullopt);
        m_connections->rememberActive(source);
        setIsLoading(false);
        if (whenLoaded)
            whenLoaded();
    } catch (...) {
        const std::exception_ptr failure = std::current_exception();
        // A newer request or a cancel has taken over: nothing at all happens.
        if (!ticket.isCurrent())
            co_return;
        setIsLoading(false);
        if (!isCancellation(failure))
            setNotice(safeError(failure));
    }
}

void LibraryModel::retry()
{
    if (m_lastAttempt)
        load(m_lastAttempt->source, m_lastAttempt->save, m_lastAttempt->temporary);
}

void LibraryModel::selectSource(const PlaylistSource &source)
{
    navigate();
    setSelectedPersonalListID(std::nullopt);
    setPersonalReturnID(std::nullopt);
    setFavoritesOnly(false);
    load(source, false, false);
}

void LibraryModel::selectSource(const QString &id)
{
    const std::optional<QUuid> uuid = uuidFromText(id);
    if (const std::optional<PlaylistSource> source = uuid ? m_connections->source(*uuid) : std::nullopt)
        selectSource(*source);
}

void LibraryModel::cancelLoad()
{
    navigate();
    m_load.invalidate();
    setIsLoading(false);
}

void LibraryModel::remove(const PlaylistSource &source)
{
    cancelLoad();
    runRemove(source);
}

void LibraryModel::remove(const QString &id)
{
    const std::optional<QUuid> uuid = uuidFromText(id);
    if (const std::optional<PlaylistSource> source = uuid ? m_connections->source(*uuid) : std::nullopt)
        remove(*source);
}

QCoro::Task<> LibraryModel::runRemove(PlaylistSource source)
{
    QPointer<LibraryModel> self(this);
    try {
        co_await m_connections->remove(source);
    } catch (...) {
        const std::exception_ptr failure = std::current_exception();
        if (self && !isCancellation(failure))
            setNotice(safeError(failure));
        co_return;
    }
    if (self)
        finishRemove(source);
}

void LibraryModel::finishRemove(const PlaylistSource &source)
{
    m_catalogFavorites->remove(source.id);

    const QString prefix = JsonFields::canonicalUuid(source.id) + u':';
    QSet<QString> kept = m_favorites;
    kept.removeIf([&prefix](const QString &key) { return key.startsWith(prefix); });
    if (kept != m_favorites) {
        m_favorites = kept;
        persistFavorites();
    }

    if (m_lastAttempt && m_lastAttempt->source.id == source.id)
        m_lastAttempt.reset();

    if (m_activeID == source.id) {
        stop();
        setActiveID(std::nullopt);
        m_guide->clear();
        clearChannels();
        setCategory(std::nullopt);
        m_catalog->reset(std::nullopt);
        m_connections->forgetActive();
        const QList<PlaylistSource> remaining = allSources();
        if (!remaining.isEmpty())
            load(remaining.constFirst(), false, false);
    }
    setNotice(std::nullopt);
}

// --- channels -----------------------------------------------------------------------------------------

const QList<Channel> &LibraryModel::channels() const
{
    return m_channelList->channels();
}

int LibraryModel::channelCount() const
{
    return int(m_channelList->channels().size());
}

ChannelCategoriesModel *LibraryModel::categories() const
{
    return m_channelList->categories();
}

QString LibraryModel::search() const
{
    return m_channelList->search();
}

void LibraryModel::setSearch(const QString &search)
{
    m_channelList->setSearch(search);
}

const std::optional<QString> &LibraryModel::category() const
{
    return m_channelList->category();
}

void LibraryModel::setCategory(const std::optional<QString> &category)
{
    m_channelList->setCategory(category);
}

bool LibraryModel::favoritesOnly() const
{
    return m_channelList->favoritesOnly();
}

void LibraryModel::clearChannels()
{
    if (!m_channelList->channels().isEmpty())
        m_channelList->setChannels({}, m_activeID.value_or(QUuid()));
}

void LibraryModel::setFavoritesOnly(bool favoritesOnly)
{
    m_channelList->setFavoritesOnly(favoritesOnly);
}

// --- channel favourites -----------------------------------------------------------------------------

bool LibraryModel::isFavorite(const Channel &channel) const
{
    return m_activeID && m_favorites.contains(channel.favoriteID(*m_activeID));
}

void LibraryModel::toggleFavorite(const Channel &channel)
{
    if (!m_activeID)
        return;
    const QString key = channel.favoriteID(*m_activeID);
    if (!m_favorites.remove(key))
        m_favorites.insert(key);
    persistFavorites();
}

bool LibraryModel::isFavoriteAt(int row) const
{
    return row >= 0 && row < m_channelList->count() && isFavorite(m_channelList->channelAt(row));
}

void LibraryModel::toggleFavoriteAt(int row)
{
    if (row >= 0 && row < m_channelList->count())
        toggleFavorite(m_channelList->channelAt(row));
}

QVariant LibraryModel::personalContentForChannelAt(int row) const
{
    PersonalListContent content;
    if (m_activeID && row >= 0 && row < m_channelList->count())
        content.entries.append(PersonalEntry(*m_activeID, m_channelList->channelAt(row)));
    return content.toVariant();
}

QVariant LibraryModel::personalContentForSelectedChannels() const
{
    PersonalListContent content;
    if (m_activeID) {
        for (const Channel &channel : m_channelList->selectedChannels())
            content.entries.append(PersonalEntry(*m_activeID, channel));
    }
    return content.toVariant();
}

QVariant LibraryModel::personalContentForCategoryChannels() const
{
    PersonalListContent content;
    if (m_activeID && category()) {
        for (const Channel &channel : m_channelList->channelsInGroup(*category()))
            content.entries.append(PersonalEntry(*m_activeID, channel));
    }
    return content.toVariant();
}

void LibraryModel::persistFavorites()
{
    QStringList list(m_favorites.begin(), m_favorites.end());
    list.sort();
    m_preferences.setValue(favoritesKey(), list);
    m_channelList->setFavorites(m_favorites);
    Q_EMIT favoritesChanged();
}

// --- sections and navigation --------------------------------------------------------------------------

RequestSlot::Ticket LibraryModel::navigate()
{
    return m_navigation.begin();
}

void LibraryModel::setFavoriteSection(Section section)
{
    publish(this, m_favoriteSection, section, &LibraryModel::favoriteSectionChanged);
}

void LibraryModel::selectSection(Section section)
{
    navigate();
    setSelectedPersonalListID(std::nullopt);
    setPersonalReturnID(std::nullopt);
    // Playback does not survive a change of section.
    if (section != m_section)
        stop();
    setSection(section);
    setFavoritesOnly(false);
    if (section != Section::live)
        m_catalog->open(catalogKindOf(section), false, std::nullopt, std::nullopt);
}

void LibraryModel::selectSection(const QString &section)
{
    if (const std::optional<Section> parsed = sectionFromRawValue(section))
        selectSection(*parsed);
}

void LibraryModel::showFavorites()
{
    navigate();
    setSelectedPersonalListID(std::nullopt);
    setPersonalReturnID(std::nullopt);
    stop();
    setFavoritesOnly(true);
}

void LibraryModel::refreshCurrentView()
{
    if (m_selectedPersonalListID)
        m_personalLists->setRefreshID(QUuid::createUuid());
    else if (!favoritesOnly() && m_section != Section::live)
        m_catalog->refresh();
    else
        retry();
}

void LibraryModel::openPersonalList(const QUuid &id)
{
    navigate();
    stop();
    setSelectedPersonalListID(id);
    setPersonalReturnID(std::nullopt);
    setFavoritesOnly(false);
}

void LibraryModel::openPersonalList(const QString &id)
{
    if (const std::optional<QUuid> uuid = uuidFromText(id))
        openPersonalList(*uuid);
}

void LibraryModel::openFavorite(const CatalogItem &item)
{
    openCatalog(sectionOf(item.kind), item, std::nullopt);
}

void LibraryModel::openCatalog(Section section, const std::optional<CatalogItem> &item,
                               const std::optional<QString> &category)
{
    navigate();
    setSelectedPersonalListID(std::nullopt);
    setPersonalReturnID(std::nullopt);
    stop();
    setSection(section);
    setFavoritesOnly(false);
    m_catalog->open(catalogKindOf(section), false, item, category);
}

void LibraryModel::whenActive(const PlaylistSource &source, RequestSlot::Ticket navigation,
                              std::function<void()> step)
{
    auto deferred = [navigation = std::move(navigation), step = std::move(step)] {
        // The user has navigated elsewhere (or the model is gone): the step is abandoned.
        if (navigation.isCurrent())
            step();
    };
    if (m_activeID == source.id)
        deferred();
    else
        load(source, false, false, std::move(deferred));
}

void LibraryModel::openPersonalEntry(const PersonalEntry &entry)
{
    const std::optional<PlaylistSource> source = m_connections->source(entry.sourceID());
    if (!source) {
        setNotice(u"La connexió original d’aquest contingut ja no està disponible. La llista personal no desa "
                  u"els vídeos ni les credencials."_s);
        return;
    }
    const std::optional<QUuid> returnList = m_selectedPersonalListID;
    whenActive(*source, navigate(), [this, entry, returnList] {
        if (const std::optional<CatalogItem> item = entry.catalogItem()) {
            openFavorite(*item);
        } else {
            const QList<Channel> &list = channels();
            const auto found = std::find_if(list.cbegin(), list.cend(),
                                            [&entry](const Channel &channel) { return channel.id() == entry.itemID(); });
            if (found == list.cend()) {
                setNotice(u"Aquest canal ja no apareix a la connexió original. Pot haver canviat d’adreça o haver "
                          u"estat retirat."_s);
                return;
            }
            const Channel channel = *found;
            selectSection(Section::live);
            setSearch(QString());
            setCategory(std::nullopt);
            play(channel, false);
        }
        setSelectedPersonalListID(std::nullopt);
        setPersonalReturnID(returnList);
    });
}

void LibraryModel::openPersonalCategory(const PersonalCategory &category)
{
    const std::optional<PlaylistSource> source = m_connections->source(category.sourceID());
    if (category.kind() == PersonalContentKind::live || !source) {
        setNotice(u"La connexió original d’aquesta agrupació ja no està disponible."_s);
        return;
    }
    const std::optional<QUuid> returnList = m_selectedPersonalListID;
    const Section section = category.kind() == PersonalContentKind::movies ? Section::movies : Section::series;
    whenActive(*source, navigate(), [this, section, categoryID = category.categoryID(), returnList] {
        stop();
        setSection(section);
        setFavoritesOnly(false);
        m_catalog->open(catalogKindOf(section), false, std::nullopt, categoryID);
        setSelectedPersonalListID(std::nullopt);
        setPersonalReturnID(returnList);
    });
}

// --- setters that publish only changes ---------------------------------------------------------------

void LibraryModel::setActiveID(const std::optional<QUuid> &id)
{
    publish(this, m_activeID, id, &LibraryModel::activeIDChanged);
}

void LibraryModel::setIsLoading(bool isLoading)
{
    publish(this, m_isLoading, isLoading, &LibraryModel::isLoadingChanged);
}

void LibraryModel::setNotice(const std::optional<QString> &notice)
{
    if (publish(this, m_notice, notice, &LibraryModel::noticeChanged) && notice)
        ++m_noticesShown;
}

void LibraryModel::setSection(Section section)
{
    publish(this, m_section, section, &LibraryModel::sectionChanged);
}

void LibraryModel::setSelectedPersonalListID(const std::optional<QUuid> &id)
{
    publish(this, m_selectedPersonalListID, id, &LibraryModel::selectedPersonalListIDChanged);
    updateSelectedPersonalListName();
}

void LibraryModel::updateSelectedPersonalListName()
{
    const auto list = m_selectedPersonalListID ? m_personalLists->list(*m_selectedPersonalListID) : std::nullopt;
    publish(this, m_selectedPersonalListName, list ? list->name() : QString(),
        &LibraryModel::selectedPersonalListNameChanged);
}

void LibraryModel::setPersonalReturnID(const std::optional<QUuid> &id)
{
    publish(this, m_personalReturnID, id, &LibraryModel::personalReturnIDChanged);
}






// --- what the views read --------------------------------------------------------------------------------

QVariantList LibraryModel::sourcesForViews() const
{
    return forViews(sources());
}

QVariantList LibraryModel::temporarySourcesForViews() const
{
    return forViews(temporarySources());
}

QVariant LibraryModel::activeSourceForViews() const
{
    const std::optional<PlaylistSource> source = activeSource();
    return source ? QVariant(forViews(*source)) : QVariant();
}

QVariant LibraryModel::editingSourceForViews() const
{
    return m_editingSource ? QVariant(forViews(*m_editingSource)) : QVariant();
}

QVariant LibraryModel::categoryForViews() const
{
    return category() ? QVariant(*category()) : QVariant();
}

void LibraryModel::setCategoryFromViews(const QVariant &category)
{
    setCategory(category.isValid() && !category.isNull() ? std::optional<QString>(category.toString())
                                                          : std::nullopt);
}

QString LibraryModel::activeIDText() const
{
    return textOf(m_activeID);
}

void LibraryModel::setFavoriteSectionText(const QString &section)
{
    if (const std::optional<Section> parsed = sectionFromRawValue(section))
        setFavoriteSection(*parsed);
}

QString LibraryModel::selectedPersonalListIDText() const
{
    return textOf(m_selectedPersonalListID);
}

QString LibraryModel::personalReturnIDText() const
{
    return textOf(m_personalReturnID);
}

