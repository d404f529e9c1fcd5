// libFuzzer target for XmltvParser: any bytes (XML or gzip) must either be refused with the guide's
// IPTVError or give a GuideData that keeps every promise of the reader and the store. A broken
// promise aborts, so libFuzzer keeps the input that broke it.
//
// The same bytes are also fed in pieces (sizes taken from the input), read through a window, written
// to the cache's byte form and back, merged with themselves and matched by channel identifier.

#include "guide/GuideData.h"
#include "guide/GuideMatcher.h"
#include "guide/XmltvParser.h"
#include "records/IPTVError.h"

#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const char *promise, const QString &detail = QString())
{
    std::fprintf(stderr, "guide promise broken: %s %s\n", promise, qUtf8Printable(detail));
    std::abort();
}

void require(bool holds, const char *promise, const QString &detail = QString())
{
    if (!holds)
        fail(promise, detail);
}

struct Outcome
{
    std::optional<GuideData> guide;
    QString error;
    XmltvParser::Summary summary;
};

Outcome read(QByteArrayView bytes, GuideWindow window, qsizetype piece)
{
    XmltvParser parser(XmltvParser::Options {window, XmltvParser::defaultMaximumBytes});
    Outcome outcome;
    try {
        for (qsizetype at = 0; at < bytes.size(); at += piece)
            parser.feed(bytes.sliced(at, std::min(piece, bytes.size() - at)));
        outcome.guide = parser.finish();
    } catch (const IPTVError &error) {
        outcome.error = error.message();
    }
    outcome.summary = parser.summary();
    return outcome;
}

// Returns the size of the largest group of programmes starting together on one channel.
qsizetype checkOrder(const GuideData &guide, const GuideWindow &window)
{
    qsizetype largestGroup = 0;
    for (qsizetype c = 0; c < guide.channelCount(); ++c) {
        require(!guide.channelId(c).isEmpty(), "channel ids are not empty");
        qsizetype group = 0;
        for (qsizetype p = 0; p < guide.programmeCount(c); ++p) {
            const GuideProgramme programme = guide.programme(c, p);
            require(programme.stop > programme.start, "programmes end after they start");
            require(window.overlaps(programme.start, programme.stop), "programmes overlap the window");
            if (p > 0) {
                const GuideProgramme previous = guide.programme(c, p - 1);
                require(previous.start <= programme.start, "programmes are ordered by start");
                require(!(previous == programme), "a programme does not follow its exact repeat");
                group = previous.start == programme.start ? group + 1 : 1;
            } else {
                group = 1;
            }
            largestGroup = std::max(largestGroup, group);
            // What is on at a programme's start is a programme that started then or is still on.
            const std::optional<GuideProgramme> now = guide.now(c, programme.start);
            require(now && now->start <= programme.start && now->stop > programme.start, "now finds a programme on");
        }
    }
    return largestGroup;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const Outcome whole = read(bytes, GuideWindow::everything(), std::max<qsizetype>(1, bytes.size()));
    if (!whole.guide) {
        require(whole.error == XmltvParser::invalidMessage(), "the only refusal is an invalid guide", whole.error);
        require(whole.summary.programmes == 0 || !whole.summary.complete, "a complete guide with programmes is accepted");
    } else {
        require(whole.guide->programmeCount() <= whole.summary.programmes, "no more programmes kept than read");
        require(whole.summary.xmlBytes >= 0, "inflated size counted");
    }

    // Pieces change nothing.
    const qsizetype piece = size > 0 ? qsizetype(data[size - 1] % 61) + 1 : 1;
    const Outcome pieces = read(bytes, GuideWindow::everything(), piece);
    require(pieces.error == whole.error, "pieces fail as the whole does", pieces.error);
    require(pieces.guide == whole.guide, "pieces give the same guide");
    if (!whole.guide)
        return 0;

    const GuideData &guide = *whole.guide;
    const qsizetype largestGroup = checkOrder(guide, GuideWindow::everything());

    const std::optional<GuideData> stored = GuideData::fromSerialized(guide.serialized());
    require(stored && *stored == guide, "the cache's byte form reads back the same guide");

    if (largestGroup <= 16)
        require(GuideData::merged({guide, guide}) == guide, "a guide merged with itself is itself");

    const GuideMatcher matcher(guide);
    for (qsizetype c = 0; c < guide.channelCount(); ++c)
        require(matcher.match({guide.channelId(c), QString()}) == c, "a channel's own id finds it", guide.channelId(c));

    // A window keeps only what overlaps it.
    if (guide.programmeCount() > 0) {
        const GuideProgramme middle = guide.programme(0, guide.programmeCount(0) / 2);
        const GuideWindow window = GuideWindow::around(middle.start);
        const Outcome windowed = read(bytes, window, std::max<qsizetype>(1, bytes.size()));
        require(windowed.guide.has_value(), "a window does not refuse what the whole accepts", windowed.error);
        checkOrder(*windowed.guide, window);
        // Channels named only by programmes outside the window are not there; every other one is.
        require(windowed.guide->channelCount() <= guide.channelCount(), "a window adds no channel");
        for (qsizetype c = 0; c < windowed.guide->channelCount(); ++c)
            require(matcher.match({windowed.guide->channelId(c), QString()}) != GuideMatcher::noMatch,
                    "a window's channels are the guide's", windowed.guide->channelId(c));
    }
    return 0;
}
