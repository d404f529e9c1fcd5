#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QUuid>
#include <QVariant>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

class PersonalLists;

// The user's personal lists as the views name and choose them: id and name, in the store's order.
// It is also how views create and rename lists, and read what a personal-list button offers
// (PersonalListContent). Follows the store; the rows are reset only when an id or a name changes,
// not when a list's contents do.
class PersonalListsModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The library model owns the personal lists.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        ListIDRole = Qt::UserRole + 1, // canonical upper case
        NameRole,
    };
    Q_ENUM(Roles)

    explicit PersonalListsModel(PersonalLists &store, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_rows.size()); }
    PersonalLists &store() const { return m_store; }
    // The list at `row`; a null id out of range.
    QUuid idAt(int row) const;
    // Where a list stands; −1 when there is none with that id.
    int rowOf(const QUuid &id) const;

    // Creates a list: {"id": its id} on success, {"error": the message} when the name is refused.
    Q_INVOKABLE QVariantMap create(const QString &name);
    // Renames a list: the refusal's message, or an empty text on success.
    Q_INVOKABLE QString rename(const QString &id, const QString &name);
    // The name of the list with that id; empty when there is none.
    Q_INVOKABLE QString nameOf(const QString &id) const;
    // What a personal-list button shows for some content: {isEmpty, compactLabel}.
    Q_INVOKABLE QVariantMap describe(const QVariant &content) const;

Q_SIGNALS:
    void countChanged();

private:
    struct Row
    {
        QUuid id;
        QString name;
        friend bool operator==(const Row &, const Row &) = default;
    };
    void storeChanged();

    PersonalLists &m_store;
    QList<Row> m_rows;
};
