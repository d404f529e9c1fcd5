#include "PersonalListsModel.h"

#include "PersonalListContent.h"
#include "records/IPTVError.h"
#include "records/JsonFields.h"
#include "stores/PersonalLists.h"

using namespace Qt::StringLiterals;

PersonalListsModel::PersonalListsModel(PersonalLists &store, QObject *parent)
    : QAbstractListModel(parent)
    , m_store(store)
{
    connect(&store, &PersonalLists::listsChanged, this, &PersonalListsModel::storeChanged);
    storeChanged();
}

int PersonalListsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant PersonalListsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case ListIDRole:
        return JsonFields::canonicalUuid(row.id);
    case NameRole:
    case Qt::DisplayRole:
        return row.name;
    default:
        return {};
    }
}

QHash<int, QByteArray> PersonalListsModel::roleNames() const
{
    return {{ListIDRole, "listID"}, {NameRole, "name"}};
}

QUuid PersonalListsModel::idAt(int row) const
{
    return row >= 0 && row < count() ? m_rows.at(row).id : QUuid();
}

int PersonalListsModel::rowOf(const QUuid &id) const
{
    for (int row = 0; row < count(); ++row) {
        if (m_rows.at(row).id == id)
            return row;
    }
    return -1;
}

QVariantMap PersonalListsModel::create(const QString &name)
{
    try {
        return {{u"id"_s, JsonFields::canonicalUuid(m_store.create(name))}};
    } catch (const IPTVError &error) {
        return {{u"error"_s, error.message()}};
    }
}

QString PersonalListsModel::rename(const QString &id, const QString &name)
{
    try {
        m_store.rename(QUuid::fromString(id), name);
        return QString();
    } catch (const IPTVError &error) {
        return error.message();
    }
}

QString PersonalListsModel::nameOf(const QString &id) const
{
    const int row = rowOf(QUuid::fromString(id));
    return row < 0 ? QString() : m_rows.at(row).name;
}

QVariantMap PersonalListsModel::describe(const QVariant &content) const
{
    const PersonalListContent value = PersonalListContent::fromVariant(content);
    return {{u"isEmpty"_s, value.isEmpty()}, {u"compactLabel"_s, value.compactLabel()}};
}

void PersonalListsModel::storeChanged()
{
    QList<Row> rows;
    rows.reserve(m_store.lists().size());
    for (const PersonalList &list : m_store.lists())
        rows.append({list.id(), list.name()});
    if (rows == m_rows)
        return;
    const bool countChanges = rows.size() != m_rows.size();
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
    if (countChanges)
        Q_EMIT countChanged();
}
