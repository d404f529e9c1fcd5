#pragma once

#include "CatalogItem.h"

#include <QJsonObject>
#include <QUuid>

// A movie or series the user marked as a favourite, with the connection it came from. Keeps enough
// of the title to list and reopen it without the catalogue; not the poster nor the plot.
struct CatalogFavorite
{
    QUuid sourceID;
    QString itemID;
    CatalogKind kind = CatalogKind::movies;
    QString name;
    QString categoryID;
    QString year;
    QString rating;
    QString fileExtension;

    CatalogFavorite(const QUuid &sourceID, const CatalogItem &item);
    CatalogFavorite(QUuid sourceID, QString itemID, CatalogKind kind, QString name, QString categoryID,
                    QString year, QString rating, QString fileExtension);

    // UUID (upper case) ":" kind ":" itemID
    QString id() const;
    // The title rebuilt from the record: no poster, no plot, added 0.
    CatalogItem item() const;

    QJsonObject toJson() const;
    static CatalogFavorite fromJson(const QJsonObject &object); // throws JsonError

    friend bool operator==(const CatalogFavorite &, const CatalogFavorite &) = default;
};
