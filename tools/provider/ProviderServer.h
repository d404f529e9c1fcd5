#pragma once

#include "ProviderCatalog.h"
#include "ProviderCounters.h"
#include "ProviderMedia.h"
#include "ProviderOptions.h"

#include <QObject>
#include <QUrl>

#include <memory>

class QThread;
class ProviderService;

// A local IPTV provider on 127.0.0.1 for tests, benchmarks and first runs: M3U playlists, an Xtream
// player_api.php with demo accounts, and real media (live MPEG-TS and HLS, movies with Range).
//
// It serves from a thread of its own, so a caller may block its thread (QCoro::waitFor, nested event
// loops, a QProcess::waitForFinished on ffprobe) while clients are answered. start() blocks while
// the media is generated (a few seconds the first time, then read from the cache folder).
//
//     ProviderServer server({.liveChannels = 500});
//     QVERIFY(server.start());
//     const QUrl playlist = server.url(u"/playlist.m3u"_s);
//     const QString first = server.catalog().liveChannelName(0);
class ProviderServer : public QObject
{
    Q_OBJECT

public:
    explicit ProviderServer(ProviderOptions options = {}, QObject *parent = nullptr);
    ~ProviderServer() override;

    // Prepares the media, then listens on 127.0.0.1:`port` (0: any free port). False, with
    // errorString(), when the port cannot be taken; media problems do not fail it (see mediaError()).
    bool start(quint16 port = 0);
    // Drops every connection and stops listening; start() may be called again.
    void stop();
    bool isListening() const { return m_port != 0; }
    QString errorString() const { return m_error; }

    // "http://127.0.0.1:<port>", also the Xtream server address.
    QUrl baseURL() const;
    // An address of this server: `pathAndQuery` starts with "/".
    QUrl url(const QString &pathAndQuery) const;
    quint16 port() const { return m_port; }

    const ProviderOptions &options() const { return m_options; }
    const ProviderCatalog &catalog() const { return m_catalog; }

    bool mediaAvailable() const { return m_media.isAvailable(); }
    // Why there is no media (ffmpeg missing, generation off or failed); empty when there is.
    QString mediaError() const { return m_media.error(); }
    QString mediaFolder() const;
    // The bytes the server plays (clips, segments, movie, images), to compare answers against.
    const ProviderMedia &media() const { return m_media; }

    // Readable from any thread while the server runs.
    int openConnections() const { return m_counters.connections; }
    int activeStreams() const { return m_counters.streams; }
    long long requestCount() const { return m_counters.requests; }
    // Requests under /images/, in total and per address as sent ("/images/poster-1.jpg?movie=7").
    long long imageRequestCount() const { return m_counters.imageRequests; }
    QHash<QString, int> imageRequestsByAddress() const { return m_counters.imageRequestsByAddress(); }
    // The most picture answers that were in progress at once (a request waiting for its
    // imageDelayMs counts from its arrival).
    int peakImageAnswers() const { return m_counters.peakImageAnswers; }
    int imageAnswersInProgress() const { return m_counters.imageAnswers; }

private:
    const ProviderOptions m_options;
    const ProviderCatalog m_catalog;
    ProviderMedia m_media;
    ProviderCounters m_counters;
    std::unique_ptr<QThread> m_thread;
    ProviderService *m_service = nullptr; // lives in m_thread, deleted when it finishes
    quint16 m_port = 0;
    QString m_error;
};
