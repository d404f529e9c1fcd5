#include "PersonalList.h"
#include "JsonFields.h"
#include "JsonWriter.h"
#include "text/LocalizedText.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

PersonalList::PersonalList(QUuid id, QString name)
    : m_id(id)
    , m_name(std::move(name))
{
}

namespace {
// An entry's identity without building its id text: equal keys exactly when the ids are equal.
struct EntryKey
{
    QUuid source;
    PersonalContentKind kind;
    QStringView item;

    explicit EntryKey(const PersonalEntry &entry)
        : source(entry.sourceID())
        , kind(entry.kind())
        , item(entry.itemID())
    {
    }
    friend bool operator==(const EntryKey &, const EntryKey &) = default;
};

size_t qHash(const EntryKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.source, int(key.kind), key.item);
}
} // namespace

void PersonalList::add(const QList<PersonalEntry> &entries)
{
    m_entries.reserve(m_entries.size() + entries.size());
    // The keys point into the texts of the entries, which outlive this call.
    QSet<EntryKey> present;
    present.reserve(m_entries.size() + entries.size());
    for (const PersonalEntry &entry : std::as_const(m_entries))
        present.insert(EntryKey(entry));
    for (const PersonalEntry &entry : entries) {
        if (!m_excludedIDs.isEmpty())
            m_excludedIDs.remove(entry.id());
        const EntryKey key(entry);
        if (!present.contains(key)) {
            present.insert(key);
            m_entries.append(entry);
        }
    }
}

void PersonalList::remove(const PersonalEntry &entry)
{
    const QString id = entry.id();
    m_entries.removeIf([&id](const PersonalEntry &candidate) { return candidate.id() == id; });
    m_excludedIDs.insert(id);
}

void PersonalList::link(const PersonalCategory &category)
{
    const QString id = category.id();
    const bool linked = std::any_of(m_categories.cbegin(), m_categories.cend(),
                                    [&id](const PersonalCategory &candidate) { return candidate.id() == id; });
    if (!linked)
        m_categories.append(category);
}

void PersonalList::unlink(const PersonalCategory &category)
{
    const QString id = category.id();
    m_categories.removeIf([&id](const PersonalCategory &candidate) { return candidate.id() == id; });
}

void PersonalList::updateCategory(const PersonalCategory &category)
{
    const QString id = category.id();
    const auto it = std::find_if(m_categories.begin(), m_categories.end(),
                                 [&id](const PersonalCategory &candidate) { return candidate.id() == id; });
    if (it != m_categories.end())
        *it = category;
}

void PersonalList::restoreExcluded()
{
    m_excludedIDs.clear();
}

void PersonalList::migrateCatalogEntriesToGroups()
{
    for (const PersonalEntry &entry : std::as_const(m_entries)) {
        if (entry.kind() == PersonalContentKind::live)
            continue;
        const QString name = "Categoria de "_L1 + PersonalContentKinds::title(entry.kind()).toLower() + u" · "_s
            + entry.categoryID();
        link(PersonalCategory(entry.sourceID(), entry.kind(), entry.categoryID(), name));
    }
    m_entries.removeIf([](const PersonalEntry &entry) { return entry.kind() != PersonalContentKind::live; });
    m_excludedIDs.removeIf([](const QString &id) { return !id.contains(":live:"_L1); });
}

QList<PersonalEntry> PersonalList::resolved(const QHash<QString, QList<PersonalEntry>> &categoryEntries) const
{
    // Keyed by entry id, remembering the first position so that the result does not depend on
    // hash order before sorting; later members replace earlier ones under the same id.
    QHash<QString, qsizetype> positionOfID;
    QList<std::pair<QString, PersonalEntry>> byID;
    const auto store = [&](const PersonalEntry &entry) {
        QString id = entry.id();
        const auto it = positionOfID.constFind(id);
        if (it != positionOfID.constEnd()) {
            byID[*it].second = entry;
        } else {
            positionOfID.insert(id, byID.size());
            byID.append({std::move(id), entry});
        }
    };
    for (const PersonalEntry &entry : m_entries)
        store(entry);
    for (const PersonalCategory &category : m_categories) {
        const auto members = categoryEntries.constFind(category.id());
        if (members == categoryEntries.constEnd())
            continue;
        for (const PersonalEntry &member : *members) {
            if (member.sourceID() == category.sourceID() && member.kind() == category.kind())
                store(member);
        }
    }
    byID.removeIf([this](const std::pair<QString, PersonalEntry> &item) { return m_excludedIDs.contains(item.first); });
    std::sort(byID.begin(), byID.end(), [](const auto &a, const auto &b) {
        const int order = LocalizedText::compare(a.second.name(), b.second.name());
        return order != 0 ? order < 0 : a.first < b.first;
    });
    QList<PersonalEntry> result;
    result.reserve(byID.size());
    for (auto &item : byID)
        result.append(std::move(item.second));
    return result;
}

QJsonObject PersonalList::toJson() const
{
    JsonWriter writer;
    write(writer);
    return writer.object();
}

void PersonalList::write(JsonWriter &writer) const
{
    writer.beginObject();
    writer.key("id"_L1);
    writer.uuid(m_id);
    writer.field("name"_L1, m_name);
    writer.key("entries"_L1);
    writer.beginArray();
    for (const PersonalEntry &entry : m_entries)
        entry.write(writer);
    writer.endArray();
    writer.key("categories"_L1);
    writer.beginArray();
    for (const PersonalCategory &category : m_categories)
        category.write(writer);
    writer.endArray();
    QStringList excluded(m_excludedIDs.cbegin(), m_excludedIDs.cend());
    excluded.sort(); // a set: sorted only so that saving the same list writes the same bytes
    writer.key("excludedIDs"_L1);
    writer.beginArray();
    for (const QString &id : std::as_const(excluded))
        writer.string(id);
    writer.endArray();
    writer.endObject();
}

PersonalList PersonalList::fromJson(const QJsonObject &object)
{
    PersonalList list(JsonFields::uuid(object, "id"_L1), JsonFields::string(object, "name"_L1));
    for (const QJsonValue &value : JsonFields::array(object, "entries"_L1))
        list.m_entries.append(PersonalEntry::fromJson(JsonFields::object(value, "entries"_L1)));
    for (const QJsonValue &value : JsonFields::array(object, "categories"_L1))
        list.m_categories.append(PersonalCategory::fromJson(JsonFields::object(value, "categories"_L1)));
    for (const QJsonValue &value : JsonFields::array(object, "excludedIDs"_L1)) {
        if (!value.isString())
            throw JsonError(u"key \"excludedIDs\": expected strings"_s);
        list.m_excludedIDs.insert(value.toString());
    }
    return list;
}
