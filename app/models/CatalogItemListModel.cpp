#include "CatalogItemListModel.h"

#include "records/WatchProgress.h"
#include "stores/WatchHistory.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {
// The added time as it orders titles: an unreadable (NaN) time counts as unknown, like 0, so that the
// order stays total.
double addedForOrder(double added)
{
    return std::isnan(added) ? 0.0 : added;
}
} // namespace

CatalogItemListModel::CatalogItemListModel(const WatchHistory &history, QObject *parent)
    : QAbstractListModel(parent)
    , m_history(history)
{
    connect(&history, &WatchHistory::recordsChanged, this, &CatalogItemListModel::historyChanged);
}

int CatalogItemListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant CatalogItemListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return value(m_visible.at(index.row()), role == Qt::DisplayRole ? int(NameRole) : role);
}

QHash<int, QByteArray> CatalogItemListModel::roleNames() const
{
    return {
        {ItemIDRole, "itemID"},
        {KindRole, "kind"},
        {NameRole, "name"},
        {CategoryIDRole, "categoryID"},
        {PosterRole, "poster"},
        {YearRole, "year"},
        {RatingRole, "rating"},
        {RatingLabelRole, "ratingLabel"},
        {PlotRole, "plot"},
        {AddedRole, "added"},
        {WatchKeyRole, "watchKey"},
        {WatchedRole, "watched"},
        {RecordRole, "record"},
    };
}

QVariant CatalogItemListModel::value(const CatalogItem &item, int role) const
{
    switch (role) {
    case ItemIDRole:
        return item.id;
    case KindRole:
        return CatalogKinds::rawValue(item.kind);
    case NameRole:
        return item.name;
    case CategoryIDRole:
        return item.categoryID;
    case PosterRole:
        return item.poster.value_or(QUrl());
    case YearRole:
        return item.year;
    case RatingRole:
        return item.rating;
    case RatingLabelRole:
        return ratingLabel(item.rating);
    case PlotRole:
        return item.plot;
    case AddedRole:
        return item.added;
    case WatchKeyRole:
        return watchKey(item);
    case RecordRole:
        return QVariant::fromValue(item);
    case WatchedRole: {
        // A series as a whole has no record: only its episodes do.
        if (item.kind != CatalogKind::movies)
            return false;
        const QString key = watchKey(item);
        const auto record = key.isEmpty() ? std::nullopt : m_history.record(key);
        return record && record->watched;
    }
    default:
        return {};
    }
}

QVariantMap CatalogItemListModel::describe(const CatalogItem &item) const
{
    QVariantMap map;
    const QHash<int, QByteArray> names = roleNames();
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        map.insert(QString::fromLatin1(it.value()), value(item, it.key()));
    return map;
}

QString CatalogItemListModel::watchKey(const CatalogItem &item) const
{
    return m_source ? WatchProgress::key(*m_source, item.kind, item.id) : QString();
}

QString CatalogItemListModel::ratingLabel(const QString &rating)
{
    bool ok = false;
    const double value = rating.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value) || value <= 0)
        return QString();
    return QString::number(value, 'f', 1);
}

void CatalogItemListModel::setItems(const QList<CatalogItem> &items)
{
    if (items == m_items)
        return;
    m_items = items;
    m_names.clear();
    m_sortKeys.clear();
    m_sortKeys.reserve(std::size_t(m_items.size()));
    for (const CatalogItem &item : std::as_const(m_items)) {
        m_names.append(item.name);
        m_sortKeys.push_back(LocalizedText::sortKey(item.name));
    }
    refilter();
}

void CatalogItemListModel::setSearch(const QString &search)
{
    if (search == m_search)
        return;
    m_search = search;
    refilter();
}

void CatalogItemListModel::setSortByTitle(bool sortByTitle)
{
    if (sortByTitle == m_sortByTitle)
        return;
    m_sortByTitle = sortByTitle;
    refilter();
}

void CatalogItemListModel::setSource(const std::optional<QUuid> &source)
{
    if (source == m_source)
        return;
    m_source = source;
    if (!m_visible.isEmpty())
        Q_EMIT dataChanged(index(0), index(count() - 1), {WatchKeyRole, WatchedRole});
}

void CatalogItemListModel::refilter()
{
    std::vector<qsizetype> rows;
    if (m_search.isEmpty()) {
        rows.resize(std::size_t(m_items.size()));
        for (std::size_t row = 0; row < rows.size(); ++row)
            rows[row] = qsizetype(row);
    } else {
        const QList<qsizetype> matching = m_names.rowsMatching(m_search);
        rows.assign(matching.cbegin(), matching.cend());
    }
    // Stable: titles equal under the rule keep the provider's order.
    std::stable_sort(rows.begin(), rows.end(), [this](qsizetype a, qsizetype b) {
        const CatalogItem &first = m_items.at(a);
        const CatalogItem &second = m_items.at(b);
        const double firstAdded = addedForOrder(first.added);
        const double secondAdded = addedForOrder(second.added);
        if (!m_sortByTitle && firstAdded != secondAdded)
            return firstAdded > secondAdded;
        return m_sortKeys[std::size_t(a)].compare(m_sortKeys[std::size_t(b)]) < 0;
    });
    QList<CatalogItem> visible;
    visible.reserve(qsizetype(rows.size()));
    for (const qsizetype row : rows)
        visible.append(m_items.at(row));
    if (visible == m_visible)
        return;
    const int previousCount = count();
    beginResetModel();
    m_visible = std::move(visible);
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}

void CatalogItemListModel::historyChanged()
{
    if (!m_visible.isEmpty())
        Q_EMIT dataChanged(index(0), index(count() - 1), {WatchedRole});
}
