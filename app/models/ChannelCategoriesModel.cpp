#include "ChannelCategoriesModel.h"

#include "text/LocalizedText.h"

#include <algorithm>

ChannelCategoriesModel::ChannelCategoriesModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

int ChannelCategoriesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_categories.size());
}

QVariant ChannelCategoriesModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Category &category = m_categories.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return category.name;
    case ChannelCountRole:
        return category.channels;
    default:
        return {};
    }
}

QHash<int, QByteArray> ChannelCategoriesModel::roleNames() const
{
    return {{NameRole, "name"}, {ChannelCountRole, "channelCount"}};
}

QStringList ChannelCategoriesModel::names() const
{
    QStringList result;
    result.reserve(m_categories.size());
    for (const Category &category : m_categories)
        result.append(category.name);
    return result;
}

QList<ChannelCategoriesModel::Category> ChannelCategoriesModel::sortedForDisplay(QList<Category> categories)
{
    // Ties (names equal to the collator) fall back to plain code-point order, so the order is total.
    std::sort(categories.begin(), categories.end(), [](const Category &a, const Category &b) {
        const int order = LocalizedText::compare(a.name, b.name);
        return order != 0 ? order < 0 : a.name < b.name;
    });
    return categories;
}

void ChannelCategoriesModel::setCategories(QList<Category> categories)
{
    setSortedCategories(sortedForDisplay(std::move(categories)));
}

void ChannelCategoriesModel::setSortedCategories(QList<Category> categories)
{
    if (categories == m_categories)
        return;
    const int previousCount = count();
    beginResetModel();
    m_categories = std::move(categories);
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}
