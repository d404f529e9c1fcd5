#pragma once

#include "ProgrammeGuide.h"

#include "ChannelCategoriesModel.h"
#include "async/Cancellation.h"
#include "async/RequestSlot.h"
#include "records/Channel.h"
#include "text/LocalizedText.h"

#include <QAbstractListModel>
#include <QCoroTask>
#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

// The channel list of the active connection as the main window shows it: the channels that pass the
// category filter, the favourites-only filter and the search (case- and diacritic-insensitive
// containment in the name), in the connection's order.
//
// Built for 100,000 channels: every name is folded once into a packed index and every group mapped to
// a small integer; the visible list is a vector of row numbers, so a keystroke scans the index (or,
// when the query only grew, the previous matches) and never touches a Channel. A new list is shown
// in a few milliseconds of the main thread: prepare() maps the groups and the favourites on any
// thread, and the folding of the names (60–90 ms at 100,000 channels) follows on the thread pool
// once the rows are shown. A search that comes before the folding is done folds them at once.
class ChannelListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The library model owns the channel list.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged FINAL)
    Q_PROPERTY(bool favoritesOnly READ favoritesOnly WRITE setFavoritesOnly NOTIFY favoritesOnlyChanged FINAL)
    Q_PROPERTY(ChannelCategoriesModel *categories READ categories CONSTANT FINAL)
    // Channels chosen in the list's selection mode. The choice is forgotten when the connection or
    // the category changes; a reload of the same connection keeps the channels that are still there.
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectionChanged FINAL)

public:
    enum Roles
    {
        NameRole = Qt::UserRole + 1,
        GroupRole,
        ChannelIDRole,
        URLRole,
        FavoriteRole,
        RequiresCustomHeadersRole,
        SelectedRole,
        LogoRole, // the logo's address as the list gives it; empty when none
        NowTitleRole, // the programme on now, from the guide; empty when unknown
        NowProgressRole, // how far into it, 0–1
    };
    Q_ENUM(Roles)

    explicit ChannelListModel(QObject *parent = nullptr);
    ~ChannelListModel() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_visible.size()); }
    const QList<Channel> &channels() const { return m_channels; }
    const QUuid &source() const { return m_source; }
    // The channel shown at `row` of the filtered list.
    const Channel &channelAt(int row) const { return m_channels.at(m_visible.at(std::size_t(row))); }
    // The distinct groups of the channels, sorted for display.
    ChannelCategoriesModel *categories() const { return m_categories; }

    QString search() const { return m_search; }
    const std::optional<QString> &category() const { return m_category; }
    bool favoritesOnly() const { return m_favoritesOnly; }
    const QSet<QString> &favorites() const { return m_favorites; }

    // What the list derives from a connection's channels before it shows them: the group of each
    // row, the groups sorted for display and the favourite flags.
    struct Prepared
    {
        QList<Channel> channels;
        std::vector<qint32> groupOfRow;
        QHash<QString, qint32> groupIndex;
        QList<ChannelCategoriesModel::Category> groups; // sorted for display
        std::vector<Channel::Digest> favoriteDigests; // the favourites the flags below were made for
        std::vector<bool> favoriteRow;
    };
    // The channels of connection `source`, with `favorites` as they are when the work starts (the
    // flags are made again on the main thread if they have changed by then). Touches nothing but its
    // arguments: runs on any thread. Throws CancelledError once `cancellation` is raised.
    static Prepared prepare(QList<Channel> channels, const QSet<QString> &favorites, const QUuid &source,
                            const CancellationFlag &cancellation = {});

    // The channels of connection `source`, in the order the connection listed them.
    void setChannels(QList<Channel> channels, const QUuid &source);
    // The same with the work of prepare() already done; the names are folded on the thread pool
    // afterwards. The previous channels are freed off the main thread.
    void setPrepared(Prepared prepared, const QUuid &source);
    // Whether the names are folded for the search (a search before then folds them at once).
    bool namesFolded() const { return m_namesFolded; }
    // Where logos and now-playing lines come from, by position in the list (not owned).
    void setGuide(const ProgrammeGuide *guide);
    void setSearch(const QString &search);
    // None shows every group; otherwise only channels whose group equals it exactly.
    void setCategory(const std::optional<QString> &category);
    void setFavoritesOnly(bool favoritesOnly);
    // Favourite keys of every connection ("UUID:channelID", Channel::favoriteID); only those of the
    // current connection count.
    void setFavorites(const QSet<QString> &favorites);

    int selectedCount() const { return m_selectedCount; }
    // Chooses or unchooses the channel shown at `row`.
    Q_INVOKABLE void setSelectedAt(int row, bool selected);
    // Chooses every channel shown (earlier choices stay).
    Q_INVOKABLE void selectFiltered();
    Q_INVOKABLE void clearSelection();
    // The chosen channels, in the connection's order.
    QList<Channel> selectedChannels() const;
    // The favourite channels of the connection listed, in the connection's order.
    QList<Channel> favoriteChannels() const;
    // The channels of one group, in the connection's order.
    QList<Channel> channelsInGroup(const QString &group) const;

    // Memory the model holds for its channels (the channels themselves included), in bytes.
    qsizetype byteSize() const;

Q_SIGNALS:
    void countChanged();
    void searchChanged();
    void categoryChanged();
    void favoritesOnlyChanged();
    void favoritesChanged();
    void channelsChanged();
    void selectionChanged();

private:
    const ProgrammeGuide *m_guide = nullptr;
    std::vector<qint32> filteredRows();
    bool passesCategoryAndFavorites(qint32 row) const;
    void applyRows(std::vector<qint32> rows);
    void install(Prepared prepared, const QUuid &source);
    void foldNamesNow();
    QCoro::Task<> foldNames(RequestSlot::Ticket ticket);
    void refilter();
    void updateFavoriteFlags();
    void selectionEdited();

    QList<Channel> m_channels;
    QUuid m_source;
    FoldedNameIndex m_names;
    bool m_namesFolded = true;
    RequestSlot m_folding;                  // the names being folded on the thread pool
    std::vector<qint32> m_groupOfRow;       // index into the group list, per channel
    QHash<QString, qint32> m_groupIndex;    // group name → that index
    std::vector<bool> m_favoriteRow;        // per channel: its key is in m_favorites
    std::vector<Channel::Digest> m_favoriteDigests; // sorted: favourites of m_source

    QString m_search;
    QString m_foldedSearch;
    std::optional<QString> m_category;
    qint32 m_categoryGroup = -1;            // -1: all groups; -2: a group no channel has
    bool m_favoritesOnly = false;
    QSet<QString> m_favorites;

    std::vector<qint32> m_visible;          // rows of m_channels shown, ascending
    std::vector<bool> m_selectedRow;        // per channel: chosen in selection mode
    int m_selectedCount = 0;
    ChannelCategoriesModel *m_categories = nullptr;
};
