#include "PersonalGroupSelection.h"

#include "CatalogModel.h"
#include "ChannelCategoriesModel.h"
#include "LibraryModel.h"
#include "PersonalListsModel.h"
#include "records/PersonalEntry.h"
#include "stores/PersonalLists.h"
#include "text/LocalizedText.h"

#include <QAbstractListModel>

using namespace Qt::StringLiterals;

// The groups the search lets through, as the sheet's list shows them.
class PersonalGroupSelection::Rows : public QAbstractListModel
{
public:
    enum Roles
    {
        GroupIDRole = Qt::UserRole + 1,
        NameRole,
        SelectedRole,
    };

    explicit Rows(const PersonalGroupSelection &selection)
        : m_selection(selection)
    {
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : m_selection.visibleCount();
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
            return {};
        const PersonalCategory &group = m_selection.m_available.at(m_selection.m_visible.at(index.row()));
        switch (role) {
        case GroupIDRole:
            return group.id();
        case NameRole:
        case Qt::DisplayRole:
            return group.name();
        case SelectedRole:
            return m_selection.m_selected.contains(group.id());
        default:
            return {};
        }
    }
    QHash<int, QByteArray> roleNames() const override
    {
        return {{GroupIDRole, "groupID"}, {NameRole, "name"}, {SelectedRole, "selected"}};
    }

    void reset(const std::function<void()> &change)
    {
        beginResetModel();
        change();
        endResetModel();
    }
    void selectionChanged()
    {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0), index(rowCount() - 1), {SelectedRole});
    }

private:
    const PersonalGroupSelection &m_selection;
};

PersonalGroupSelection::PersonalGroupSelection(QObject *parent)
    : PersonalListDestination(parent)
    , m_rows(std::make_unique<Rows>(*this))
{
}

PersonalGroupSelection::~PersonalGroupSelection() = default;

QAbstractItemModel *PersonalGroupSelection::groups() const
{
    return m_rows.get();
}

void PersonalGroupSelection::offerLiveGroups(LibraryModel *library)
{
    if (!library || !library->activeID()) {
        offer({}, PersonalContentKind::live, {}, {});
        return;
    }
    const QUuid source = *library->activeID();
    QList<PersonalCategory> groups;
    for (const QString &name : library->categories()->names())
        groups.append(PersonalCategory(source, PersonalContentKind::live, name, name));
    offer(source, PersonalContentKind::live, groups, library->channels());
}

void PersonalGroupSelection::offerCatalogGroups(CatalogModel *catalog)
{
    const PersonalContentKind kind = PersonalContentKinds::fromCatalogKind(catalog ? catalog->kind() : CatalogKind::movies);
    if (!catalog || !catalog->source()) {
        offer({}, kind, {}, {});
        return;
    }
    const QUuid source = catalog->source()->id;
    QList<PersonalCategory> groups;
    for (const CatalogCategory &category : catalog->categories())
        groups.append(PersonalCategory(source, kind, category.id, category.name));
    offer(source, kind, groups, {});
}

void PersonalGroupSelection::offer(const QUuid &source, PersonalContentKind kind,
    const QList<PersonalCategory> &groups, const QList<Channel> &channels)
{
    m_rows->reset([&] {
        m_source = source;
        m_kind = kind;
        m_available.clear();
        for (const PersonalCategory &group : groups) {
            if (group.sourceID() == source && group.kind() == kind)
                m_available.append(group);
        }
        m_channels = kind == PersonalContentKind::live ? channels : QList<Channel>();
        m_channelsPerGroup.clear();
        for (const Channel &channel : std::as_const(m_channels))
            ++m_channelsPerGroup[channel.group()];
        m_selected.clear();
        m_search.clear();
        m_visible.clear();
        for (int row = 0; row < m_available.size(); ++row)
            m_visible.append(row);
    });
    Q_EMIT offerChanged();
    Q_EMIT searchChanged();
    selectionEdited();
}

