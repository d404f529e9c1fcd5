#pragma once

#include "records/CatalogCategory.h"

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QtQml/qqmlregistration.h>

// The categories of the catalogue as the category column shows them: those whose name contains the
// category search (case- and diacritic-insensitive), in the provider's order; all of them while the
// search is empty. Filled and searched by CatalogModel; the list is rebuilt only when the categories
// or the search change, and the view is reset only when the visible rows differ.
class CatalogCategoryListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Filled by the catalogue model.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        CategoryIDRole = Qt::UserRole + 1,
        NameRole,
    };
    Q_ENUM(Roles)

    explicit CatalogCategoryListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_visible.size()); }
    const QList<CatalogCategory> &visibleCategories() const { return m_visible; }
    const CatalogCategory &categoryAt(int row) const { return m_visible.at(row); }

    void setCategories(const QList<CatalogCategory> &categories);
    // Used as typed: a search of blanks only still filters.
    void setSearch(const QString &search);

Q_SIGNALS:
    void countChanged();

private:
    void refilter();

    QList<CatalogCategory> m_categories;
    QString m_search;
    QList<CatalogCategory> m_visible;
};
