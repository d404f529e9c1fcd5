#include "ChannelListModel.h"

#include "ChannelCategoriesModel.h"
#include "async/Background.h"

#include <algorithm>

namespace {

// The digest written in `hex` (64 lower-case hexadecimal digits, as Channel::id writes it), if it is one.
std::optional<Channel::Digest> digestFromHex(QStringView hex)
{
    if (hex.size() != 64)
        return std::nullopt;
    const auto nibble = [](QChar c) -> int {
        const char16_t u = c.unicode();
        if (u >= u'0' && u <= u'9')
            return u - u'0';
        if (u >= u'a' && u <= u'f')
            return u - u'a' + 10;
        return -1;
    };
    Channel::Digest digest{};
    for (std::size_t i = 0; i < digest.size(); ++i) {
        const int high = nibble(hex[qsizetype(2 * i)]);
        const int low = nibble(hex[qsizetype(2 * i + 1)]);
        if (high < 0 || low < 0)
            return std::nullopt;
        digest[i] = quint8(high << 4 | low);
    }
    return digest;
}

// The channel digests that `favorites` holds for connection `source`, sorted and without repeats.
std::vector<Channel::Digest> favoriteDigests(const QSet<QString> &favorites, const QUuid &source)
{
    std::vector<Channel::Digest> digests;
    if (source.isNull())
        return digests;
    const QString prefix = source.toString(QUuid::WithoutBraces).toUpper() + u':';
    for (const QString &key : favorites) {
        if (!key.startsWith(prefix))
            continue;
        if (const auto digest = digestFromHex(QStringView(key).mid(prefix.size())))
            digests.push_back(*digest);
    }
    std::sort(digests.begin(), digests.end());
    digests.erase(std::unique(digests.begin(), digests.end()), digests.end());
    return digests;
}

qsizetype heapSize(const QString &text)
{
    // Header of the shared block plus the characters and the terminator.
    return text.isNull() ? 0 : qsizetype(sizeof(QArrayData)) + (text.capacity() + 1) * qsizetype(sizeof(QChar));
}

qsizetype heapSize(const QByteArray &bytes)
{
    return bytes.isNull() ? 0 : qsizetype(sizeof(QArrayData)) + bytes.capacity() + 1;
}

// The channels' names folded for the search, in one buffer.
FoldedNameIndex foldedNames(const QList<Channel> &channels, const CancellationFlag &cancellation = {})
{
    qsizetype characters = 0;
    for (const Channel &channel : channels)
        characters += channel.name().size();
    FoldedNameIndex names;
    names.reserve(channels.size(), characters);
    CancellationCheckpoint checkpoint(cancellation);
    for (const Channel &channel : channels) {
        checkpoint.pass();
        names.append(channel.name());
    }
    return names;
}

// Per channel: whether its digest is among `favorites` (sorted).
std::vector<bool> favoriteFlags(const QList<Channel> &channels, const std::vector<Channel::Digest> &favorites,
                                const CancellationFlag &cancellation = {})
{
    std::vector<bool> flags(std::size_t(channels.size()), false);
    if (favorites.empty())
        return flags;
    CancellationCheckpoint checkpoint(cancellation);
    for (qsizetype row = 0; row < channels.size(); ++row) {
        checkpoint.pass();
        flags[std::size_t(row)] = std::binary_search(favorites.begin(), favorites.end(), channels[row].digest());
    }
    return flags;
}

} // namespace

ChannelListModel::ChannelListModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_categories(new ChannelCategoriesModel(this))
{
}

ChannelListModel::~ChannelListModel() = default;

int ChannelListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant ChannelListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const qint32 row = m_visible[std::size_t(index.row())];
    const Channel &channel = m_channels.at(row);
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return channel.name();
    case GroupRole:
        return channel.group();
    case ChannelIDRole:
        return channel.id();
    case URLRole:
        return QString::fromLatin1(channel.encodedURL());
    case FavoriteRole:
        return bool(m_favoriteRow[std::size_t(row)]);
    case RequiresCustomHeadersRole:
        return channel.requiresCustomHeaders();
    case SelectedRole:
        return bool(m_selectedRow[std::size_t(row)]);
    case LogoRole:
        return m_guide ? m_guide->logo(row) : QString();
    case NowTitleRole:
    case NowProgressRole: {
        const std::optional<GuideProgramme> programme = m_guide ? m_guide->now(row) : std::nullopt;
        if (role == NowTitleRole)
            return programme ? programme->title : QString();
        if (!programme)
            return 0.0;
        const double length = double(std::max<qint64>(1, programme->stop - programme->start));
        return std::clamp(double(m_guide->currentTime() - programme->start) / length, 0.0, 1.0);
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> ChannelListModel::roleNames() const
{
    return {
        {NameRole, "name"},
        {GroupRole, "group"},
        {ChannelIDRole, "channelID"},
        {URLRole, "url"},
        {FavoriteRole, "favorite"},
        {RequiresCustomHeadersRole, "requiresCustomHeaders"},
        {SelectedRole, "selected"},
        {LogoRole, "logo"},
        {NowTitleRole, "nowTitle"},
        {NowProgressRole, "nowProgress"},
    };
}

void ChannelListModel::setGuide(const ProgrammeGuide *guide)
{
    m_guide = guide;
    // A guide that arrives, and every minute of it, changes the lines of every row.
    connect(guide, &ProgrammeGuide::revisionChanged, this, [this] {
        if (!m_visible.empty())
            Q_EMIT dataChanged(index(0), index(int(m_visible.size()) - 1), {LogoRole, NowTitleRole, NowProgressRole});
    });
}

ChannelListModel::Prepared ChannelListModel::prepare(QList<Channel> channels, const QSet<QString> &favorites,
                                                     const QUuid &source, const CancellationFlag &cancellation)
{
    Prepared prepared;
    prepared.channels = std::move(channels);
    prepared.groupOfRow.reserve(std::size_t(prepared.channels.size()));
    CancellationCheckpoint checkpoint(cancellation);
    for (const Channel &channel : std::as_const(prepared.channels)) {
        checkpoint.pass();
        const auto found = prepared.groupIndex.constFind(channel.group());
        qint32 group;
        if (found != prepared.groupIndex.cend()) {
            group = *found;
        } else {
            group = qint32(prepared.groups.size());
            prepared.groupIndex.insert(channel.group(), group);
            prepared.groups.append({channel.group(), 0});
        }
        ++prepared.groups[group].channels;
        prepared.groupOfRow.push_back(group);
    }
    prepared.groups = ChannelCategoriesModel::sortedForDisplay(std::move(prepared.groups));
    prepared.favoriteDigests = favoriteDigests(favorites, source);
    prepared.favoriteRow = favoriteFlags(prepared.channels, prepared.favoriteDigests, cancellation);
    return prepared;
}

void ChannelListModel::setChannels(QList<Channel> channels, const QUuid &source)
{
    install(prepare(std::move(channels), m_favorites, source), source);
    foldNamesNow();
}

void ChannelListModel::setPrepared(Prepared prepared, const QUuid &source)
{
    install(std::move(prepared), source);
    if (!m_namesFolded)
        foldNames(m_folding.begin());
}

void ChannelListModel::foldNamesNow()
{
    if (m_namesFolded)
        return;
    m_folding.invalidate();
    m_names = foldedNames(m_channels);
    m_namesFolded = true;
}

QCoro::Task<> ChannelListModel::foldNames(RequestSlot::Ticket ticket)
{
    // Named before the co_await: GCC 12 destroys a lambda that is a temporary of a co_await
    // expression twice.
    auto fold = [channels = m_channels, cancellation = ticket.cancellation().flag()] {
        return foldedNames(channels, cancellation);
    };
    FoldedNameIndex names;
    try {
        names = co_await inBackground(std::move(fold));
    } catch (const CancelledError &) {
        co_return;
    }
    // Another list, a search that could not wait, or the model gone: these names are not wanted.
    if (!ticket.isCurrent())
        co_return;
    m_names = std::move(names);
    m_namesFolded = true;
}

void ChannelListModel::install(Prepared prepared, const QUuid &source)
{
    // The same connection again keeps the chosen channels it still lists.
    std::vector<Channel::Digest> chosen;
    if (source == m_source) {
        for (const Channel &channel : selectedChannels())
            chosen.push_back(channel.digest());
        std::sort(chosen.begin(), chosen.end());
    }
    const int previousCount = count();
    const int previousSelected = m_selectedCount;
    beginResetModel();
    // The previous list goes the other way: freeing its hundred thousand names is not this thread's work.
    std::swap(m_channels, prepared.channels);
    m_folding.invalidate();
    releaseInBackground(std::exchange(m_names, {}));
    m_namesFolded = m_channels.isEmpty();
    std::swap(m_groupOfRow, prepared.groupOfRow);
    std::swap(m_groupIndex, prepared.groupIndex);
    QList<ChannelCategoriesModel::Category> groups = std::move(prepared.groups);
    prepared.groups = {};
    m_source = source;
    m_categoryGroup = !m_category ? -1 : m_groupIndex.value(*m_category, -2);

    m_favoriteDigests = favoriteDigests(m_favorites, m_source);
    // Made with the favourites of the moment the preparation started: only a toggle since then
    // makes them again here.
    if (prepared.favoriteDigests == m_favoriteDigests && prepared.favoriteRow.size() == std::size_t(m_channels.size()))
        m_favoriteRow = std::move(prepared.favoriteRow);
    else
        m_favoriteRow = favoriteFlags(m_channels, m_favoriteDigests);
    releaseInBackground(std::move(prepared));

    m_selectedRow.assign(std::size_t(m_channels.size()), false);
    m_selectedCount = 0;
    if (!chosen.empty()) {
        for (qsizetype row = 0; row < m_channels.size(); ++row) {
            if (std::binary_search(chosen.begin(), chosen.end(), m_channels[row].digest())) {
                m_selectedRow[std::size_t(row)] = true;
                ++m_selectedCount;
            }
        }
    }

    m_visible = filteredRows();
    endResetModel();
    if (m_selectedCount != previousSelected || m_selectedCount > 0)
        Q_EMIT selectionChanged();
    m_categories->setSortedCategories(std::move(groups));
    Q_EMIT channelsChanged();
    if (count() != previousCount)
        Q_EMIT countChanged();
}

void ChannelListModel::setSearch(const QString &search)
{
    if (search == m_search)
        return;
    if (!search.isEmpty())
        foldNamesNow();
    const QString previousFolded = m_foldedSearch;
    m_search = search;
    m_foldedSearch = LocalizedText::folded(search);
    Q_EMIT searchChanged();

    if (!previousFolded.isEmpty() && !m_foldedSearch.isEmpty() && m_foldedSearch.contains(previousFolded)) {
        // The query only grew: every match is among the previous matches.
        std::vector<qint32> rows;
        rows.reserve(m_visible.size());
        for (const qint32 row : m_visible) {
            if (m_names.rowMatches(row, m_foldedSearch))
                rows.push_back(row);
        }
        applyRows(std::move(rows));
        return;
    }
    refilter();
}

void ChannelListModel::setCategory(const std::optional<QString> &category)
{
    if (category == m_category)
        return;
    m_category = category;
    m_categoryGroup = !m_category ? -1 : m_groupIndex.value(*m_category, -2);
    Q_EMIT categoryChanged();
    refilter();
    clearSelection();
}

void ChannelListModel::setFavoritesOnly(bool favoritesOnly)
{
    if (favoritesOnly == m_favoritesOnly)
        return;
    m_favoritesOnly = favoritesOnly;
    Q_EMIT favoritesOnlyChanged();
    refilter();
}

void ChannelListModel::setFavorites(const QSet<QString> &favorites)
{
    if (favorites == m_favorites)
        return;
    m_favorites = favorites;
    Q_EMIT favoritesChanged();
    updateFavoriteFlags();
}

void ChannelListModel::updateFavoriteFlags()
{
    std::vector<Channel::Digest> digests = favoriteDigests(m_favorites, m_source);
    std::vector<Channel::Digest> toggled;
    std::set_symmetric_difference(digests.begin(), digests.end(), m_favoriteDigests.begin(),
                                  m_favoriteDigests.end(), std::back_inserter(toggled));
    m_favoriteDigests = std::move(digests);
    if (toggled.empty())
        return; // only other connections' favourites changed

    qint32 firstToggled = -1;
    qint32 lastToggled = -1;
    for (qsizetype row = 0; row < m_channels.size(); ++row) {
        if (!std::binary_search(toggled.begin(), toggled.end(), m_channels[row].digest()))
            continue;
        m_favoriteRow[std::size_t(row)] = !m_favoriteRow[std::size_t(row)];
        if (firstToggled < 0)
            firstToggled = qint32(row);
        lastToggled = qint32(row);
    }
    if (firstToggled < 0)
        return;
    if (m_favoritesOnly) {
        refilter();
        return;
    }
    // The visible rows between the first and the last toggled channel: one notification.
    const auto first = std::lower_bound(m_visible.begin(), m_visible.end(), firstToggled);
    const auto last = std::upper_bound(m_visible.begin(), m_visible.end(), lastToggled);
    if (first == last)
        return;
    Q_EMIT dataChanged(index(int(first - m_visible.begin())), index(int(last - m_visible.begin()) - 1),
                       {FavoriteRole});
}

qsizetype ChannelListModel::byteSize() const
{
    qsizetype bytes = m_channels.capacity() * qsizetype(sizeof(Channel));
    QSet<const void *> counted; // group texts are shared between channels
    for (const Channel &channel : m_channels) {
        bytes += heapSize(channel.name()) + heapSize(channel.encodedURL());
        if (!counted.contains(channel.group().constData())) {
            counted.insert(channel.group().constData());
            bytes += heapSize(channel.group());
        }
    }
    bytes += m_names.byteSize();
    bytes += qsizetype(m_groupOfRow.capacity() * sizeof(qint32));
    bytes += qsizetype(m_favoriteRow.capacity() / 8);
    bytes += qsizetype(m_visible.capacity() * sizeof(qint32));
    bytes += m_groupIndex.size() * qsizetype(sizeof(QString) + sizeof(qint32) + sizeof(void *));
    return bytes;
}

bool ChannelListModel::passesCategoryAndFavorites(qint32 row) const
{
    if (m_categoryGroup != -1 && m_groupOfRow[std::size_t(row)] != m_categoryGroup)
        return false;
    return !m_favoritesOnly || m_favoriteRow[std::size_t(row)];
}

std::vector<qint32> ChannelListModel::filteredRows()
{
    std::vector<qint32> rows;
    if (m_categoryGroup == -2)
        return rows;
    if (m_search.isEmpty()) {
        rows.reserve(std::size_t(m_channels.size()));
        for (qint32 row = 0; row < qint32(m_channels.size()); ++row) {
            if (passesCategoryAndFavorites(row))
                rows.push_back(row);
        }
        return rows;
    }
    // A search whose folded form is empty (only accents, say) matches nothing.
    foldNamesNow();
    const QList<qsizetype> matches = m_names.rowsMatching(m_search);
    rows.reserve(std::size_t(matches.size()));
    for (const qsizetype match : matches) {
        if (passesCategoryAndFavorites(qint32(match)))
            rows.push_back(qint32(match));
    }
    return rows;
}

void ChannelListModel::refilter()
{
    applyRows(filteredRows());
}

void ChannelListModel::applyRows(std::vector<qint32> rows)
{
    if (rows == m_visible)
        return;
    const int previousCount = count();
    beginResetModel();
    m_visible = std::move(rows);
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}

void ChannelListModel::setSelectedAt(int row, bool selected)
{
    if (row < 0 || row >= count())
        return;
    const std::size_t channel = std::size_t(m_visible[std::size_t(row)]);
    if (m_selectedRow[channel] == selected)
        return;
    m_selectedRow[channel] = selected;
    m_selectedCount += selected ? 1 : -1;
    Q_EMIT dataChanged(index(row), index(row), {SelectedRole});
    Q_EMIT selectionChanged();
}

void ChannelListModel::selectFiltered()
{
    for (const qint32 row : m_visible) {
        if (!m_selectedRow[std::size_t(row)]) {
            m_selectedRow[std::size_t(row)] = true;
            ++m_selectedCount;
        }
    }
    selectionEdited();
}

void ChannelListModel::clearSelection()
{
    if (m_selectedCount == 0)
        return;
    std::fill(m_selectedRow.begin(), m_selectedRow.end(), false);
    m_selectedCount = 0;
    selectionEdited();
}

QList<Channel> ChannelListModel::selectedChannels() const
{
    QList<Channel> chosen;
    chosen.reserve(m_selectedCount);
    for (qsizetype row = 0; row < m_channels.size() && chosen.size() < m_selectedCount; ++row) {
        if (m_selectedRow[std::size_t(row)])
            chosen.append(m_channels.at(row));
    }
    return chosen;
}

QList<Channel> ChannelListModel::favoriteChannels() const
{
    QList<Channel> favorites;
    for (qsizetype row = 0; row < m_channels.size(); ++row) {
        if (m_favoriteRow[std::size_t(row)])
            favorites.append(m_channels.at(row));
    }
    return favorites;
}

QList<Channel> ChannelListModel::channelsInGroup(const QString &group) const
{
    QList<Channel> channels;
    const qint32 wanted = m_groupIndex.value(group, -1);
    if (wanted < 0)
        return channels;
    for (qsizetype row = 0; row < m_channels.size(); ++row) {
        if (m_groupOfRow[std::size_t(row)] == wanted)
            channels.append(m_channels.at(row));
    }
    return channels;
}

void ChannelListModel::selectionEdited()
{
    if (count() > 0)
        Q_EMIT dataChanged(index(0), index(count() - 1), {SelectedRole});
    Q_EMIT selectionChanged();
}
