#include "CatalogFavorite.h"
#include "JsonFields.h"

using namespace Qt::StringLiterals;

CatalogFavorite::CatalogFavorite(const QUuid &sourceID, const CatalogItem &item)
    : CatalogFavorite(sourceID, item.id, item.kind, item.name, item.categoryID, item.year, item.rating,
                      item.fileExtension)
{
}

CatalogFavorite::CatalogFavorite(QUuid sourceID, QString itemID, CatalogKind kind, QString name,
                                 QString categoryID, QString year, QString rating, QString fileExtension)
    : sourceID(sourceID)
    , itemID(std::move(itemID))
    , kind(kind)
    , name(std::move(name))
    , categoryID(std::move(categoryID))
    , year(std::move(year))
    , rating(std::move(rating))
    , fileExtension(std::move(fileExtension))
{
}

QString CatalogFavorite::id() const
{
    return JsonFields::canonicalUuid(sourceID) + u':' + CatalogKinds::rawValue(kind) + u':' + itemID;
}

CatalogItem CatalogFavorite::item() const
{
    return CatalogItem{itemID, kind, name, categoryID, std::nullopt, year, rating, QString(), fileExtension, 0};
}

QJsonObject CatalogFavorite::toJson() const
{
    return QJsonObject{
        {"sourceID"_L1, JsonFields::canonicalUuid(sourceID)},
        {"itemID"_L1, itemID},
        {"kind"_L1, CatalogKinds::rawValue(kind)},
        {"name"_L1, name},
        {"categoryID"_L1, categoryID},
        {"year"_L1, year},
        {"rating"_L1, rating},
        {"fileExtension"_L1, fileExtension},
    };
}

CatalogFavorite CatalogFavorite::fromJson(const QJsonObject &object)
{
    const std::optional<CatalogKind> kind = CatalogKinds::fromRawValue(JsonFields::string(object, "kind"_L1));
    if (!kind)
        throw JsonError(u"key \"kind\": unknown catalogue kind"_s);
    return CatalogFavorite(JsonFields::uuid(object, "sourceID"_L1), JsonFields::string(object, "itemID"_L1), *kind,
                           JsonFields::string(object, "name"_L1), JsonFields::string(object, "categoryID"_L1),
                           JsonFields::string(object, "year"_L1), JsonFields::string(object, "rating"_L1),
                           JsonFields::string(object, "fileExtension"_L1));
}
