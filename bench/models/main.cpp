// quenvo-bench-channel-list: ChannelListModel over a large generated connection, and its selection
// mode: every channel chosen, turned into personal-list entries and added to a list.
//   quenvo-bench-channel-list [--channels 100000] [--runs 7]
//
// Generates the channels (names with accents, about 300 groups shared as the M3U parser shares
// them, 60–100 byte addresses), loads them once, then times each operation `runs` times after one
// untimed round and prints the median and best in milliseconds.
//
// Memory per channel, two ways:
//   resident: growth of the process's resident size (VmRSS) while building the QList<Channel>, plus
//             its growth while setChannels() builds the model's own structures, divided by the count;
//   counted:  ChannelListModel::byteSize(): the channels' headers and string payloads, the folded
//             name index, the group and favourite tables and the visible rows, divided by the count.

#include "DurationSamples.h"
#include "PeakMemory.h"

#include "models/ChannelCategoriesModel.h"
#include "models/ChannelListModel.h"
#include "records/PersonalEntry.h"
#include "stores/PersonalLists.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QElapsedTimer>
#include <QTextStream>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// A small deterministic generator (xorshift64*), the same numbers on every machine.
class Random
{
public:
    explicit Random(quint64 seed) : m_state(seed ? seed : 1) {}
    quint64 next()
    {
        m_state ^= m_state >> 12;
        m_state ^= m_state << 25;
        m_state ^= m_state >> 27;
        return m_state * 0x2545F4914F6CDD1DULL;
    }
    qsizetype below(qsizetype n) { return qsizetype(next() % quint64(n)); }

private:
    quint64 m_state;
};

QList<Channel> generateChannels(qsizetype count)
{
    const QStringList words = {u"Canal"_s, u"Televisió"_s, u"Notícies"_s, u"Esports"_s, u"Cinema"_s,
                               u"Música"_s, u"Café"_s, u"Documentals"_s, u"Infantil"_s, u"Crònica"_s,
                               u"Télé"_s, u"Première"_s, u"España"_s, u"Über"_s, u"Ραδιόφωνο"_s,
                               u"Новости"_s, u"Cultura"_s, u"Clàssic"_s, u"Acció"_s, u"Comèdia"_s};
    const QStringList regions = {u"CAT"_s, u"ES"_s, u"FR"_s, u"DE"_s, u"IT"_s, u"PT"_s, u"UK"_s, u"US"_s};
    const QStringList qualities = {u""_s, u" HD"_s, u" FHD"_s, u" 4K"_s, u" (720p)"_s};
    QStringList groups;
    for (int i = 0; i < 300; ++i)
        groups.append(words[i % words.size()] + u' ' + regions[(i / words.size()) % regions.size()] + u' ' +
                      QString::number(i / (words.size() * regions.size()) + 1));

    Random random(20261123);
    QList<Channel> channels;
    channels.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        const QString name = regions[random.below(regions.size())] + u": "_s + words[random.below(words.size())] +
                             u' ' + words[random.below(words.size())] + u' ' + QString::number(i % 997) +
                             qualities[random.below(qualities.size())];
        // 60–100 bytes: host, port, a path with a token and the stream number.
        QByteArray url = "http://provider-" + QByteArray::number(random.below(40)) + ".example.net:8080/live/user" +
                         QByteArray::number(random.below(100000)) + '/';
        url += QByteArray(random.below(30) + 4, char('a' + random.below(26)));
        url += '/' + QByteArray::number(i) + ".ts";
        channels.append(Channel(name, groups[random.below(groups.size())], std::move(url), random.below(50) == 0));
    }
    return channels;
}

