#include "GuideGenerator.h"

#include <array>

namespace {

// splitmix64: small, fast and the same everywhere.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_state(seed)
    {
    }
    quint64 next()
    {
        quint64 z = (m_state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    int below(int bound) { return int(next() % quint64(bound)); }
    bool chance(int percent) { return below(100) < percent; }

private:
    quint64 m_state;
};

const std::array<const char *, 24> words = {
    "Notícies", "Esports", "Cinema", "Música", "Història", "Natura", "Cuina", "Viatges",
    "Débat", "Économie", "Télé", "Première", "Science", "Kinder", "Wetter", "Fußball",
    "Новости", "Спорт", "Кино", "Ειδήσεις", "Αθλητικά", "Documentales", "Mañana", "Noche"};
const std::array<const char *, 6> offsets = {"+0000", "+0100", "+0200", "-0500", "+0530", "+0300"};
const std::array<const char *, 8> countries = {"es", "fr", "de", "uk", "it", "ru", "gr", "cat"};
const std::array<const char *, 12> categories = {
    "News", "Sports", "Movie", "Series", "Documentary", "Kids", "Music", "Entertainment",
    "Notícies", "Pel·lícula", "Sèrie", "Magazine"};
const std::array<int, 10> lengths = {15, 30, 60, 90, 120, 180, 210, 240, 300, 255}; // minutes, 150 on average
const std::array<const char *, 10> sentences = {
    "Una història d’amor i d’aventures que travessa tres generacions.",
    "Le magazine revient sur l’actualité de la semaine avec ses invités.",
    "Die Mannschaft trifft im Halbfinale auf den Titelverteidiger.",
    "Documental sobre la vida salvaje en los Pirineos durante el invierno.",
    "A detective returns to her home town to solve a case that has haunted it for years.",
    "Программа о главных событиях дня в стране и мире.",
    "Resum de la jornada amb les millors imatges i les declaracions dels protagonistes.",
    "Recettes de saison & astuces de chef pour les fêtes.",
    "Episode with \"special\" guests <live> from the studio.",
    "Ο καιρός σήμερα και αύριο σε όλη τη χώρα."};

// Minimal escaping, as guide writers do it.
void appendEscaped(QByteArray &out, const char *text)
{
    for (const char *c = text; *c; ++c) {
        switch (*c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += *c;
        }
    }
}

void appendNumber(QByteArray &out, qint64 value, int width)
{
    char digits[24];
    for (int i = width - 1; i >= 0; --i) {
        digits[i] = char('0' + value % 10);
        value /= 10;
    }
    out.append(digits, width);
}

// "YYYYMMDDhhmmss ±hhmm" of a UTC time shown at `offsetMinutes`.
void appendTime(QByteArray &out, qint64 utc, const char *offset)
{
    const int sign = offset[0] == '-' ? -1 : 1;
    const int offsetMinutes = sign * (((offset[1] - '0') * 10 + (offset[2] - '0')) * 60 + (offset[3] - '0') * 10 + (offset[4] - '0'));
    const qint64 local = utc + offsetMinutes * 60;
    qint64 days = local / 86400;
    const qint64 seconds = local % 86400;
    // civil_from_days (Howard Hinnant).
    days += 719468;
    const qint64 era = days / 146097;
    const qint64 dayOfEra = days - era * 146097;
    const qint64 yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 mp = (5 * dayOfYear + 2) / 153;
    const qint64 day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const qint64 month = mp < 10 ? mp + 3 : mp - 9;
    const qint64 year = yearOfEra + era * 400 + (month <= 2);
    appendNumber(out, year, 4);
    appendNumber(out, month, 2);
    appendNumber(out, day, 2);
    appendNumber(out, seconds / 3600, 2);
    appendNumber(out, seconds / 60 % 60, 2);
    appendNumber(out, seconds % 60, 2);
    out += ' ';
    out += offset;
}

} // namespace

GuideGenerator::GuideGenerator(Options options)
    : m_options(options)
{
}

QByteArray GuideGenerator::channelId(int index)
{
    QByteArray id = "c";
    appendNumber(id, index, 5);
    id += '.';
    id += countries[size_t(index) % countries.size()];
    return id;
}

QByteArray GuideGenerator::channelName(int index)
{
    QByteArray name = words[size_t(index) % words.size()];
    name += ' ';
    name += words[size_t(index / 24) % words.size()];
    name += ' ';
    name += QByteArray::number(index);
    return name;
}

GuideGenerator::Written GuideGenerator::write(const std::function<void(const QByteArray &)> &sink) const
{
    Written written;
    QByteArray out;
    out.reserve(1 << 21);
    auto flush = [&](bool always) {
        if (out.size() >= (1 << 20) || (always && !out.isEmpty())) {
            written.bytes += out.size();
            sink(out);
            out.clear();
        }
    };
    Random random(m_options.seed);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE tv SYSTEM \"xmltv.dtd\">\n"
           "<tv generator-info-name=\"quenvo-bench-guide\" source-info-name=\"generated\">\n";
    for (int c = 0; c < m_options.channels; ++c) {
        out += "  <channel id=\"" + channelId(c) + "\">\n    <display-name lang=\"";
        out += countries[size_t(c) % countries.size()];
        out += "\">" + channelName(c) + "</display-name>\n";
        if (random.chance(40))
            out += "    <display-name>" + channelName(c) + " HD</display-name>\n";
        out += "    <icon src=\"http://logos.example/" + channelId(c) + ".png\" />\n  </channel>\n";
        ++written.channels;
        flush(false);
    }
    const qint64 end = m_options.firstDay + qint64(m_options.days) * 86400;
    for (int c = 0; c < m_options.channels; ++c) {
        const QByteArray id = channelId(c);
        const char *offset = offsets[size_t(c) % offsets.size()];
        for (qint64 start = m_options.firstDay; start < end;) {
            const qint64 stop = start + lengths[size_t(random.below(int(lengths.size())))] * 60 / m_options.lengthDivisor;
            const int series = random.below(3000);
            out += "<programme start=\"";
            appendTime(out, start, offset);
            out += "\" stop=\"";
            appendTime(out, stop, offset);
            out += "\" channel=\"" + id + "\"><title";
            if (series % 4 == 0)
                out += " lang=\"ca\"";
            out += '>';
            appendEscaped(out, words[size_t(series) % words.size()]);
            out += series % 7 == 0 ? " &amp; " : " ";
            appendEscaped(out, words[size_t(series / 24) % words.size()]);
            out += ' ';
            out += QByteArray::number(series);
            out += "</title>";
            if (random.chance(5)) {
                out += "<sub-title>Episodi ";
                out += QByteArray::number(random.below(200) + 1);
                out += "</sub-title>";
            }
            if (random.chance(5)) {
                out += "<desc lang=\"ca\">";
                appendEscaped(out, sentences[size_t(series) % sentences.size()]);
                if (random.chance(50)) {
                    out += ' ';
                    appendEscaped(out, sentences[size_t(random.below(int(sentences.size())))]);
                }
                out += "</desc>";
            }
            if (random.chance(20)) {
                out += "<category lang=\"en\">";
                out += categories[size_t(series) % categories.size()];
                out += "</category>";
            }
            if (random.chance(1))
                out += "<!-- repeat -->";
            out += "</programme>\n";
            ++written.programmes;
            start = stop;
            flush(false);
        }
    }
    out += "</tv>\n";
    flush(true);
    return written;
}