QString PersonalGroupSelection::title() const
{
    return u"Agrupacions de "_s + PersonalContentKinds::title(m_kind).toLower();
}

QString PersonalGroupSelection::explanation() const
{
    if (m_kind == PersonalContentKind::live)
        return u"Tria diverses agrupacions per afegir tots els seus canals a una llista personal."_s;
    return u"Tria diverses agrupacions per afegir-les com a carpetes a una llista personal."_s;
}

void PersonalGroupSelection::setSearch(const QString &search)
{
    if (m_search == search)
        return;
    m_rows->reset([&] {
        m_search = search;
        refilter();
    });
    Q_EMIT searchChanged();
    Q_EMIT selectionChanged();
}

bool PersonalGroupSelection::isVisible(const PersonalCategory &group) const
{
    return m_search.isEmpty() || LocalizedText::contains(group.name(), m_search);
}

void PersonalGroupSelection::refilter()
{
    m_visible.clear();
    for (int row = 0; row < m_available.size(); ++row) {
        if (isVisible(m_available.at(row)))
            m_visible.append(row);
    }
}

int PersonalGroupSelection::chosenCount() const
{
    int count = 0;
    for (const PersonalCategory &group : m_available)
        count += m_selected.contains(group.id()) ? 1 : 0;
    return count;
}

int PersonalGroupSelection::chosenChannelCount() const
{
    if (m_kind != PersonalContentKind::live)
        return 0;
    int count = 0;
    for (const PersonalCategory &group : m_available) {
        if (m_selected.contains(group.id()))
            count += m_channelsPerGroup.value(group.categoryID());
    }
    return count;
}

QString PersonalGroupSelection::summary() const
{
    QString text = QString::number(chosenCount()) + u" agrupacions seleccionades"_s;
    if (m_kind == PersonalContentKind::live)
        text += u" · "_s + QString::number(chosenChannelCount()) + u" canals"_s;
    return text;
}

bool PersonalGroupSelection::selectionHidden() const
{
    if (m_search.isEmpty())
        return false;
    for (const PersonalCategory &group : m_available) {
        if (m_selected.contains(group.id()) && !isVisible(group))
            return true;
    }
    return false;
}

void PersonalGroupSelection::selectVisible()
{
    for (int row : std::as_const(m_visible))
        m_selected.insert(m_available.at(row).id());
    selectionEdited();
}

void PersonalGroupSelection::deselectAll()
{
    m_selected.clear();
    selectionEdited();
}

void PersonalGroupSelection::setSelected(int row, bool selected)
{
    if (row < 0 || row >= m_visible.size())
        return;
    const QString id = m_available.at(m_visible.at(row)).id();
    if (selected)
        m_selected.insert(id);
    else
        m_selected.remove(id);
    selectionEdited();
}

QList<PersonalCategory> PersonalGroupSelection::chosen() const
{
    QList<PersonalCategory> groups;
    for (const PersonalCategory &group : m_available) {
        if (m_selected.contains(group.id()))
            groups.append(group);
    }
    return groups;
}

QList<PersonalEntry> PersonalGroupSelection::chosenChannels() const
{
    QList<PersonalEntry> entries;
    if (m_kind != PersonalContentKind::live)
        return entries;
    QSet<QString> groups;
    for (const PersonalCategory &group : chosen())
        groups.insert(group.categoryID());
    for (const Channel &channel : m_channels) {
        if (groups.contains(channel.group()))
            entries.append(PersonalEntry(m_source, channel));
    }
    return entries;
}

void PersonalGroupSelection::addTo(const QUuid &list)
{
    if (m_kind == PersonalContentKind::live)
        lists()->store().add(chosenChannels(), {}, list);
    else
        lists()->store().add({}, chosen(), list);
}

void PersonalGroupSelection::selectionEdited()
{
    m_rows->selectionChanged();
    Q_EMIT selectionChanged();
    updateCanAdd();
}