void time(DurationSamples &samples, const std::function<void()> &operation)
{
    QElapsedTimer timer;
    timer.start();
    operation();
    samples.add(timer.nsecsElapsed());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Times ChannelListModel over a large generated connection."_s);
    parser.addHelpOption();
    const QCommandLineOption countOption(u"channels"_s, u"Channels to load."_s, u"count"_s, u"100000"_s);
    const QCommandLineOption runsOption(u"runs"_s, u"Timed runs per operation."_s, u"runs"_s, u"7"_s);
    parser.addOptions({countOption, runsOption});
    parser.process(app);
    const qsizetype count = parser.value(countOption).toLongLong();
    const int runs = std::max(1, parser.value(runsOption).toInt());
    QTextStream out(stdout);

    // Memory: channels first, then the model's own structures.
    const qint64 residentBefore = PeakMemory::residentBytes();
    QList<Channel> channels = generateChannels(count);
    const qint64 residentWithChannels = PeakMemory::residentBytes();
    const QUuid source = QUuid::createUuid();
    const QString favoriteKey = channels[count / 2].favoriteID(source);

    ChannelListModel model;
    QElapsedTimer loadTimer;
    loadTimer.start();
    model.setChannels(std::move(channels), source);
    const qint64 loadNanoseconds = loadTimer.nsecsElapsed();
    const qint64 residentLoaded = PeakMemory::residentBytes();

    const double residentPerChannel = double(residentLoaded - residentBefore) / double(count);
    const double channelsPerChannel = double(residentWithChannels - residentBefore) / double(count);
    const double counted = double(model.byteSize()) / double(count);
    out << "channels " << count << ", groups " << model.categories()->count() << ", setChannels "
        << QString::number(double(loadNanoseconds) / 1e6, 'f', 1) << " ms (folding, group table; once per load)\n";
    out << "memory per channel: resident " << QString::number(residentPerChannel, 'f', 0) << " B (channels "
        << QString::number(channelsPerChannel, 'f', 0) << " B + model tables "
        << QString::number(residentPerChannel - channelsPerChannel, 'f', 0) << " B); counted "
        << QString::number(counted, 'f', 0) << " B; target <= 600 B\n";

    // One operation = one setter call; the sequence restarts from an empty search every run.
    const QStringList keystrokes = {u"c"_s, u"ca"_s, u"caf"_s, u"cafe"_s, u"caf"_s, u"ca"_s, u"c"_s, u""_s,
                                    u"qx"_s, u""_s};
    const QStringList labels = {u"type c"_s, u"type ca"_s, u"type caf"_s, u"type cafe"_s, u"backspace caf"_s,
                                u"backspace ca"_s, u"backspace c"_s, u"clear"_s, u"miss qx"_s, u"clear"_s};
    QList<DurationSamples> keystrokeTimes(keystrokes.size());
    QList<int> keystrokeCounts(keystrokes.size());
    DurationSamples categoryOn, categoryOff, favoriteOn, favoriteOff, favoritesView;
    // Selection mode: choose every result, turn the choice into list entries, add them to a new
    // personal list (which writes the preferences), forget the choice.
    DurationSamples selectAll, chosenEntries, addToList, written, clearChoice;
    QTemporaryDir preferencesFolder;
    QSettings preferences(preferencesFolder.filePath(u"preferences.ini"_s), QSettings::IniFormat);
    PersonalLists lists(preferences);
    const QString someGroup = model.categories()->names().at(17);
    for (int run = 0; run <= runs; ++run) {
        const bool timed = run > 0;
        for (qsizetype i = 0; i < keystrokes.size(); ++i) {
            DurationSamples scratch;
            time(timed ? keystrokeTimes[i] : scratch, [&] { model.setSearch(keystrokes[i]); });
            keystrokeCounts[i] = model.count();
        }
        DurationSamples scratch;
        time(timed ? categoryOn : scratch, [&] { model.setCategory(someGroup); });
        time(timed ? categoryOff : scratch, [&] { model.setCategory(std::nullopt); });
        time(timed ? favoriteOn : scratch, [&] { model.setFavorites({favoriteKey}); });
        time(timed ? favoriteOff : scratch, [&] { model.setFavorites({}); });
        model.setFavorites({favoriteKey});
        time(timed ? favoritesView : scratch, [&] { model.setFavoritesOnly(true); });
        model.setFavoritesOnly(false);
        model.setFavorites({});

        time(timed ? selectAll : scratch, [&] { model.selectFiltered(); });
        QList<PersonalEntry> entries;
        time(timed ? chosenEntries : scratch, [&] {
            const QList<Channel> chosen = model.selectedChannels();
            entries.reserve(chosen.size());
            for (const Channel &channel : chosen)
                entries.append(PersonalEntry(source, channel));
        });
        const QUuid list = lists.create(u"Tria "_s + QString::number(run));
        time(timed ? addToList : scratch, [&] { lists.add(entries, {}, list); });
        // Encoding and writing the preferences happen on the writer's thread meanwhile.
        time(timed ? written : scratch, [&] { lists.waitForSave(); });
        lists.deleteList(list);
        lists.waitForSave();
        time(timed ? clearChoice : scratch, [&] { model.clearSelection(); });
    }

    out << "median of " << runs << " runs after one untimed round, ms (best):\n";
    double worstKeystroke = 0;
    for (qsizetype i = 0; i < keystrokes.size(); ++i) {
        worstKeystroke = std::max(worstKeystroke, keystrokeTimes[i].medianMilliseconds());
        out << "  " << labels[i].leftJustified(16) << QString::number(keystrokeTimes[i].medianMilliseconds(), 'f', 3)
            << " (" << QString::number(keystrokeTimes[i].bestMilliseconds(), 'f', 3) << ")  rows "
            << keystrokeCounts[i] << '\n';
    }
    const auto line = [&](const QString &label, const DurationSamples &samples) {
        out << "  " << label.leftJustified(18) << QString::number(samples.medianMilliseconds(), 'f', 3) << " ("
            << QString::number(samples.bestMilliseconds(), 'f', 3) << ")\n";
    };
    line(u"category on"_s, categoryOn);
    line(u"category off"_s, categoryOff);
    line(u"favourite on"_s, favoriteOn);
    line(u"favourite off"_s, favoriteOff);
    line(u"favourites view"_s, favoritesView);
    out << "selection mode over every channel (main thread; \"then written\" is the writer thread's wait):\n";
    line(u"select results"_s, selectAll);
    line(u"chosen → entries"_s, chosenEntries);
    line(u"add to a list"_s, addToList);
    line(u"then written"_s, written);
    line(u"clear selection"_s, clearChoice);
    out << "Targets: keystroke <= 5 ms: worst median " << QString::number(worstKeystroke, 'f', 3) << " ms ("
        << (worstKeystroke <= 5 ? "met" : "NOT met") << "); memory <= 600 B per channel: resident "
        << QString::number(residentPerChannel, 'f', 0) << " B (" << (residentPerChannel <= 600 ? "met" : "NOT met")
        << ")\n";
    return 0;
}
