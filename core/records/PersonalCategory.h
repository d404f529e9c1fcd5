#pragma once

#include "PersonalContentKind.h"

#include <QJsonObject>
#include <QUuid>

class JsonWriter;

// A provider group linked into a personal list and shown there as a folder.
class PersonalCategory
{
public:
    PersonalCategory(QUuid sourceID, PersonalContentKind kind, QString categoryID, QString name);

    const QUuid &sourceID() const { return m_sourceID; }
    PersonalContentKind kind() const { return m_kind; }
    // For live channels the channel group text; for movies and series the provider's category id.
    const QString &categoryID() const { return m_categoryID; }
    const QString &name() const { return m_name; }

    // UUID (upper case) ":" kind ":" categoryID
    QString id() const;

    QJsonObject toJson() const;
    // The same object, written into `writer` with the keys in their stored order.
    void write(JsonWriter &writer) const;
    static PersonalCategory fromJson(const QJsonObject &object); // throws JsonError

    friend bool operator==(const PersonalCategory &, const PersonalCategory &) = default;

private:
    QUuid m_sourceID;
    PersonalContentKind m_kind;
    QString m_categoryID;
    QString m_name;
};
