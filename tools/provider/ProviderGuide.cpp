#include "ProviderGuide.h"
#include "PhpJsonWriter.h"

#include <QDateTime>
#include <QTimeZone>

#include <zlib.h>

using namespace Qt::StringLiterals;

namespace {

const char16_t *const titles[] = {
    u"Telenotícies migdia", u"Esports en directe", u"El temps", u"Documental: la Mediterrània",
    u"Cinema de tarda", u"Concert de mitjanit", u"Magazín del matí", u"Dibuixos animats",
    u"Debat d’actualitat", u"Cuina de proximitat", u"Sèrie: Ciutat d’estiu", u"Telenotícies vespre",
    u"Viatges pel món", u"Futbol: resum de la jornada", u"Música i lletra", u"Programa d’humor",
};

const char16_t *const descriptions[] = {
    u"Les notícies del dia, amb connexions en directe i l’última hora.",
    u"Partits, resultats i entrevistes amb els protagonistes.",
    u"Un recorregut pausat amb imatges inèdites i la veu dels experts.",
    u"Un clàssic restaurat per a tota la família.",
    u"Convidats, música i conversa per començar el dia amb bon peu.",
    u"",
};

constexpr qint64 slotMinutes[] = {30, 45, 60, 90};

QString xmltvTime(qint64 seconds)
{
    // Written in +0100, as many European guides do, so that readers must apply the offset.
    const QDateTime local = QDateTime::fromSecsSinceEpoch(seconds, QTimeZone(3600));
    return local.toString(u"yyyyMMddHHmmss"_s) + u" +0100"_s;
}

QString escaped(const QString &text)
{
    return text.toHtmlEscaped();
}

} // namespace

ProviderGuide::ProviderGuide(const ProviderCatalog &catalog)
    : m_catalog(catalog)
{
}

bool ProviderGuide::covers(int channel) const
{
    return channel >= 0 && channel < std::min(coveredChannels, m_catalog.liveChannelCount());
}

qint64 ProviderGuide::slotLength(int channel) const
{
    return slotMinutes[channel % std::size(slotMinutes)] * 60;
}

ProviderGuide::Programme ProviderGuide::programmeAt(int channel, qint64 time) const
{
    const qint64 length = slotLength(channel);
    const qint64 slot = time >= 0 ? time / length : (time - length + 1) / length;
    const quint64 draw = quint64(slot) * 2654435761u + quint64(channel) * 40503u;
    Programme programme;
    programme.start = slot * length;
    programme.stop = programme.start + length;
    programme.title = QString::fromUtf16(titles[draw % std::size(titles)]);
    programme.description = QString::fromUtf16(descriptions[(draw / 7) % std::size(descriptions)]);
    return programme;
}

QByteArray ProviderGuide::xmltv(qint64 now) const
{
    const int channels = std::min(coveredChannels, m_catalog.liveChannelCount());
    QString text;
    text.reserve(channels * 8000);
    text += u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE tv SYSTEM \"xmltv.dtd\">\n"
            u"<tv generator-info-name=\"Quenvo local provider\">\n"_s;
    for (int channel = 0; channel < channels; ++channel) {
        text += u"  <channel id=\""_s + escaped(m_catalog.liveChannelGuideID(channel)) + u"\">\n"
                u"    <display-name lang=\"ca\">"_s
            + escaped(m_catalog.liveChannelName(channel)) + u"</display-name>\n  </channel>\n"_s;
    }
    const qint64 from = now - 3 * 3600;
    const qint64 to = now + 26 * 3600;
    for (int channel = 0; channel < channels; ++channel) {
        const QString id = escaped(m_catalog.liveChannelGuideID(channel));
        for (Programme programme = programmeAt(channel, from); programme.start < to;
             programme = programmeAt(channel, programme.stop)) {
            text += u"  <programme start=\""_s + xmltvTime(programme.start) + u"\" stop=\""_s
                + xmltvTime(programme.stop) + u"\" channel=\""_s + id + u"\">\n    <title lang=\"ca\">"_s
                + escaped(programme.title) + u"</title>\n"_s;
            if (!programme.description.isEmpty())
                text += u"    <desc lang=\"ca\">"_s + escaped(programme.description) + u"</desc>\n"_s;
            text += u"  </programme>\n"_s;
        }
    }
    text += u"</tv>\n"_s;
    return text.toUtf8();
}

QByteArray ProviderGuide::shortEpg(int channel, int limit, qint64 now) const
{
    QByteArray out;
    PhpJsonWriter json(out);
    json.beginObject();
    json.key("epg_listings");
    json.beginArray();
    if (covers(channel)) {
        const QString guideID = m_catalog.liveChannelGuideID(channel);
        Programme programme = programmeAt(channel, now);
        for (int index = 0; index < limit; ++index, programme = programmeAt(channel, programme.stop)) {
            const auto wall = [](qint64 seconds) {
                return QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc()).toString(u"yyyy-MM-dd HH:mm:ss"_s);
            };
            json.beginObject();
            json.field("id", QString::number(programme.start / 60 + channel));
            json.field("epg_id", QString::number(channel + 1));
            json.field("title", QString::fromLatin1(programme.title.toUtf8().toBase64()));
            json.field("lang", u"ca");
            json.field("start", wall(programme.start));
            json.field("end", wall(programme.stop));
            json.field("description", QString::fromLatin1(programme.description.toUtf8().toBase64()));
            json.field("channel_id", guideID);
            json.field("start_timestamp", QString::number(programme.start));
            json.field("stop_timestamp", QString::number(programme.stop));
            json.endObject();
        }
    }
    json.endArray();
    json.endObject();
    return out;
}

QByteArray ProviderGuide::gzip(const QByteArray &bytes)
{
    z_stream stream{};
    // 15 + 16: a gzip header and trailer around the deflated data.
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    QByteArray out(qsizetype(deflateBound(&stream, uLong(bytes.size()))) + 32, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    const int result = deflate(&stream, Z_FINISH);
    out.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return result == Z_STREAM_END ? out : QByteArray();
}
