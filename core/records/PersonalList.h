#pragma once

#include "PersonalCategory.h"
#include "PersonalEntry.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QUuid>

class JsonWriter;

// A user-made list gathering single live channels and linked provider groups from any connection.
// It holds references only; what a linked group currently contains is supplied when resolving.
class PersonalList
{
public:
    PersonalList(QUuid id, QString name);

    const QUuid &id() const { return m_id; }
    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    const QList<PersonalEntry> &entries() const { return m_entries; }
    const QList<PersonalCategory> &categories() const { return m_categories; }
    const QSet<QString> &excludedIDs() const { return m_excludedIDs; }

    // Appends entries not already present and lifts their exclusion.
    void add(const QList<PersonalEntry> &entries);
    // Drops the entry and excludes its id, so a member of a linked group disappears too.
    void remove(const PersonalEntry &entry);
    void link(const PersonalCategory &category);
    void unlink(const PersonalCategory &category);
    // Replaces the linked category with the same id (to refresh its name).
    void updateCategory(const PersonalCategory &category);
    void restoreExcluded();
    // Turns single movie and series entries of the older format into linked groups.
    void migrateCatalogEntriesToGroups();

    // The entries the list shows: its own entries and the current members of its linked groups
    // (`categoryEntries` maps a category id to them), less the excluded ones, sorted by name.
    QList<PersonalEntry> resolved(const QHash<QString, QList<PersonalEntry>> &categoryEntries) const;

    QJsonObject toJson() const;
    // The same object, written into `writer` with the keys in their stored order.
    void write(JsonWriter &writer) const;
    static PersonalList fromJson(const QJsonObject &object); // throws JsonError

    friend bool operator==(const PersonalList &, const PersonalList &) = default;

private:
    QUuid m_id;
    QString m_name;
    QList<PersonalEntry> m_entries;
    QList<PersonalCategory> m_categories;
    QSet<QString> m_excludedIDs;
};
