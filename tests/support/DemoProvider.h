#pragma once

// What the playback tests share: the local provider with generated media, its demo Xtream account as
// a connection, and the live channel of each test kind as the library model lists it.

#include "ProviderServer.h"
#include "records/Channel.h"
#include "records/PlaylistSource.h"

#include <QList>
#include <QString>
#include <QUuid>

#include <memory>
#include <optional>

class DemoProvider
{
public:
    // Starts the provider on a free port: false, with server().errorString(), when it cannot listen.
    bool start(const ProviderOptions &options)
    {
        m_server = std::make_unique<ProviderServer>(options);
        if (!m_server->start())
            return false;
        m_account.address = m_server->baseURL().toString();
        m_account.username = ProviderCatalog::demoUsername();
        m_account.password = ProviderCatalog::demoPassword();
        return true;
    }

    // Why there is no media to play (no ffmpeg): the playback tests skip then. Empty when there is.
    QString mediaProblem() const
    {
        return m_server->mediaAvailable() ? QString() : QStringLiteral("no generated media: ") + m_server->mediaError();
    }

    const ProviderServer &server() const { return *m_server; }
    const PlaylistSource &account() const { return m_account; }

    // The channel of that kind among `channels` (the demo account's live list), found by its name.
    std::optional<Channel> liveChannel(ProviderCatalog::LiveKind kind, const QList<Channel> &channels) const
    {
        const ProviderCatalog &catalog = m_server->catalog();
        const QString name = catalog.liveChannelName(catalog.liveChannelIndex(kind));
        for (const Channel &channel : channels) {
            if (channel.name() == name)
                return channel;
        }
        return std::nullopt;
    }

private:
    std::unique_ptr<ProviderServer> m_server;
    PlaylistSource m_account{QUuid::createUuid(), QStringLiteral("Demo"), QString(), QString(), QString(),
                             PlaylistSource::Kind::xtream};
};
