#include "CatalogKind.h"

using namespace Qt::StringLiterals;

namespace CatalogKinds {

QString rawValue(CatalogKind kind)
{
    return kind == CatalogKind::movies ? u"movies"_s : u"series"_s;
}

std::optional<CatalogKind> fromRawValue(QStringView raw)
{
    if (raw == u"movies")
        return CatalogKind::movies;
    if (raw == u"series")
        return CatalogKind::series;
    return std::nullopt;
}

QString title(CatalogKind kind)
{
    return kind == CatalogKind::movies ? u"Pel·lícules"_s : u"Sèries"_s;
}

QString symbol(CatalogKind kind)
{
    return kind == CatalogKind::movies ? u"film"_s : u"tv"_s;
}

} // namespace CatalogKinds
