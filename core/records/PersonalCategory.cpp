#include "PersonalCategory.h"
#include "JsonFields.h"
#include "JsonWriter.h"

using namespace Qt::StringLiterals;

PersonalCategory::PersonalCategory(QUuid sourceID, PersonalContentKind kind, QString categoryID, QString name)
    : m_sourceID(sourceID)
    , m_kind(kind)
    , m_categoryID(std::move(categoryID))
    , m_name(std::move(name))
{
}

QString PersonalCategory::id() const
{
    return JsonFields::canonicalUuid(m_sourceID) + u':' + PersonalContentKinds::rawValue(m_kind) + u':'
        + m_categoryID;
}

QJsonObject PersonalCategory::toJson() const
{
    JsonWriter writer;
    write(writer);
    return writer.object();
}

void PersonalCategory::write(JsonWriter &writer) const
{
    writer.beginObject();
    writer.key("sourceID"_L1);
    writer.uuid(m_sourceID);
    writer.field("kind"_L1, PersonalContentKinds::rawValue(m_kind));
    writer.field("categoryID"_L1, m_categoryID);
    writer.field("name"_L1, m_name);
    writer.endObject();
}

PersonalCategory PersonalCategory::fromJson(const QJsonObject &object)
{
    const auto kind = PersonalContentKinds::fromRawValue(JsonFields::string(object, "kind"_L1));
    if (!kind)
        throw JsonError(u"key \"kind\": unknown content kind"_s);
    return PersonalCategory(JsonFields::uuid(object, "sourceID"_L1), *kind,
                            JsonFields::string(object, "categoryID"_L1), JsonFields::string(object, "name"_L1));
}
