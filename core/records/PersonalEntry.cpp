#include "PersonalEntry.h"
#include "JsonFields.h"
#include "JsonWriter.h"

using namespace Qt::StringLiterals;

PersonalEntry::PersonalEntry(QUuid sourceID, PersonalContentKind kind, QString itemID, QString name,
                             QString categoryID, QString year, QString rating, QString fileExtension)
    : m_sourceID(sourceID)
    , m_kind(kind)
    , m_itemID(std::move(itemID))
    , m_name(std::move(name))
    , m_categoryID(std::move(categoryID))
    , m_year(std::move(year))
    , m_rating(std::move(rating))
    , m_fileExtension(std::move(fileExtension))
{
}

PersonalEntry::PersonalEntry(const QUuid &sourceID, const Channel &channel)
    : PersonalEntry(sourceID, PersonalContentKind::live, channel.id(), channel.name(), channel.group(), QString(),
                    QString(), QString())
{
}

PersonalEntry::PersonalEntry(const QUuid &sourceID, const CatalogItem &item)
    : PersonalEntry(sourceID, PersonalContentKinds::fromCatalogKind(item.kind), item.id, item.name,
                    item.categoryID, item.year, item.rating, item.fileExtension)
{
}

QString PersonalEntry::id() const
{
    return JsonFields::canonicalUuid(m_sourceID) + u':' + PersonalContentKinds::rawValue(m_kind) + u':' + m_itemID;
}

std::optional<CatalogItem> PersonalEntry::catalogItem() const
{
    if (m_kind == PersonalContentKind::live)
        return std::nullopt;
    const CatalogKind kind = m_kind == PersonalContentKind::movies ? CatalogKind::movies : CatalogKind::series;
    return CatalogItem{m_itemID, kind, m_name, m_categoryID, std::nullopt, m_year, m_rating, QString(),
                       m_fileExtension, 0};
}

QJsonObject PersonalEntry::toJson() const
{
    JsonWriter writer;
    write(writer);
    return writer.object();
}

void PersonalEntry::write(JsonWriter &writer) const
{
    writer.beginObject();
    writer.key("sourceID"_L1);
    writer.uuid(m_sourceID);
    writer.field("kind"_L1, PersonalContentKinds::rawValue(m_kind));
    writer.field("itemID"_L1, m_itemID);
    writer.field("name"_L1, m_name);
    writer.field("categoryID"_L1, m_categoryID);
    writer.field("year"_L1, m_year);
    writer.field("rating"_L1, m_rating);
    writer.field("fileExtension"_L1, m_fileExtension);
    writer.endObject();
}

PersonalEntry PersonalEntry::fromJson(const QJsonObject &object)
{
    const auto kind = PersonalContentKinds::fromRawValue(JsonFields::string(object, "kind"_L1));
    if (!kind)
        throw JsonError(u"key \"kind\": unknown content kind"_s);
    return PersonalEntry(JsonFields::uuid(object, "sourceID"_L1), *kind, JsonFields::string(object, "itemID"_L1),
                         JsonFields::string(object, "name"_L1), JsonFields::string(object, "categoryID"_L1),
                         JsonFields::string(object, "year"_L1), JsonFields::string(object, "rating"_L1),
                         JsonFields::string(object, "fileExtension"_L1));
}
