#include "FavoriteTitleListModel.h"

#include "CatalogItemListModel.h"
#include "records/JsonFields.h"

int FavoriteTitleListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

CatalogItem FavoriteTitleListModel::itemAt(int row) const
{
    const CatalogFavorite &record = m_records.at(row);
    CatalogItem item = record.item();
    const auto poster = m_artwork.constFind(record.id());
    if (poster != m_artwork.cend())
        item.poster = *poster;
    return item;
}

QVariant FavoriteTitleListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CatalogFavorite &record = m_records.at(index.row());
    switch (role) {
    case RecordIDRole:
        return record.id();
    case SourceIDRole:
        return JsonFields::canonicalUuid(record.sourceID);
    case ItemIDRole:
        return record.itemID;
    case KindRole:
        return CatalogKinds::rawValue(record.kind);
    case KindTitleRole:
        return CatalogKinds::title(record.kind);
    case SymbolRole:
        return CatalogKinds::symbol(record.kind);
    case Qt::DisplayRole:
    case NameRole:
        return record.name;
    case YearRole:
        return record.year;
    case RatingLabelRole:
        return CatalogItemListModel::ratingLabel(record.rating);
    case PosterRole:
        return m_artwork.value(record.id()).toString();
    case ItemRole:
        return QVariant::fromValue(itemAt(index.row()));
    default:
        return {};
    }
}

QHash<int, QByteArray> FavoriteTitleListModel::roleNames() const
{
    return {
        {RecordIDRole, "recordID"},
        {SourceIDRole, "sourceID"},
        {ItemIDRole, "itemID"},
        {KindRole, "kind"},
        {KindTitleRole, "kindTitle"},
        {SymbolRole, "symbol"},
        {NameRole, "name"},
        {YearRole, "year"},
        {RatingLabelRole, "ratingLabel"},
        {PosterRole, "poster"},
        {ItemRole, "item"},
    };
}

void FavoriteTitleListModel::setRecords(QList<CatalogFavorite> records)
{
    if (records == m_records)
        return;
    const int previousCount = count();
    beginResetModel();
    m_records = std::move(records);
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}

void FavoriteTitleListModel::setArtwork(const QHash<QString, QUrl> &artwork)
{
    if (artwork == m_artwork)
        return;
    const QHash<QString, QUrl> previous = std::exchange(m_artwork, artwork);
    for (int row = 0; row < count(); ++row) {
        const QString id = m_records.at(row).id();
        if (previous.value(id) != m_artwork.value(id))
            Q_EMIT dataChanged(index(row), index(row), {PosterRole, ItemRole});
    }
}
