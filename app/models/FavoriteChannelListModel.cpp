#include "FavoriteChannelListModel.h"

int FavoriteChannelListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant FavoriteChannelListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Channel &channel = m_channels.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return channel.name();
    case GroupRole:
        return channel.group();
    case ChannelIDRole:
        return channel.id();
    default:
        return {};
    }
}

QHash<int, QByteArray> FavoriteChannelListModel::roleNames() const
{
    return {
        {NameRole, "name"},
        {GroupRole, "group"},
        {ChannelIDRole, "channelID"},
    };
}

void FavoriteChannelListModel::setChannels(QList<Channel> channels)
{
    if (channels == m_channels)
        return;
    const int previousCount = count();
    beginResetModel();
    m_channels = std::move(channels);
    endResetModel();
    if (count() != previousCount)
        Q_EMIT countChanged();
}
