#pragma once

#include "BackgroundPreferenceWriter.h"
#include "async/Cancellation.h"
#include "http/HTTPClient.h"
#include "records/PersonalList.h"
#include "records/PlaylistSource.h"

#include <QByteArray>
#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QUuid>

#include <optional>

class QSettings;

// The one store of the user's personal lists, kept in the preferences under "personalLists.v2" as
// a JSON array of PersonalList objects. At construction it reads "personalLists.v2" (else the first
// format, "personalLists.v1", which is never written or removed), turns single movie and series
// entries into linked groups and saves. It validates list names, applies the views' edits, and
// refreshes the list on screen: the current members of its linked live groups, and whether its
// linked movie and series groups still exist at the provider.
//
// Main thread only, apart from the encoding and writing of a save; `refresh` resumes on the main thread between its downloads. A stored value that
// cannot be read leaves the store without lists; its bytes are kept under a dated backup key
// (StoredValueBackup) before the start-up save replaces them.
class PersonalLists : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<PersonalList> lists READ lists NOTIFY listsChanged FINAL)
    Q_PROPERTY(QHash<QString, QList<PersonalEntry>> categoryEntries READ categoryEntries NOTIFY
            categoryEntriesChanged FINAL)
    Q_PROPERTY(QUuid refreshID READ refreshID WRITE setRefreshID NOTIFY refreshIDChanged FINAL)

public:
    static constexpr int maximumNameLength = 80;

    // `fetch` is the transport of the repositories `refresh` uses.
    explicit PersonalLists(QSettings &preferences, HTTPClient::Fetch fetch = HTTPClient::defaultFetch(),
        QObject *parent = nullptr);

    static QString storageKey();
    static QString firstFormatKey();

    // All lists, in creation order.
    const QList<PersonalList> &lists() const { return m_lists; }
    // Linked live group id (PersonalCategory::id) → its current members, filled by `refresh`;
    // memory only.
    const QHash<QString, QList<PersonalEntry>> &categoryEntries() const { return m_categoryEntries; }
    // Every new value asks the list browser to refresh again.
    QUuid refreshID() const { return m_refreshID; }
    void setRefreshID(const QUuid &refreshID);

    // The content kind last chosen in the browser for a list, for as long as the application runs.
    std::optional<PersonalContentKind> selectedKind(const QUuid &list) const;
    void setSelectedKind(const QUuid &list, PersonalContentKind kind);

    // The trimmed name, or IPTVError "Escriu un nom d’entre 1 i 80 caràcters." (empty, or more than
    // 80 user-perceived characters) or "Ja tens una llista personal amb aquest nom." (equal, by
    // LocalizedText::compare, to the name of a list other than `excluding`).
    QString validate(const QString &name, const QUuid &excluding = {}) const;
    // Appends a new empty list and returns its id; throws the name's IPTVError.
    QUuid create(const QString &name);
    // Renames the list with that id; throws the name's IPTVError. A missing list changes nothing.
    void rename(const QUuid &id, const QString &name);
    // Adds the live entries, then links the non-live groups, in order; other entries and live
    // groups are ignored. Saves, unless no list has that id.
    void add(const QList<PersonalEntry> &entries, const QList<PersonalCategory> &categories, const QUuid &to);
    void remove(const PersonalEntry &entry, const QUuid &from);
    void unlink(const PersonalCategory &category, const QUuid &from);
    // The list browser's deletion: every list with that id goes; then saves.
    void deleteList(const QUuid &id);

    std::optional<PersonalList> list(const QUuid &id) const;
    // The list's resolved entries (its own and its live groups' current members, less the excluded
    // ones, sorted by name), live ones only; empty for a missing list.
    QList<PersonalEntry> entries(const QUuid &id) const;

    // Fetches the members of the list's linked live groups and checks its movie and series groups
    // against the provider, with one request per connection and kind. Returns one failure text per
    // group that could not be brought up to date, in the list's order, each starting with the
    // group's name. `sources` are all the connections the library model knows. When `cancellation`
    // is cancelled it returns the failures so far and changes nothing more.
    QCoro::Task<QStringList> refresh(
        QUuid id, QList<PlaylistSource> sources, CancellationToken cancellation = {});

    // Encodes and writes the lists on the preferences writer's thread; the value under
    // "personalLists.v2" changes when that write is done (see waitForSave).
    void save();
    // Blocks until every save asked for so far is written.
    void waitForSave();

    static QByteArray encode(const QList<PersonalList> &lists);
    // Throws JsonError unless `data` is a JSON array of valid list objects.
    static QList<PersonalList> decode(const QByteArray &data);

Q_SIGNALS:
    void listsChanged();
    void categoryEntriesChanged();
    void refreshIDChanged();

private:
    PersonalList *find(const QUuid &id);
    void updateCategory(const QUuid &list, const PersonalCategory &category);
    void setMembers(const QUuid &list, const PersonalCategory &category, const QList<PersonalEntry> &members);

    HTTPClient::Fetch m_fetch;
    QList<PersonalList> m_lists;
    QHash<QString, QList<PersonalEntry>> m_categoryEntries;
    QUuid m_refreshID;
    QHash<QUuid, PersonalContentKind> m_selectedKinds;
    // Last, so that it is destroyed first: it waits for the saves still being written.
    BackgroundPreferenceWriter m_writer;
};
