#include "PersonalListBrowserModel.h"

#include "LibraryModel.h"
#include "PersonalListContent.h"
#include "Publish.h"
#include "records/JsonFields.h"
#include "stores/PersonalLists.h"
#include "text/LocalizedText.h"

#include <QAbstractListModel>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {
int indexOf(PersonalContentKind kind)
{
    switch (kind) {
    case PersonalContentKind::live:
        return 0;
    case PersonalContentKind::movies:
        return 1;
    case PersonalContentKind::series:
        return 2;
    }
    return 0;
}
} // namespace

// The channels or groups shown, as the browser's grid lists them.
class PersonalListBrowserModel::Items : public QAbstractListModel
{
public:
    enum Roles
    {
        ItemIDRole = Qt::UserRole + 1,
        NameRole,
        SourceNameRole,
        IsGroupRole,
        SelectedRole,
        ContentRole,
    };

    explicit Items(const PersonalListBrowserModel &browser)
        : m_browser(browser)
    {
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_browser.m_visible.size());
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
            return {};
        const Item &item = m_browser.m_visible.at(index.row());
        switch (role) {
        case ItemIDRole:
            return item.id;
        case NameRole:
        case Qt::DisplayRole:
            return item.name;
        case SourceNameRole:
            return m_browser.sourceName(item.sourceID);
        case IsGroupRole:
            return item.isGroup;
        case SelectedRole:
            return m_browser.m_selected.contains(item.id);
        case ContentRole: {
            PersonalListContent content;
            if (item.entry)
                content.entries.append(*item.entry);
            if (item.category)
                content.categories.append(*item.category);
            return content.toVariant();
        }
        default:
            return {};
        }
    }
    QHash<int, QByteArray> roleNames() const override
    {
        return {{ItemIDRole, "itemID"}, {NameRole, "name"}, {SourceNameRole, "sourceName"},
            {IsGroupRole, "isGroup"}, {SelectedRole, "selected"}, {ContentRole, "content"}};
    }

    void reset(const std::function<void()> &change)
    {
        beginResetModel();
        change();
        endResetModel();
    }
    void rolesChanged(const QList<int> &roles)
    {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0), index(rowCount() - 1), roles);
    }

private:
    const PersonalListBrowserModel &m_browser;
};

PersonalListBrowserModel::PersonalListBrowserModel(QObject *parent)
    : QObject(parent)
    , m_items(std::make_unique<Items>(*this))
{
}

PersonalListBrowserModel::~PersonalListBrowserModel() = default;

void PersonalListBrowserModel::setLibrary(LibraryModel *library)
{
    if (m_library == library)
        return;
    m_library = library;
    Q_EMIT libraryChanged();
    start();
}

QString PersonalListBrowserModel::listIDText() const
{
    return m_listID.isNull() ? QString() : JsonFields::canonicalUuid(m_listID);
}

void PersonalListBrowserModel::setListIDText(const QString &id)
{
    const QUuid uuid = QUuid::fromString(id);
    if (m_listID == uuid)
        return;
    m_listID = uuid;
    Q_EMIT listIDChanged();
    start();
}

// Once both the model and the list are known: the kind it reopens on, the observed store, and the
// first check of the linked groups.
void PersonalListBrowserModel::start()
{
    if (m_started || !m_library || m_listID.isNull())
        return;
    m_started = true;
    PersonalLists *store = m_library->personalLists();
    connect(store, &PersonalLists::listsChanged, this, &PersonalListBrowserModel::rebuild);
    connect(store, &PersonalLists::categoryEntriesChanged, this, &PersonalListBrowserModel::rebuild);
    connect(store, &PersonalLists::refreshIDChanged, this, &PersonalListBrowserModel::refresh);
    connect(m_library, &LibraryModel::sourcesChanged, this, &PersonalListBrowserModel::rebuild);
    connect(m_library, &LibraryModel::temporarySourcesChanged, this, &PersonalListBrowserModel::rebuild);

    std::optional<PersonalContentKind> kind = store->selectedKind(m_listID);
    if (!kind) {
        const std::optional<PersonalList> list = store->list(m_listID);
        const bool hasChannels = !store->entries(m_listID).isEmpty();
        const auto hasGroups = [&list](PersonalContentKind wanted) {
            return list && std::any_of(list->categories().cbegin(), list->categories().cend(),
                [wanted](const PersonalCategory &category) { return category.kind() == wanted; });
        };
        kind = hasChannels ? PersonalContentKind::live
            : hasGroups(PersonalContentKind::movies) ? PersonalContentKind::movies
            : hasGroups(PersonalContentKind::series) ? PersonalContentKind::series
                                                      : PersonalContentKind::live;
    }
    m_kind = *kind;
    Q_EMIT kindChanged();
    rebuild();
    refresh();
}

