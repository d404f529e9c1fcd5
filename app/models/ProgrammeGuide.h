#pragma once

#include "async/Cancellation.h"
#include "async/RequestSlot.h"
#include "guide/GuideData.h"
#include "guide/GuideMatcher.h"
#include "http/HTTPClient.h"
#include "records/Channel.h"
#include "records/ChannelExtras.h"
#include "records/PlaylistSource.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <QVariantList>
#include <QtQmlIntegration/qqmlintegration.h>

#include <functional>
#include <optional>

// The programme guide of the active connection: the logos its list names, and what is on each
// channel now and later. The guide comes from the addresses the playlist's header names (for an
// Xtream account, its xmltv.php), is kept on disk for twelve hours, and is matched to the channels
// by guide id, then by name. Where an Xtream channel has no match, the account's short guide of the
// channel being played fills in. A guide that cannot be had never disturbs the channels: it leaves
// a quiet note.
//
// Owned by the library model, which hands it every loaded list and the channel being played.
class ProgrammeGuide : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by the library model")
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged FINAL)
    Q_PROPERTY(QString note READ note NOTIFY noteChanged FINAL)
    // Changes when the guide arrives and every minute, so that now-playing lines follow the clock.
    Q_PROPERTY(int revision READ revision NOTIFY revisionChanged FINAL)
    // The channel being played: what is on now, then the rest of the day, each entry a map with
    // "start", "stop" (local "HH:mm"), "title", "description", "now" (bool) and "progress" (0–1).
    Q_PROPERTY(QVariantList currentSchedule READ currentSchedule NOTIFY currentScheduleChanged FINAL)

public:
    using Clock = std::function<qint64()>; // seconds since 1970

    ProgrammeGuide(HTTPClient::Fetch fetch, QString cacheFolder, QObject *parent = nullptr);
    ~ProgrammeGuide() override;

    static QString unavailableNote();

    void setClock(Clock clock) { m_clock = std::move(clock); }

    // A new list of the active connection: `baseAddress` resolves relative guide addresses. Takes a
    // few microseconds whatever the list's size: what the matching needs is made on the thread pool.
    void reset(const PlaylistSource &source, const QByteArray &baseAddress, const QList<Channel> &channels,
               const ChannelExtras &extras);
    void clear();
    void setCurrentChannel(const std::optional<Channel> &channel);

    bool loading() const { return m_loading; }
    const QString &note() const { return m_note; }
    int revision() const { return m_revision; }
    const QVariantList &currentSchedule() const { return m_currentSchedule; }

    // By the channel's position in the list given to reset.
    QString logo(qsizetype channel) const;
    // The same by the channel's id; empty for a channel not in the list.
    QString logoOf(const QString &channelID) const { return logo(positionOf(channelID)); }
    std::optional<GuideProgramme> now(qsizetype channel) const;
    qint64 currentTime() const { return m_clock(); }

Q_SIGNALS:
    void loadingChanged();
    void noteChanged();
    void revisionChanged();
    void currentScheduleChanged();

private:
    QCoro::Task<> load(QList<QUrl> addresses, QList<Channel> channels, ChannelExtras extras, RequestSlot::Ticket ticket);
    // The position of a channel in the list; -1 when it is not there. The channel playing's is kept.
    qsizetype positionOf(const QString &channelID) const;
    qsizetype positionOf(const Channel::Digest &digest) const;
    QCoro::Task<> loadShortGuide(QString streamID, QString channelID, RequestSlot::Ticket ticket);
    // Drops everything of the previous list, without telling the rows.
    void forget();
    void bump();
    void updateCurrentSchedule();
    QVariantList scheduleEntries(const QList<GuideProgramme> &programmes) const;

    HTTPClient::Fetch m_fetch;
    QString m_cacheFolder;
    Clock m_clock;
    QTimer m_minute;
    RequestSlot m_load;
    RequestSlot m_shortLoad;

    std::optional<PlaylistSource> m_source;
    QList<Channel> m_channels;
    ChannelExtras m_extras;
    GuideData m_guide;
    QList<qsizetype> m_match; // position → guide channel, or GuideMatcher::noMatch
    std::optional<Channel> m_currentChannel;
    qsizetype m_currentPosition = -1; // of m_currentChannel in m_channels
    QString m_shortGuideChannel; // channel id the short guide below belongs to
    QList<GuideProgramme> m_shortGuide;

    bool m_loading = false;
    QString m_note;
    int m_revision = 0;
    QVariantList m_currentSchedule;
};
