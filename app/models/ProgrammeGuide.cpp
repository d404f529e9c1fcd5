#include "ProgrammeGuide.h"

#include "async/Background.h"
#include "guide/GuideCache.h"
#include "guide/GuideRepository.h"
#include "guide/GuideWindow.h"
#include "text/LocalizedText.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QTimeZone>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

QString clockText(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(u"HH:mm"_s);
}

// An Xtream stream's id: the last part of its address, without the extension.
QString streamIDOf(const Channel &channel)
{
    const QString path = channel.url().path();
    const QString file = path.section(u'/', -1);
    return file.section(u'.', 0, 0);
}

} // namespace

ProgrammeGuide::ProgrammeGuide(HTTPClient::Fetch fetch, QString cacheFolder, QObject *parent)
    : QObject(parent)
    , m_fetch(std::move(fetch))
    , m_cacheFolder(std::move(cacheFolder))
    , m_clock([] { return QDateTime::currentSecsSinceEpoch(); })
{
    m_minute.setInterval(60'000);
    connect(&m_minute, &QTimer::timeout, this, &ProgrammeGuide::bump);
}

ProgrammeGuide::~ProgrammeGuide() = default;

QString ProgrammeGuide::unavailableNote()
{
    return u"No s’ha pogut carregar la guia de programació."_s;
}

void ProgrammeGuide::reset(const PlaylistSource &source, const QByteArray &baseAddress,
                           const QList<Channel> &channels, const ChannelExtras &extras)
{
    forget();
    m_source = source;
    m_channels = channels;
    m_extras = extras;
    m_currentPosition = m_currentChannel ? positionOf(m_currentChannel->digest()) : -1;
    const QUrl base = QUrl::fromEncoded(baseAddress);
    QList<QUrl> addresses;
    for (const QString &address : extras.guideAddresses()) {
        const QUrl url = base.resolved(QUrl(address));
        if (url.scheme() == u"http"_s || url.scheme() == u"https"_s)
            addresses.append(url);
    }
    // Started first: while the guide is on its way, the channel playing waits for it rather than
    // asking for its short guide.
    if (!addresses.isEmpty())
        load(std::move(addresses), channels, extras, m_load.begin());
    bump();
}

void ProgrammeGuide::clear()
{
    forget();
    bump();
}

void ProgrammeGuide::forget()
{
    m_load.invalidate();
    m_shortLoad.invalidate();
    m_source.reset();
    m_extras = ChannelExtras();
    // Normally the channel list still holds these channels; if not, freeing them is not this
    // thread's work.
    if (!m_channels.isEmpty())
        releaseInBackground(std::exchange(m_channels, {}));
    m_currentPosition = -1;
    m_guide = GuideData();
    m_match.clear();
    m_shortGuide.clear();
    m_shortGuideChannel.clear();
    m_minute.stop();
    if (std::exchange(m_loading, false))
        Q_EMIT loadingChanged();
    if (!m_note.isEmpty()) {
        m_note.clear();
        Q_EMIT noteChanged();
    }
}

QCoro::Task<> ProgrammeGuide::load(QList<QUrl> addresses, QList<Channel> channels, ChannelExtras extras,
                                   RequestSlot::Ticket ticket)
{
    QPointer<ProgrammeGuide> self(this);
    m_loading = true;
    Q_EMIT loadingChanged();
    QStringList texts;
    for (const QUrl &address : addresses)
        texts.append(QString::fromLatin1(address.toEncoded()));
    const QString cacheKey = texts.join(u'\n');
    const GuideCache cache(m_cacheFolder);
    const qint64 now = m_clock();

    // Shared with the work on the thread pool rather than copied for it (a guide is megabytes).
    std::shared_ptr<GuideData> guide;
    bool failed = false;
    // A fresh copy on disk spares the download; a stale one is the fallback when it fails.
    // Lambdas are named before their co_await: GCC 12 destroys a temporary one twice.
    auto read = [cache, cacheKey] { return cache.load(cacheKey); };
    // A compressed guide is asked for as it is: the parser inflates it on the thread pool while it
    // reads it, where the network stack would inflate it on this thread (tens of milliseconds for a
    // few megabytes). The parser's own limit counts the inflated bytes.
    const HTTPClient::Fetch compressed = [fetch = m_fetch](QNetworkRequest request, CancellationToken cancellation) {
        request.setRawHeader("Accept-Encoding", "gzip");
        return fetch(std::move(request), std::move(cancellation));
    };
    auto cached = co_await inBackground(std::move(read));
    if (!self || !ticket.isCurrent())
        co_return;
    if (cached && !cached->isStale(QDateTime::fromSecsSinceEpoch(now, QTimeZone::utc()))) {
        guide = std::make_shared<GuideData>(std::move(cached->guide));
    } else {
        try {
            GuideData fetched = co_await GuideRepository(compressed).load(
                addresses, GuideWindow::around(now), ticket.cancellation());
            if (!self || !ticket.isCurrent())
                co_return;
            auto shared = std::make_shared<GuideData>(std::move(fetched));
            auto store = [cache, cacheKey, shared, now] {
                return cache.store(cacheKey, *shared, QDateTime::fromSecsSinceEpoch(now, QTimeZone::utc()));
            };
            co_await inBackground(std::move(store));
            guide = std::move(shared);
        } catch (const CancelledError &) {
            co_return;
        } catch (...) {
            failed = true;
            if (cached)
                guide = std::make_shared<GuideData>(std::move(cached->guide));
        }
    }
    if (!self || !ticket.isCurrent())
        co_return;

    QList<qsizetype> match;
    if (guide) {
        // Folding 100,000 names and matching them takes a few tens of milliseconds: not here.
        auto matchAll = [data = guide, channels = std::move(channels), extras = std::move(extras)] {
            QList<GuideMatcher::Subject> subjects;
            subjects.reserve(channels.size());
            for (qsizetype i = 0; i < channels.size(); ++i)
                subjects.append({extras.guideID(i), LocalizedText::folded(channels.at(i).name())});
            return GuideMatcher(*data).match(subjects);
        };
        match = co_await inBackground(std::move(matchAll));
        if (!self || !ticket.isCurrent())
            co_return;
        m_guide = std::move(*guide);
        m_match = std::move(match);
        m_minute.start();
    }
    m_loading = false;
    Q_EMIT loadingChanged();
    const QString note = failed && !guide ? unavailableNote() : QString();
    if (note != m_note) {
        m_note = note;
        Q_EMIT noteChanged();
    }
    bump();
}

void ProgrammeGuide::setCurrentChannel(const std::optional<Channel> &channel)
{
    if (channel == m_currentChannel)
        return;
    m_currentChannel = channel;
    m_currentPosition = channel ? positionOf(channel->digest()) : -1;
    updateCurrentSchedule();
}

qsizetype ProgrammeGuide::positionOf(const Channel::Digest &digest) const
{
    // One pass over the list when the channel playing changes: a lookup table of 100,000 ids would
    // cost more to build at every load than the passes ever take.
    for (qsizetype i = 0; i < m_channels.size(); ++i) {
        if (m_channels.at(i).digest() == digest)
            return i;
    }
    return -1;
}

qsizetype ProgrammeGuide::positionOf(const QString &channelID) const
{
    if (m_currentChannel && m_currentChannel->id() == channelID)
        return m_currentPosition;
    const QByteArray bytes = QByteArray::fromHex(channelID.toLatin1());
    Channel::Digest digest {};
    if (bytes.size() != qsizetype(digest.size()))
        return -1;
    std::copy(bytes.cbegin(), bytes.cend(), digest.begin());
    // fromHex skips what is not a digit and reads capitals too: only the id as written is the channel's.
    const qsizetype position = positionOf(digest);
    return position >= 0 && m_channels.at(position).id() == channelID ? position : -1;
}

QString ProgrammeGuide::logo(qsizetype channel) const
{
    return m_extras.logo(channel);
}

std::optional<GuideProgramme> ProgrammeGuide::now(qsizetype channel) const
{
    if (channel < 0 || channel >= m_match.size() || m_match.at(channel) == GuideMatcher::noMatch)
        return std::nullopt;
    return m_guide.now(m_match.at(channel), m_clock());
}

void ProgrammeGuide::bump()
{
    ++m_revision;
    Q_EMIT revisionChanged();
    updateCurrentSchedule();
}

QVariantList ProgrammeGuide::scheduleEntries(const QList<GuideProgramme> &programmes) const
{
    const qint64 now = m_clock();
    QVariantList entries;
    for (const GuideProgramme &programme : programmes) {
        if (programme.stop <= now)
            continue;
        const bool onNow = programme.start <= now;
        const double length = double(std::max<qint64>(1, programme.stop - programme.start));
        entries.append(QVariantMap{
            {u"start"_s, clockText(programme.start)},
            {u"stop"_s, clockText(programme.stop)},
            {u"title"_s, programme.title},
            {u"description"_s, programme.description},
            {u"now"_s, onNow},
            {u"progress"_s, onNow ? double(now - programme.start) / length : 0.0},
        });
    }
    return entries;
}

void ProgrammeGuide::updateCurrentSchedule()
{
    QVariantList entries;
    if (m_currentChannel) {
        const qint64 now = m_clock();
        // The rest of today, in the user's time zone; at least the programme after the current one.
        QDateTime endOfDay = QDateTime::fromSecsSinceEpoch(now).addDays(1);
        endOfDay.setTime(QTime(0, 0));
        const qint64 until = endOfDay.toSecsSinceEpoch();
        const qsizetype position = m_currentPosition;
        const qsizetype guideChannel = position >= 0 && position < m_match.size() ? m_match.at(position)
                                                                                   : GuideMatcher::noMatch;
        if (guideChannel != GuideMatcher::noMatch) {
            QList<GuideProgramme> programmes = m_guide.schedule(guideChannel, now, until);
            if (programmes.size() < 2) {
                if (const auto next = m_guide.next(guideChannel, now); next && !programmes.contains(*next))
                    programmes.append(*next);
            }
            entries = scheduleEntries(programmes);
        } else if (m_shortGuideChannel == m_currentChannel->id()) {
            entries = scheduleEntries(m_shortGuide);
        } else if (m_source && m_source->kind == PlaylistSource::Kind::xtream && !m_loading) {
            m_shortGuideChannel = m_currentChannel->id();
            m_shortGuide.clear();
            loadShortGuide(streamIDOf(*m_currentChannel), m_currentChannel->id(), m_shortLoad.begin());
        }
    }
    if (entries != m_currentSchedule) {
        m_currentSchedule = entries;
        Q_EMIT currentScheduleChanged();
    }
}

QCoro::Task<> ProgrammeGuide::loadShortGuide(QString streamID, QString channelID, RequestSlot::Ticket ticket)
{
    QPointer<ProgrammeGuide> self(this);
    const PlaylistSource source = *m_source;
    QList<GuideProgramme> programmes;
    try {
        const QUrl address = PlaylistSource::httpURL(source.base() + u"/player_api.php?"_s + source.credentials()
                                                     + u"&action=get_short_epg&limit=12&stream_id="_s + streamID);
        const HTTPPayload payload = co_await m_fetch(HTTPClient::providerRequest(address), ticket.cancellation());
        const QJsonArray listings
            = QJsonDocument::fromJson(payload.data).object().value(u"epg_listings"_s).toArray();
        for (const QJsonValue &value : listings) {
            const QJsonObject listing = value.toObject();
            GuideProgramme programme;
            programme.start = listing.value(u"start_timestamp"_s).toVariant().toLongLong();
            programme.stop = listing.value(u"stop_timestamp"_s).toVariant().toLongLong();
            // Panels send the texts in base64.
            programme.title = QString::fromUtf8(QByteArray::fromBase64(listing.value(u"title"_s).toString().toLatin1()));
            programme.description = QString::fromUtf8(
                QByteArray::fromBase64(listing.value(u"description"_s).toString().toLatin1()));
            if (programme.start > 0 && programme.stop > programme.start && !programme.title.isEmpty())
                programmes.append(programme);
        }
    } catch (...) {
        // A channel without a short guide simply shows none.
    }
    if (!self || !ticket.isCurrent() || m_shortGuideChannel != channelID)
        co_return;
    m_shortGuide = std::move(programmes);
    updateCurrentSchedule();
}