void PersonalListBrowserModel::setKindName(const QString &kind)
{
    if (const auto value = PersonalContentKinds::fromRawValue(kind))
        setKind(*value);
}

void PersonalListBrowserModel::setKindAt(int index)
{
    if (index >= 0 && index < 3)
        setKind(PersonalContentKinds::allCases[index]);
}

void PersonalListBrowserModel::setKind(PersonalContentKind kind)
{
    if (m_kind == kind)
        return;
    m_kind = kind;
    if (m_library && !m_listID.isNull())
        m_library->personalLists()->setSelectedKind(m_listID, kind);
    m_selected.clear();
    m_search.clear();
    Q_EMIT kindChanged();
    Q_EMIT searchChanged();
    rebuild();
    Q_EMIT selectionChanged();
}

QStringList PersonalListBrowserModel::kindLabels() const
{
    QStringList labels;
    for (const PersonalContentKind kind : PersonalContentKinds::allCases)
        labels.append(PersonalContentKinds::title(kind) + u" · "_s + QString::number(m_counts[indexOf(kind)]));
    return labels;
}

int PersonalListBrowserModel::kindIndex() const
{
    return indexOf(m_kind);
}

QString PersonalListBrowserModel::subtitle() const
{
    if (m_kind == PersonalContentKind::live)
        return u"Els teus canals de TV"_s;
    return u"Les teves agrupacions de "_s + PersonalContentKinds::title(m_kind).toLower()
        + u" · Obre una carpeta per veure’n el catàleg"_s;
}

QString PersonalListBrowserModel::searchPrompt() const
{
    return m_kind == PersonalContentKind::live ? u"Cerca un canal en aquesta llista"_s
                                               : u"Cerca una agrupació en aquesta llista"_s;
}

void PersonalListBrowserModel::setSearch(const QString &search)
{
    if (m_search == search)
        return;
    m_search = search;
    Q_EMIT searchChanged();
    rebuild();
}

QAbstractItemModel *PersonalListBrowserModel::items() const
{
    return m_items.get();
}

int PersonalListBrowserModel::visibleCount() const
{
    return int(m_visible.size());
}

QList<PersonalCategory> PersonalListBrowserModel::groups() const
{
    QList<PersonalCategory> groups;
    if (!m_library)
        return groups;
    if (const std::optional<PersonalList> list = m_library->personalLists()->list(m_listID)) {
        for (const PersonalCategory &category : list->categories()) {
            if (category.kind() != PersonalContentKind::live)
                groups.append(category);
        }
    }
    std::stable_sort(groups.begin(), groups.end(), [](const PersonalCategory &a, const PersonalCategory &b) {
        return LocalizedText::lessThan(a.name(), b.name());
    });
    return groups;
}

void PersonalListBrowserModel::rebuild()
{
    if (!m_library)
        return;
    const QList<PersonalEntry> channels = m_library->personalLists()->entries(m_listID);
    const QList<PersonalCategory> allGroups = groups();
    const auto matches = [this](const QString &name) {
        return m_search.isEmpty() || LocalizedText::contains(name, m_search);
    };

    QList<Item> visible;
    int counts[3] = {int(channels.size()), 0, 0};
    for (const PersonalCategory &group : allGroups) {
        ++counts[indexOf(group.kind())];
        if (group.kind() == m_kind && matches(group.name()))
            visible.append({group.id(), group.name(), group.sourceID(), true, std::nullopt, group});
    }
    if (m_kind == PersonalContentKind::live) {
        for (const PersonalEntry &entry : channels) {
            if (matches(entry.name()))
                visible.append({entry.id(), entry.name(), entry.sourceID(), false, entry, std::nullopt});
        }
    }
    m_items->reset([&] {
        m_visible = std::move(visible);
        std::copy(std::begin(counts), std::end(counts), std::begin(m_counts));
    });
    // Choices of items that are gone (removed, unlinked) are forgotten.
    QSet<QString> present;
    for (const PersonalEntry &entry : channels)
        present.insert(entry.id());
    for (const PersonalCategory &group : allGroups)
        present.insert(group.id());
    m_selected.intersect(present);
    Q_EMIT contentChanged();
    Q_EMIT selectionChanged();
}

QString PersonalListBrowserModel::sourceName(const QUuid &source) const
{
    if (m_library) {
        for (const PlaylistSource &candidate : m_library->allSources()) {
            if (candidate.id == source)
                return candidate.name;
        }
    }
    return u"Connexió no disponible"_s;
}

void PersonalListBrowserModel::toggleSelectionMode()
{
    m_selectionMode = !m_selectionMode;
    m_selected.clear();
    Q_EMIT selectionModeChanged();
    selectionEdited();
}

void PersonalListBrowserModel::selectVisible()
{
    for (const Item &item : std::as_const(m_visible))
        m_selected.insert(item.id);
    selectionEdited();
}

