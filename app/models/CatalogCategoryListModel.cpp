#include "CatalogCategoryListModel.h"

#include "text/LocalizedText.h"

CatalogCategoryListModel::CatalogCategoryListModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

int CatalogCategoryListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant CatalogCategoryListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CatalogCategory &category = m_visible.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return category.name;
    case CategoryIDRole:
        return category.id;
    default:
        return {};
    }
}

QHash<int, QByteArray> CatalogCategoryListModel::roleNames() const
{
    return {{CategoryIDRole, "categoryID"}, {NameRole, "name"}};
}

void CatalogCategoryListModel::setCategories(const QList<CatalogCategory> &categories)
{
    if (categories == m_categories)
        return;
    m_categories = categories;
    refilter();
}

void CatalogCategoryListModel::setSearch(const QString &search)
{
    if (search == m_search)
        return;
    m_search = search;
    refilter();
}

void CatalogCategoryListModel::refilter()
{
    QList<CatalogCategory> visible;
    if (m_search.isEmpty()) {
        visible = m_categories;
    } else {
        // As every search: a query that folds to nothing (a lone accent) matches nothing.
        const QString query = LocalizedText::folded(m_search);
        for (const CatalogCategory &category : std::as_const(m_categories)) {
            if (!query.isEmpty() && LocalizedText::folded(category.name).contains(query))
                visible.append(category);
        }
    }
    if (visible == m_visible)
        return;
    const int previousCount = count();
    beginResetModel();
    m_visible = std::move(visible);
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}
