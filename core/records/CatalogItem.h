#pragma once

#include "CatalogKind.h"

#include <QString>
#include <QUrl>

#include <optional>

// One title of a catalogue category: a movie or a series.
struct CatalogItem
{
    QString id; // stream id (movies) or series id (series)
    CatalogKind kind = CatalogKind::movies;
    QString name;
    QString categoryID;
    std::optional<QUrl> poster;
    QString year;
    QString rating;
    QString plot;
    QString fileExtension;
    double added = 0; // seconds since 1970-01-01 UTC; 0 when unknown

    friend bool operator==(const CatalogItem &, const CatalogItem &) = default;
};
