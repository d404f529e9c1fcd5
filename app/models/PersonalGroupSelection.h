#pragma once

#include "PersonalListDestination.h"
#include "records/Channel.h"
#include "records/PersonalCategory.h"
#include "records/PersonalContentKind.h"
#include "records/PersonalEntry.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>

#include <memory>

class CatalogModel;
class LibraryModel;
class QAbstractItemModel;

Q_MOC_INCLUDE("models/CatalogModel.h")
Q_MOC_INCLUDE("models/LibraryModel.h")
Q_MOC_INCLUDE(<QAbstractItemModel>)

// The sheet that picks several provider groups of one connection at once: for live TV it adds
// every channel of the chosen groups to a list; for movies and series it links the chosen groups
// as folders. `groups` lists the groups the search lets through, each with whether it is chosen;
// choices hidden by the search stay chosen.
class PersonalGroupSelection : public PersonalListDestination
{
    Q_OBJECT
    QML_ELEMENT
    // Roles: groupID, name, selected.
    Q_PROPERTY(QAbstractItemModel *groups READ groups CONSTANT FINAL)
    // "live", "movies" or "series".
    Q_PROPERTY(QString kind READ kindName NOTIFY offerChanged FINAL)
    Q_PROPERTY(QString title READ title NOTIFY offerChanged FINAL)
    Q_PROPERTY(QString explanation READ explanation NOTIFY offerChanged FINAL)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged FINAL)
    Q_PROPERTY(int availableCount READ availableCount NOTIFY offerChanged FINAL)
    Q_PROPERTY(int visibleCount READ visibleCount NOTIFY selectionChanged FINAL)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY selectionChanged FINAL)
    // Live only: the channels of the chosen groups.
    Q_PROPERTY(int chosenChannelCount READ chosenChannelCount NOTIFY selectionChanged FINAL)
    // "2 agrupacions seleccionades", and for live " · 42 canals".
    Q_PROPERTY(QString summary READ summary NOTIFY selectionChanged FINAL)
    // A chosen group is hidden by the search.
    Q_PROPERTY(bool selectionHidden READ selectionHidden NOTIFY selectionChanged FINAL)

public:
    explicit PersonalGroupSelection(QObject *parent = nullptr);
    ~PersonalGroupSelection() override;

    // Offers the groups of the active connection's live channels, in the channel list's order.
    Q_INVOKABLE void offerLiveGroups(LibraryModel *library);
    // Offers the categories of the kind the catalogue shows.
    Q_INVOKABLE void offerCatalogGroups(CatalogModel *catalog);
    // Offers `groups` of connection `source`; only those of that connection and kind are available.
    // `channels` are the connection's channels (used for live).
    void offer(const QUuid &source, PersonalContentKind kind, const QList<PersonalCategory> &groups,
        const QList<Channel> &channels);

    QAbstractItemModel *groups() const;
    QString kindName() const { return PersonalContentKinds::rawValue(m_kind); }
    QString title() const;
    QString explanation() const;
    QString search() const { return m_search; }
    void setSearch(const QString &search);
    int availableCount() const { return int(m_available.size()); }
    int visibleCount() const { return int(m_visible.size()); }
    int chosenCount() const;
    int chosenChannelCount() const;
    QString summary() const;
    bool selectionHidden() const;

    // Chooses every group the search lets through.
    Q_INVOKABLE void selectVisible();
    Q_INVOKABLE void deselectAll();
    // Chooses or unchooses the group at a row of `groups`.
    Q_INVOKABLE void setSelected(int row, bool selected);

    // The chosen groups in the order offered, and (live) their channels as list entries.
    QList<PersonalCategory> chosen() const;
    QList<PersonalEntry> chosenChannels() const;

Q_SIGNALS:
    void offerChanged();
    void searchChanged();
    void selectionChanged();

protected:
    bool hasContent() const override { return chosenCount() > 0; }
    void addTo(const QUuid &list) override;

private:
    class Rows;
    bool isVisible(const PersonalCategory &group) const;
    void refilter();
    void selectionEdited();

    QUuid m_source;
    PersonalContentKind m_kind = PersonalContentKind::live;
    QList<PersonalCategory> m_available;
    QList<Channel> m_channels;
    QHash<QString, int> m_channelsPerGroup; // live: channel group → how many channels
    QString m_search;
    QList<int> m_visible; // rows of m_available
    QSet<QString> m_selected; // PersonalCategory::id
    std::unique_ptr<Rows> m_rows;
};
