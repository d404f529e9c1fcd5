#pragma once

#include "records/Channel.h"

#include <QAbstractListModel>
#include <QList>
#include <QtQml/qqmlregistration.h>

// The favourite channels of the active connection as the favourites browser lists them: those whose
// name contains the browser's search, sorted by name. Filled by FavoritesModel; the view is reset only
// when the rows really differ.
class FavoriteChannelListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Filled by the favourites browser's model.")
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Roles
    {
        NameRole = Qt::UserRole + 1,
        GroupRole,
        ChannelIDRole,
    };
    Q_ENUM(Roles)

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_channels.size()); }
    const QList<Channel> &channels() const { return m_channels; }
    const Channel &channelAt(int row) const { return m_channels.at(row); }

    void setChannels(QList<Channel> channels);

Q_SIGNALS:
    void countChanged();

private:
    QList<Channel> m_channels;
};
