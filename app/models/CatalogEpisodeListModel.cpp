#include "CatalogEpisodeListModel.h"

#include "records/WatchProgress.h"
#include "stores/WatchHistory.h"

CatalogEpisodeListModel::CatalogEpisodeListModel(const WatchHistory &history, QObject *parent)
    : QAbstractListModel(parent)
    , m_history(history)
{
    connect(&history, &WatchHistory::recordsChanged, this, &CatalogEpisodeListModel::historyChanged);
}

int CatalogEpisodeListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant CatalogEpisodeListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CatalogEpisode &episode = m_episodes.at(index.row());
    const QString key = m_source ? WatchProgress::key(*m_source, CatalogKind::series, episode.id) : QString();
    switch (role) {
    case EpisodeIDRole:
        return episode.id;
    case SeasonRole:
        return episode.season;
    case NumberRole:
        return episode.number;
    case Qt::DisplayRole:
    case TitleRole:
        return episode.title;
    case PlotRole:
        return episode.plot;
    case DurationRole:
        return episode.duration;
    case ImageRole:
        return episode.image.value_or(QUrl());
    case WatchKeyRole:
        return key;
    default:
        break;
    }
    const std::optional<WatchProgress> record = key.isEmpty() ? std::nullopt : m_history.record(key);
    switch (role) {
    case HasRecordRole:
        return record.has_value();
    case WatchedRole:
        return record && record->watched;
    case ProgressSecondsRole:
        return record ? record->seconds : 0.0;
    case ProgressDurationRole:
        return record ? record->duration : 0.0;
    case ProgressFractionRole:
        return record ? record->fraction() : 0.0;
    default:
        return {};
    }
}

QHash<int, QByteArray> CatalogEpisodeListModel::roleNames() const
{
    return {
        {EpisodeIDRole, "episodeID"},
        {SeasonRole, "season"},
        {NumberRole, "number"},
        {TitleRole, "title"},
        {PlotRole, "plot"},
        {DurationRole, "duration"},
        {ImageRole, "image"},
        {WatchKeyRole, "watchKey"},
        {HasRecordRole, "hasRecord"},
        {WatchedRole, "watched"},
        {ProgressSecondsRole, "progressSeconds"},
        {ProgressDurationRole, "progressDuration"},
        {ProgressFractionRole, "progressFraction"},
    };
}

void CatalogEpisodeListModel::setEpisodes(
    const QList<CatalogEpisode> &episodes, const std::optional<QUuid> &source)
{
    if (episodes == m_episodes && source == m_source)
        return;
    const int previousCount = count();
    beginResetModel();
    m_episodes = episodes;
    m_source = source;
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}

void CatalogEpisodeListModel::historyChanged()
{
    if (!m_episodes.isEmpty())
        Q_EMIT dataChanged(index(0), index(count() - 1),
            {HasRecordRole, WatchedRole, ProgressSecondsRole, ProgressDurationRole, ProgressFractionRole});
}
