#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <optional>

class PersonalListsModel;

// Where the personal-list sheets put what they add: an existing list, or a new one named in the
// sheet. Holds the choice, the new name and the last refusal, and does the adding in order: create
// the list when asked to (a refused name keeps the sheet open with its message), then hand the
// content to the store. Subclasses say what they add.
class PersonalListDestination : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A base of the personal-list sheets.")
    Q_PROPERTY(PersonalListsModel *lists READ lists WRITE setLists NOTIFY listsChanged FINAL)
    // "Crea una llista nova…" and then every list's name, in the store's order.
    Q_PROPERTY(QStringList destinationNames READ destinationNames NOTIFY destinationChanged FINAL)
    // 0 for a new list, else 1 + the chosen list's row; −1 when the chosen list no longer exists.
    Q_PROPERTY(int destinationIndex READ destinationIndex WRITE setDestinationIndex NOTIFY destinationChanged FINAL)
    Q_PROPERTY(bool createsList READ createsList NOTIFY destinationChanged FINAL)
    Q_PROPERTY(QString newName READ newName WRITE setNewName NOTIFY newNameChanged FINAL)
    // The last refusal; empty when there is none.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged FINAL)
    Q_PROPERTY(bool canAdd READ canAdd NOTIFY canAddChanged FINAL)

public:
    explicit PersonalListDestination(QObject *parent = nullptr);

    PersonalListsModel *lists() const { return m_lists; }
    void setLists(PersonalListsModel *lists);
    QStringList destinationNames() const;
    int destinationIndex() const;
    void setDestinationIndex(int index);
    const std::optional<QUuid> &destination() const { return m_destination; }
    bool createsList() const { return !m_destination.has_value(); }
    QString newName() const { return m_newName; }
    void setNewName(const QString &name);
    QString error() const { return m_error; }
    bool canAdd() const { return m_canAdd; }

    // As a sheet opens: the store's first list (a new list when there is none), no name, no error.
    Q_INVOKABLE void prepare();
    // Adds to the destination, creating it first when asked to. False, with `error`, when the new
    // list's name is refused: nothing is added then.
    Q_INVOKABLE bool add();

Q_SIGNALS:
    void listsChanged();
    void destinationChanged();
    void newNameChanged();
    void errorChanged();
    void canAddChanged();

protected:
    // Whether there is anything to add.
    virtual bool hasContent() const = 0;
    // Hands the content to the store for the list with that id.
    virtual void addTo(const QUuid &list) = 0;
    void updateCanAdd();

private:
    void setError(const QString &error);

    PersonalListsModel *m_lists = nullptr;
    std::optional<QUuid> m_destination;
    QString m_newName;
    QString m_error;
    bool m_canAdd = false;
};
