#pragma once

#include "async/RequestSlot.h"
#include "records/PersonalCategory.h"
#include "records/PersonalContentKind.h"
#include "records/PersonalEntry.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <memory>

class LibraryModel;
class QAbstractItemModel;

Q_MOC_INCLUDE("models/LibraryModel.h")
Q_MOC_INCLUDE(<QAbstractItemModel>)

// One personal list on screen, split by kind: its live channels (its own entries and its live
// groups' current members, less the removed ones), or its linked movie or series groups as
// folders. It searches them, selects several, removes them, hands them to the add sheet, renames
// and deletes the list, and checks the linked groups at their providers whenever the store's
// refresh token changes (and once at the start), listing the groups that could not be checked.
//
// The window makes a fresh one for every list it shows. Everything follows the store, so edits made
// anywhere show at once. Main thread only.
class PersonalListBrowserModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(LibraryModel *library READ library WRITE setLibrary NOTIFY libraryChanged FINAL)
    Q_PROPERTY(QString listID READ listIDText WRITE setListIDText NOTIFY listIDChanged FINAL)
    // "live", "movies" or "series".
    Q_PROPERTY(QString kind READ kindName WRITE setKindName NOTIFY kindChanged FINAL)
    // "TV en directe · 12", … in the order live, movies, series.
    Q_PROPERTY(QStringList kindLabels READ kindLabels NOTIFY contentChanged FINAL)
    Q_PROPERTY(int kindIndex READ kindIndex NOTIFY kindChanged FINAL)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY kindChanged FINAL)
    Q_PROPERTY(QString searchPrompt READ searchPrompt NOTIFY kindChanged FINAL)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged FINAL)
    // Roles: itemID, name, sourceName, isGroup, selected, content (this item alone, for the add sheet).
    Q_PROPERTY(QAbstractItemModel *items READ items CONSTANT FINAL)
    Q_PROPERTY(int visibleCount READ visibleCount NOTIFY contentChanged FINAL)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged FINAL)
    Q_PROPERTY(QStringList failures READ failures NOTIFY failuresChanged FINAL)
    Q_PROPERTY(bool selectionMode READ selectionMode NOTIFY selectionModeChanged FINAL)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY selectionChanged FINAL)
    // The chosen channels and groups, for the add sheet (a PersonalListContent).
    Q_PROPERTY(QVariant chosenContent READ chosenContent NOTIFY selectionChanged FINAL)
    // What the empty content says: its title ("Cap resultat" while searching) and description;
    // empty titles while there are items or a check is running.
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY contentChanged FINAL)
    Q_PROPERTY(QString emptyDescription READ emptyDescription NOTIFY contentChanged FINAL)

public:
    explicit PersonalListBrowserModel(QObject *parent = nullptr);
    ~PersonalListBrowserModel() override;

    LibraryModel *library() const { return m_library; }
    void setLibrary(LibraryModel *library);
    const QUuid &listID() const { return m_listID; }
    QString listIDText() const;
    void setListIDText(const QString &id);

    PersonalContentKind kind() const { return m_kind; }
    QString kindName() const { return PersonalContentKinds::rawValue(m_kind); }
    void setKindName(const QString &kind);
    void setKind(PersonalContentKind kind);
    QStringList kindLabels() const;
    int kindIndex() const;
    QString subtitle() const;
    QString searchPrompt() const;
    QString search() const { return m_search; }
    void setSearch(const QString &search);
    QAbstractItemModel *items() const;
    int visibleCount() const;
    bool loading() const { return m_loading; }
    const QStringList &failures() const { return m_failures; }
    bool selectionMode() const { return m_selectionMode; }
    int chosenCount() const;
    QVariant chosenContent() const;
    QString emptyTitle() const;
    QString emptyDescription() const;

    // The linked movie and series groups, sorted by name (equal names keep their order).
    QList<PersonalCategory> groups() const;

    Q_INVOKABLE void setKindAt(int index);
    // "Selecciona" / "Acaba la selecció": flips selection mode and forgets the choices.
    Q_INVOKABLE void toggleSelectionMode();
    // Chooses every item shown (earlier choices stay).
    Q_INVOKABLE void selectVisible();
    Q_INVOKABLE void setSelectedAt(int row, bool selected);
    // "Treu de la llista": the chosen channels, then the chosen groups; then nothing is chosen.
    Q_INVOKABLE void removeChosen();
    // Removes the channel or unlinks the group at a row.
    Q_INVOKABLE void removeAt(int row);
    // Plays the channel (through its connection) or opens the group in the catalogue.
    Q_INVOKABLE void openAt(int row);
    // "Reintenta": asks the store for a fresh check.
    Q_INVOKABLE void retry();
    // Deletes the list and returns the window to live TV.
    Q_INVOKABLE void deleteList();

Q_SIGNALS:
    void libraryChanged();
    void listIDChanged();
    void kindChanged();
    void searchChanged();
    void contentChanged();
    void loadingChanged();
    void failuresChanged();
    void selectionModeChanged();
    void selectionChanged();

private:
    class Items;
    struct Item
    {
        QString id;
        QString name;
        QUuid sourceID;
        bool isGroup = false;
        std::optional<PersonalEntry> entry;
        std::optional<PersonalCategory> category;
    };

    void start();
    void rebuild();
    void refresh();
    QCoro::Task<> runRefresh(RequestSlot::Ticket ticket);
    QString sourceName(const QUuid &source) const;
    QList<PersonalEntry> chosenChannels() const;
    QList<PersonalCategory> chosenGroups() const;
    void selectionEdited();
    void setLoading(bool loading);
    void setFailures(const QStringList &failures);

    QPointer<LibraryModel> m_library;
    QUuid m_listID;
    PersonalContentKind m_kind = PersonalContentKind::live;
    QString m_search;
    bool m_loading = false;
    QStringList m_failures;
    bool m_selectionMode = false;
    QSet<QString> m_selected;
    QList<Item> m_visible;
    int m_counts[3] = {0, 0, 0};
    bool m_started = false;
    RequestSlot m_refresh;
    std::unique_ptr<Items> m_items;
};
