#pragma once

#include "records/CatalogEpisode.h"

#include <QAbstractListModel>
#include <QList>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <optional>

class WatchHistory;

// The episodes of the season the detail page shows, in the detail's order, each with its watch
// record (watched mark and progress) from the watch history. Filled by CatalogModel; the watch roles
// follow the history as it changes.
class CatalogEpisodeListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Filled by the catalogue model.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        EpisodeIDRole = Qt::UserRole + 1,
        SeasonRole,
        NumberRole,
        TitleRole,
        PlotRole,
        DurationRole,
        ImageRole,
        WatchKeyRole,
        HasRecordRole, // the history holds a record for the episode
        WatchedRole,
        ProgressSecondsRole,
        ProgressDurationRole,
        ProgressFractionRole,
    };
    Q_ENUM(Roles)

    explicit CatalogEpisodeListModel(const WatchHistory &history, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_episodes.size()); }
    const QList<CatalogEpisode> &episodes() const { return m_episodes; }
    const CatalogEpisode &episodeAt(int row) const { return m_episodes.at(row); }

    // The episodes of `source`'s series (none: no watch records are looked up).
    void setEpisodes(const QList<CatalogEpisode> &episodes, const std::optional<QUuid> &source);

Q_SIGNALS:
    void countChanged();

private:
    void historyChanged();

    const WatchHistory &m_history;
    std::optional<QUuid> m_source;
    QList<CatalogEpisode> m_episodes;
};
