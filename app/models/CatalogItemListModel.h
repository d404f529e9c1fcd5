#pragma once

#include "records/CatalogItem.h"
#include "text/LocalizedText.h"

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QUuid>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <vector>

class WatchHistory;

// The titles of the selected category as the grid shows them: those whose name contains the search
// (case- and diacritic-insensitive; all of them while the search is empty), newest first — titles
// added at the same second, and every title when sorting by title, in the order a person reads names,
// ties keeping the provider's order. Movies carry their watched mark from the watch history.
//
// Filled by CatalogModel. The visible list is rebuilt only when the titles, the search or the order
// change (names are folded and given sort keys once per list), and the view is reset only when the
// visible rows differ.
class CatalogItemListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Filled by the catalogue model.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        ItemIDRole = Qt::UserRole + 1,
        KindRole,
        NameRole,
        CategoryIDRole,
        PosterRole,
        YearRole,
        RatingRole,
        RatingLabelRole,
        PlotRole,
        AddedRole,
        WatchKeyRole,
        WatchedRole,
        // The title itself, for the operations that take one (favourites, personal lists).
        RecordRole,
    };
    Q_ENUM(Roles)

    explicit CatalogItemListModel(const WatchHistory &history, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_visible.size()); }
    const QList<CatalogItem> &visibleItems() const { return m_visible; }
    const CatalogItem &itemAt(int row) const { return m_visible.at(row); }

    void setItems(const QList<CatalogItem> &items);
    // Used as typed: a search of blanks only still filters.
    void setSearch(const QString &search);
    void setSortByTitle(bool sortByTitle);
    // The connection whose watch history keys the movies' marks; none while there is no connection.
    void setSource(const std::optional<QUuid> &source);

    // The rating as the grid writes it ("7.5"), or empty when it does not read as a number above 0.
    static QString ratingLabel(const QString &rating);
    // Every role of `item` by its role name, as the detail page reads the open title.
    QVariantMap describe(const CatalogItem &item) const;

Q_SIGNALS:
    void countChanged();

private:
    QVariant value(const CatalogItem &item, int role) const;
    QString watchKey(const CatalogItem &item) const;
    void refilter();
    void historyChanged();

    const WatchHistory &m_history;
    std::optional<QUuid> m_source;
    QList<CatalogItem> m_items;
    FoldedNameIndex m_names; // folded names of m_items, by row
    std::vector<QCollatorSortKey> m_sortKeys; // of m_items, by row
    QString m_search;
    bool m_sortByTitle = false;
    QList<CatalogItem> m_visible;
};