void PersonalListBrowserModel::setSelectedAt(int row, bool selected)
{
    if (row < 0 || row >= m_visible.size())
        return;
    if (selected)
        m_selected.insert(m_visible.at(row).id);
    else
        m_selected.remove(m_visible.at(row).id);
    selectionEdited();
}

QList<PersonalEntry> PersonalListBrowserModel::chosenChannels() const
{
    QList<PersonalEntry> chosen;
    if (!m_library)
        return chosen;
    for (const PersonalEntry &entry : m_library->personalLists()->entries(m_listID)) {
        if (m_selected.contains(entry.id()))
            chosen.append(entry);
    }
    return chosen;
}

QList<PersonalCategory> PersonalListBrowserModel::chosenGroups() const
{
    QList<PersonalCategory> chosen;
    for (const PersonalCategory &group : groups()) {
        if (group.kind() == m_kind && m_selected.contains(group.id()))
            chosen.append(group);
    }
    return chosen;
}

int PersonalListBrowserModel::chosenCount() const
{
    return int(chosenChannels().size() + chosenGroups().size());
}

QVariant PersonalListBrowserModel::chosenContent() const
{
    return PersonalListContent{chosenChannels(), chosenGroups()}.toVariant();
}

QString PersonalListBrowserModel::emptyTitle() const
{
    if (!m_visible.isEmpty() || m_loading)
        return QString();
    if (!m_search.isEmpty())
        return u"Cap resultat"_s;
    return m_kind == PersonalContentKind::live ? u"Afegeix canals a la teva llista"_s
                                               : u"Afegeix agrupacions a la teva llista"_s;
}

QString PersonalListBrowserModel::emptyDescription() const
{
    if (emptyTitle().isEmpty())
        return QString();
    if (!m_search.isEmpty())
        return u"Prova una altra cerca o tipus de contingut."_s;
    return u"Des de TV en directe pots afegir canals. A Sèries o Pel·lícules, obre una categoria i prem «Afegeix "
           u"aquesta agrupació a una llista…»."_s;
}

void PersonalListBrowserModel::removeChosen()
{
    if (!m_library)
        return;
    PersonalLists *store = m_library->personalLists();
    const QList<PersonalEntry> channels = chosenChannels();
    const QList<PersonalCategory> groups = chosenGroups();
    for (const PersonalEntry &entry : channels)
        store->remove(entry, m_listID);
    for (const PersonalCategory &group : groups)
        store->unlink(group, m_listID);
    m_selected.clear();
    selectionEdited();
}

void PersonalListBrowserModel::removeAt(int row)
{
    if (!m_library || row < 0 || row >= m_visible.size())
        return;
    const Item item = m_visible.at(row);
    if (item.entry)
        m_library->personalLists()->remove(*item.entry, m_listID);
    else if (item.category)
        m_library->personalLists()->unlink(*item.category, m_listID);
}

void PersonalListBrowserModel::openAt(int row)
{
    if (!m_library || row < 0 || row >= m_visible.size())
        return;
    const Item item = m_visible.at(row);
    if (item.entry)
        m_library->openPersonalEntry(*item.entry);
    else if (item.category)
        m_library->openPersonalCategory(*item.category);
}

void PersonalListBrowserModel::retry()
{
    if (m_library)
        m_library->personalLists()->setRefreshID(QUuid::createUuid());
}

void PersonalListBrowserModel::deleteList()
{
    if (!m_library)
        return;
    const QUuid list = m_listID;
    m_refresh.invalidate();
    m_library->personalLists()->deleteList(list);
    m_library->selectSection(LibraryModel::Section::live);
}

void PersonalListBrowserModel::refresh()
{
    if (m_library && !m_listID.isNull())
        runRefresh(m_refresh.begin());
}

QCoro::Task<> PersonalListBrowserModel::runRefresh(RequestSlot::Ticket ticket)
{
    setLoading(true);
    QPointer<LibraryModel> library = m_library;
    const QStringList failures
        = co_await library->personalLists()->refresh(m_listID, library->allSources(), ticket.cancellation());
    // A newer check (or this browser's end) has taken over: it sets both.
    if (!ticket.isCurrent())
        co_return;
    setFailures(failures);
    setLoading(false);
}

void PersonalListBrowserModel::selectionEdited()
{
    m_items->rolesChanged({Items::SelectedRole});
    Q_EMIT selectionChanged();
}

void PersonalListBrowserModel::setLoading(bool loading)
{
    if (publish(this, m_loading, loading, &PersonalListBrowserModel::loadingChanged))
        Q_EMIT contentChanged();
}

void PersonalListBrowserModel::setFailures(const QStringList &failures)
{
    publish(this, m_failures, failures, &PersonalListBrowserModel::failuresChanged);
}
