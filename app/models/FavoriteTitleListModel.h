#pragma once

#include "records/CatalogFavorite.h"

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

// The favourite movies or series of the active connection as the favourites browser shows them:
// those of the chosen kind whose name contains the search, sorted by name, each with the poster last
// seen for it. Filled by FavoritesModel; the view is reset only when the rows really differ, and a
// poster found later changes only that row.
class FavoriteTitleListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Filled by the favourites browser's model.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        RecordIDRole = Qt::UserRole + 1,
        SourceIDRole,
        ItemIDRole,
        KindRole,
        KindTitleRole,
        SymbolRole,
        NameRole,
        YearRole,
        RatingLabelRole,
        PosterRole,
        // The title rebuilt from the record (poster included), for the operations that take one.
        ItemRole,
    };
    Q_ENUM(Roles)

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_records.size()); }
    const QList<CatalogFavorite> &records() const { return m_records; }
    const CatalogFavorite &recordAt(int row) const { return m_records.at(row); }
    // The record's title with its poster, when one is known.
    CatalogItem itemAt(int row) const;

    void setRecords(QList<CatalogFavorite> records);
    // Favourite id → poster address, as the catalogue favourites store remembers them.
    void setArtwork(const QHash<QString, QUrl> &artwork);

Q_SIGNALS:
    void countChanged();

private:
    QList<CatalogFavorite> m_records;
    QHash<QString, QUrl> m_artwork;
};
