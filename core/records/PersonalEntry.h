#pragma once

#include "CatalogItem.h"
#include "Channel.h"
#include "PersonalContentKind.h"

#include <QJsonObject>
#include <QUuid>

class JsonWriter;

#include <optional>

// One playable item a personal list refers to: a live channel or a catalogue title of a connection.
class PersonalEntry
{
public:
    PersonalEntry(QUuid sourceID, PersonalContentKind kind, QString itemID, QString name, QString categoryID,
                  QString year, QString rating, QString fileExtension);
    PersonalEntry(const QUuid &sourceID, const Channel &channel);
    PersonalEntry(const QUuid &sourceID, const CatalogItem &item);

    const QUuid &sourceID() const { return m_sourceID; }
    PersonalContentKind kind() const { return m_kind; }
    const QString &itemID() const { return m_itemID; }
    const QString &name() const { return m_name; }
    const QString &categoryID() const { return m_categoryID; }
    const QString &year() const { return m_year; }
    const QString &rating() const { return m_rating; }
    const QString &fileExtension() const { return m_fileExtension; }

    // UUID (upper case) ":" kind ":" itemID — the entry's identity everywhere.
    QString id() const;
    // The catalogue title this entry stands for; nothing for a live channel.
    std::optional<CatalogItem> catalogItem() const;

    QJsonObject toJson() const;
    // The same object, written into `writer` with the keys in their stored order.
    void write(JsonWriter &writer) const;
    static PersonalEntry fromJson(const QJsonObject &object); // throws JsonError

    friend bool operator==(const PersonalEntry &, const PersonalEntry &) = default;

private:
    QUuid m_sourceID;
    PersonalContentKind m_kind;
    QString m_itemID;
    QString m_name;
    QString m_categoryID;
    QString m_year;
    QString m_rating;
    QString m_fileExtension;
};
