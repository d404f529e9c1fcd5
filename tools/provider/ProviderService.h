#pragma once

#include "HttpReply.h"
#include "HttpRequest.h"
#include "ProviderAnswers.h"
#include "ProviderGuide.h"
#include "ProviderCatalog.h"
#include "ProviderMedia.h"
#include "ProviderOptions.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>

#include <functional>
#include <optional>

class QTcpServer;
struct ProviderCounters;

// The provider's HTTP side: listens on 127.0.0.1 and answers every request from the catalogue and
// the media. Lives in the server's thread; ProviderServer calls listen() and shutdown() there.
//
// Addresses:
//   /playlist.m3u, /protected.m3u (Basic demo:demo), /hls.m3u8 and its /hls/<n>.ts segments;
//   /get.php and /player_api.php (Xtream), /live/<user>/<password>/<id>.ts|.m3u8 and the HLS
//   segments /live/<user>/<password>/<id>/<n>.ts, /movie/… and /series/… (with Range),
//   /images/<name>. A plain-text summary at "/".
class ProviderService : public QObject
{
    Q_OBJECT

public:
    ProviderService(const ProviderCatalog &catalog, ProviderMedia media, const ProviderOptions &options,
        ProviderCounters &counters);
    ~ProviderService() override;

    // Returns false, with errorString(), when the port cannot be taken.
    bool listen(quint16 port);
    quint16 port() const;
    QString errorString() const { return m_error; }
    // Stops listening and drops every connection.
    void shutdown();

    // The answer to one request; also logs it (category quenvo.provider, info level).
    HttpReply answer(const HttpRequest &request);

private:
    HttpReply route(const HttpRequest &request);
    HttpReply indexPage() const;
    HttpReply playlist(const ProviderAccount &account, const QString &extension);
    HttpReply protectedPlaylist(const HttpRequest &request);
    HttpReply getPhp(const HttpRequest &request);
    HttpReply playerAPI(const HttpRequest &request);
    HttpReply live(const HttpRequest &request);
    HttpReply catalogueFile(const HttpRequest &request, bool series);
    HttpReply image(const HttpRequest &request);
    // The programme guide as XMLTV: gzip-compressed as a file (`asFile`), else plain or, when the
    // client accepts it, with Content-Encoding gzip.
    HttpReply guide(const HttpRequest &request, bool asFile);
    HttpReply hlsPlaylist(int clip, const QString &segmentPrefix, bool ended) const;
    HttpReply hlsSegment(int clip, const QString &sequence, bool ended) const;
    QByteArray cached(const QString &key, const std::function<QByteArray()> &make);

    const ProviderCatalog &m_catalog;
    const ProviderMedia m_media;
    const ProviderOptions m_options;
    ProviderCounters &m_counters;
    QTcpServer *m_server = nullptr;
    std::optional<ProviderAnswers> m_answers;
    ProviderGuide m_guide;
    qint64 m_guideQuarter = -1; // which quarter of an hour the guide below was made in
    QByteArray m_guideXml;
    QByteArray m_guideGzip;
    QHash<QString, QByteArray> m_cache;
    QElapsedTimer m_liveClock; // the live HLS windows move with it
    QString m_error;
};
