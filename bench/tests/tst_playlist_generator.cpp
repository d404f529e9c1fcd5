#include "PlaylistGenerator.h"

#include "m3u/M3UParser.h"

#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

// The benchmark playlists are only worth their figures if they are repeatable, hold the mix they
// claim, and parse into the channels they were written with.
class TestPlaylistGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sameSeedSameBytes_data()
    {
        QTest::addColumn<quint64>("seed");
        QTest::addColumn<qsizetype>("entries");

        QTest::newRow("seed 1, 300 entries") << quint64(1) << qsizetype(300);
        QTest::newRow("seed 42, 3000 entries") << quint64(42) << qsizetype(3000);
        QTest::newRow("largest seed, 1000 entries") << ~quint64(0) << qsizetype(1000);
    }

    void sameSeedSameBytes()
    {
        QFETCH(quint64, seed);
        QFETCH(qsizetype, entries);

        const PlaylistGenerator::Playlist first = PlaylistGenerator(seed).generate(entries);
        const PlaylistGenerator::Playlist second = PlaylistGenerator(seed).generate(entries);
        QCOMPARE(first.text, second.text);
        QCOMPARE(first.entries, entries);
        QVERIFY(first.text != PlaylistGenerator(seed + 1).generate(entries).text);
        // A longer playlist of the same seed starts with the same entries.
        const QByteArray longer = PlaylistGenerator(seed).generate(entries + 50).text;
        QVERIFY(longer.startsWith(first.text.left(first.text.lastIndexOf("#EXTINF"))));
    }

    void parsesIntoTheChannelsWritten_data()
    {
        QTest::addColumn<quint64>("seed");
        QTest::addColumn<qsizetype>("entries");

        QTest::newRow("seed 7, 2000 entries") << quint64(7) << qsizetype(2000);
        QTest::newRow("seed 2024, 10000 entries") << quint64(2024) << qsizetype(10000);
    }

    void parsesIntoTheChannelsWritten()
    {
        QFETCH(quint64, seed);
        QFETCH(qsizetype, entries);

        const PlaylistGenerator::Playlist playlist = PlaylistGenerator(seed).generate(entries);
        const QString text = QString::fromUtf8(playlist.text);
        QCOMPARE(text.toUtf8(), playlist.text); // valid UTF-8 throughout
        QCOMPARE(qsizetype(text.count(u"#EXTINF:"_s)), playlist.entries);

        const QList<Channel> channels = M3UParser::parse(text, PlaylistGenerator::baseURL());
        QCOMPARE(channels.size(), playlist.expectedChannels);

        QSet<QByteArray> addresses;
        for (const Channel &channel : channels) {
            QVERIFY2(!channel.name().isEmpty(), channel.encodedURL().constData());
            addresses.insert(channel.encodedURL());
        }
        QCOMPARE(addresses.size(), channels.size());
        // Relative addresses were resolved against the base.
        QVERIFY(addresses.contains(
            "http://lists.example.test/bench/streams/" + relativeNumber(playlist.text, "streams/") + ".ts"));
    }

    void holdsTheRealisticMix()
    {
        const qsizetype entries = 10000;
        const PlaylistGenerator::Playlist playlist = PlaylistGenerator(3).generate(entries);
        const QString text = QString::fromUtf8(playlist.text);

        const auto share = [&](qsizetype count) { return double(count) / double(entries); };
        QVERIFY2(share(playlist.repeatedAddresses) > 0.04 && share(playlist.repeatedAddresses) < 0.06,
            QByteArray::number(playlist.repeatedAddresses).constData());
        QVERIFY(playlist.longAddresses >= 20);
        QVERIFY(playlist.otherSchemes >= 100);
        QVERIFY(playlist.relativeAddresses >= 20);
        QVERIFY(playlist.entriesWithoutAddress >= 5);
        QVERIFY(playlist.crlfLines > playlist.lfLines / 10);
        QVERIFY(playlist.lfLines > playlist.crlfLines);
        QCOMPARE(playlist.text.count("\r\n"), playlist.crlfLines);

        // 100,000 entries must stay under the 25 MiB download cap (262 bytes an entry), with room to
        // spare; quenvo-playlistgen also refuses to write a larger file.
        const double bytesPerEntry = double(playlist.text.size()) / double(entries);
        QVERIFY2(bytesPerEntry > 220 && bytesPerEntry < 250, QByteArray::number(bytesPerEntry).constData());

        QVERIFY(playlist.text.startsWith("#EXTM3U x-tvg-url=\""));
        for (const QByteArray &needle : {QByteArray("#EXTGRP:"), QByteArray("#EXTVLCOPT:http-user-agent="),
                 QByteArray("#EXTVLCOPT:http-referrer="), QByteArray("rtmp://"), QByteArray("udp://@"),
                 QByteArray("group-title=\"Movies, Action\""), QByteArray("resize,w_200,h_200"),
                 QByteArray(", en directe\r\n")}) {
            QVERIFY2(playlist.text.contains(needle), needle.constData());
        }
        // Names in several scripts, one outside the Basic Multilingual Plane.
        for (const QString &needle : {u"Televisió"_s, u"Первый канал"_s, u"湖南卫视"_s, u"ΕΡΤ1"_s, u"🎬"_s})
            QVERIFY2(text.contains(needle), qPrintable(needle));
    }

private:
    // The number of the first "<prefix><number>.ts" address line.
    static QByteArray relativeNumber(const QByteArray &text, const QByteArray &prefix)
    {
        const qsizetype start = text.indexOf('\n' + prefix);
        if (start < 0)
            return QByteArray();
        const qsizetype numberStart = start + 1 + prefix.size();
        return text.mid(numberStart, text.indexOf(".ts", numberStart) - numberStart);
    }
};

QTEST_GUILESS_MAIN(TestPlaylistGenerator)
#include "tst_playlist_generator.moc"
