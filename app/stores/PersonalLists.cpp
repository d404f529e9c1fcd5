#include "PersonalLists.h"
#include "StoredValueBackup.h"

#include "http/FailureText.h"
#include "records/IPTVError.h"
#include "records/JsonError.h"
#include "records/JsonFields.h"
#include "records/JsonWriter.h"
#include "repositories/CatalogRepository.h"
#include "repositories/PlaylistRepository.h"
#include "text/LocalizedText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

std::optional<CatalogKind> catalogKind(PersonalContentKind kind)
{
    switch (kind) {
    case PersonalContentKind::movies:
        return CatalogKind::movies;
    case PersonalContentKind::series:
        return CatalogKind::series;
    case PersonalContentKind::live:
        break;
    }
    return std::nullopt;
}

} // namespace

PersonalLists::PersonalLists(QSettings &preferences, HTTPClient::Fetch fetch, QObject *parent)
    : QObject(parent)
    , m_fetch(std::move(fetch))
    , m_refreshID(QUuid::createUuid())
    , m_writer(preferences)
{
    const bool current = preferences.contains(storageKey());
    const QString key = current ? storageKey() : firstFormatKey();
    if (preferences.contains(key)) {
        const QByteArray data = preferences.value(key).toByteArray();
        try {
            m_lists = decode(data);
        } catch (const JsonError &) {
            // The save below replaces an unreadable current value: keep it first. The first format
            // is never written, so an unreadable "personalLists.v1" stays where it is.
            if (current && !data.isEmpty())
                StoredValueBackup::keep(preferences, storageKey(), data);
        }
    }
    for (PersonalList &list : m_lists)
        list.migrateCatalogEntriesToGroups();
    save();
}

QString PersonalLists::storageKey()
{
    return u"personalLists.v2"_s;
}

QString PersonalLists::firstFormatKey()
{
    return u"personalLists.v1"_s;
}

void PersonalLists::setRefreshID(const QUuid &refreshID)
{
    if (m_refreshID == refreshID)
        return;
    m_refreshID = refreshID;
    Q_EMIT refreshIDChanged();
}

std::optional<PersonalContentKind> PersonalLists::selectedKind(const QUuid &list) const
{
    const auto found = m_selectedKinds.constFind(list);
    if (found == m_selectedKinds.cend())
        return std::nullopt;
    return *found;
}

void PersonalLists::setSelectedKind(const QUuid &list, PersonalContentKind kind)
{
    m_selectedKinds.insert(list, kind);
}

QString PersonalLists::validate(const QString &name, const QUuid &excluding) const
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty() || LocalizedText::characterCount(trimmed) > maximumNameLength)
        throw IPTVError(u"Escriu un nom d’entre 1 i 80 caràcters."_s);
    for (const PersonalList &list : m_lists) {
        if (!excluding.isNull() && list.id() == excluding)
            continue;
        if (LocalizedText::compare(list.name(), trimmed) == 0)
            throw IPTVError(u"Ja tens una llista personal amb aquest nom."_s);
    }
    return trimmed;
}

QUuid PersonalLists::create(const QString &name)
{
    const QString valid = validate(name);
    const QUuid id = QUuid::createUuid();
    m_lists.append(PersonalList(id, valid));
    Q_EMIT listsChanged();
    save();
    return id;
}

void PersonalLists::rename(const QUuid &id, const QString &name)
{
    const QString valid = validate(name, id);
    PersonalList *list = find(id);
    if (!list)
        return;
    if (list->name() != valid) {
        list->setName(valid);
        Q_EMIT listsChanged();
    }
    save();
}

void PersonalLists::add(
    const QList<PersonalEntry> &entries, const QList<PersonalCategory> &categories, const QUuid &to)
{
    PersonalList *list = find(to);
    if (!list)
        return;
    const PersonalList before = *list;
    const auto isLive = [](const PersonalEntry &entry) { return entry.kind() == PersonalContentKind::live; };
    if (std::all_of(entries.cbegin(), entries.cend(), isLive)) {
        list->add(entries); // the usual case, and a copy of 100,000 entries saved
    } else {
        QList<PersonalEntry> live;
        std::copy_if(entries.cbegin(), entries.cend(), std::back_inserter(live), isLive);
        list->add(live);
    }
    for (const PersonalCategory &category : categories) {
        if (category.kind() != PersonalContentKind::live)
            list->link(category);
    }
    if (!(*list == before))
        Q_EMIT listsChanged();
    save();
}

void PersonalLists::remove(const PersonalEntry &entry, const QUuid &from)
{
    PersonalList *list = find(from);
    if (!list)
        return;
    const PersonalList before = *list;
    list->remove(entry);
    if (!(*list == before))
        Q_EMIT listsChanged();
    save();
}

void PersonalLists::unlink(const PersonalCategory &category, const QUuid &from)
{
    PersonalList *list = find(from);
    if (!list)
        return;
    const PersonalList before = *list;
    list->unlink(category);
    if (!(*list == before))
        Q_EMIT listsChanged();
    save();
}

void PersonalLists::deleteList(const QUuid &id)
{
    if (m_lists.removeIf([&id](const PersonalList &list) { return list.id() == id; }) > 0)
        Q_EMIT listsChanged();
    save();
}

