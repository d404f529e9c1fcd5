#pragma once

#include <QString>

// A provider category of movies or of series.
struct CatalogCategory
{
    QString id; // the provider's category id (ASCII digits)
    QString name;

    friend bool operator==(const CatalogCategory &, const CatalogCategory &) = default;
};