std::optional<PersonalList> PersonalLists::list(const QUuid &id) const
{
    if (id.isNull())
        return std::nullopt;
    const auto found = std::find_if(
        m_lists.cbegin(), m_lists.cend(), [&id](const PersonalList &list) { return list.id() == id; });
    if (found == m_lists.cend())
        return std::nullopt;
    return *found;
}

QList<PersonalEntry> PersonalLists::entries(const QUuid &id) const
{
    const std::optional<PersonalList> found = list(id);
    if (!found)
        return {};
    QList<PersonalEntry> resolved = found->resolved(m_categoryEntries);
    resolved.removeIf([](const PersonalEntry &entry) { return entry.kind() != PersonalContentKind::live; });
    return resolved;
}

QCoro::Task<QStringList> PersonalLists::refresh(
    QUuid id, QList<PlaylistSource> sources, CancellationToken cancellation)
{
    QStringList failures;
    const std::optional<PersonalList> start = list(id);
    if (!start)
        co_return failures;

    // Everything used across the waits is owned by this call: the store may go while it waits.
    QPointer<PersonalLists> self(this);
    const PlaylistRepository playlists(m_fetch);
    const CatalogRepository catalog(m_fetch);
    QHash<QUuid, QList<Channel>> channelCache;
    QHash<QString, QList<CatalogCategory>> groupCache;
    const auto stopped = [&] { return !self || cancellation.isCancelled(); };

    for (const PersonalCategory &category : start->categories()) {
        if (stopped())
            co_return failures;
        const auto source = std::find_if(sources.cbegin(), sources.cend(),
            [&category](const PlaylistSource &candidate) { return candidate.id == category.sourceID(); });
        if (source == sources.cend()) {
            failures.append(category.name() + u": connexió no disponible."_s);
            continue;
        }

        std::exception_ptr failure;
        try {
            if (const std::optional<CatalogKind> kind = catalogKind(category.kind())) {
                const QString key
                    = JsonFields::canonicalUuid(source->id) + u':' + CatalogKinds::rawValue(*kind);
                auto cached = groupCache.constFind(key);
                if (cached == groupCache.cend()) {
                    QList<CatalogCategory> groups = co_await catalog.categories(*source, *kind, cancellation);
                    cached = groupCache.insert(key, std::move(groups));
                }
                if (stopped())
                    co_return failures;
                const auto group = std::find_if(
                    cached->cbegin(), cached->cend(), [&category](const CatalogCategory &candidate) {
                        return candidate.id == category.categoryID();
                    });
                if (group == cached->cend()) {
                    failures.append(category.name() + u": el proveïdor ja no ofereix aquesta agrupació."_s);
                    continue;
                }
                updateCategory(id, PersonalCategory(source->id, category.kind(), group->id, group->name));
            } else {
                auto cached = channelCache.constFind(source->id);
                if (cached == channelCache.cend()) {
                    QList<Channel> channels = co_await playlists.load(*source, cancellation);
                    cached = channelCache.insert(source->id, std::move(channels));
                }
                QList<PersonalEntry> members;
                for (const Channel &channel : *cached) {
                    if (channel.group() == category.categoryID())
                        members.append(PersonalEntry(source->id, channel));
                }
                if (stopped())
                    co_return failures;
                setMembers(id, category, members);
            }
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure) {
            if (stopped())
                co_return failures;
            failures.append(category.name() + u": "_s + FailureText::of(failure));
        }
    }
    co_return failures;
}

void PersonalLists::updateCategory(const QUuid &id, const PersonalCategory &category)
{
    PersonalList *list = find(id);
    if (!list)
        return;
    const PersonalList before = *list;
    list->updateCategory(category);
    if (!(*list == before))
        Q_EMIT listsChanged();
    save();
}

void PersonalLists::setMembers(
    const QUuid &id, const PersonalCategory &category, const QList<PersonalEntry> &members)
{
    const PersonalList *list = find(id);
    if (!list || !list->categories().contains(category))
        return;
    const QString key = category.id();
    const auto stored = m_categoryEntries.constFind(key);
    if (stored != m_categoryEntries.cend() && *stored == members)
        return;
    m_categoryEntries.insert(key, members);
    Q_EMIT categoryEntriesChanged();
}

PersonalList *PersonalLists::find(const QUuid &id)
{
    const auto found = std::find_if(
        m_lists.begin(), m_lists.end(), [&id](const PersonalList &list) { return list.id() == id; });
    return found == m_lists.end() ? nullptr : &*found;
}

void PersonalLists::save()
{
    // A copy costs nothing (the lists share their data until the next edit) and is all the
    // writer's thread reads.
    m_writer.write(storageKey(), [lists = m_lists] { return encode(lists); });
}

void PersonalLists::waitForSave()
{
    m_writer.waitForWrites();
}

QByteArray PersonalLists::encode(const QList<PersonalList> &lists)
{
    JsonWriter writer;
    writer.beginArray();
    for (const PersonalList &list : lists)
        list.write(writer);
    writer.endArray();
    return writer.take();
}

QList<PersonalList> PersonalLists::decode(const QByteArray &data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        throw JsonError(u"personal lists: "_s + error.errorString());
    if (!document.isArray())
        throw JsonError(u"personal lists: expected an array"_s);
    QList<PersonalList> lists;
    const QJsonArray array = document.array();
    lists.reserve(array.size());
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            throw JsonError(u"personal lists: expected objects"_s);
        lists.append(PersonalList::fromJson(value.toObject()));
    }
    return lists;
}
