// The M3U parser against playlists written by other people: every file of the shared fixtures parses
// and keeps the parser's promises, and what is known about particular files (counted from the files
// themselves) comes out of the parse.

#include "Fixtures.h"
#include "m3u/M3UParser.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString playlistsFolder()
{
    return Fixtures::directory() + u"/m3u"_s;
}

// The address a playlist is taken to have been downloaded from.
QUrl addressOf(const QString &relativePath)
{
    return QUrl(u"http://example.invalid/lists/"_s + QFileInfo(relativePath).fileName());
}

QString textOf(const QString &relativePath)
{
    return QString::fromUtf8(Fixtures::read(playlistsFolder() + u'/' + relativePath));
}

// The lines of a text, every line break counted (CRLF as one).
QStringList linesOf(const QString &text)
{
    QString unified = text;
    unified.replace(u"\r\n"_s, u"\n"_s);
    unified.replace(u'\r', u'\n');
    return unified.split(u'\n');
}

bool isLowerHex(const QString &text)
{
    return std::all_of(text.begin(), text.end(),
        [](QChar c) { return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f'); });
}

} // namespace

class TestM3URealWorld : public QObject
{
    Q_OBJECT

private:
    // Parses a fixture as if downloaded from addressOf(); fails the test on an IPTVError.
    QList<Channel> parseFixture(const QString &relativePath)
    {
        const QString text = textOf(relativePath);
        if (text.isEmpty()) {
            [&] { QFAIL(qPrintable(u"cannot read "_s + relativePath)); }();
            return {};
        }
        try {
            return M3UParser::parse(text, addressOf(relativePath));
        } catch (const IPTVError &error) {
            [&] { QFAIL(qPrintable(relativePath + u": "_s + error.message())); }();
        }
        return {};
    }

private Q_SLOTS:
    void everyPlaylistKeepsThePromises_data()
    {
        QUENVO_REQUIRE_FIXTURES();
        QTest::addColumn<QString>("path");
        const QDir folder(playlistsFolder());
        const QStringList files = Fixtures::files(u"m3u"_s, {u"*.m3u"_s, u"*.m3u8"_s});
        QVERIFY(!files.isEmpty());
        for (const QString &file : files) {
            const QString relative = folder.relativeFilePath(file);
            QTest::newRow(qPrintable(relative)) << relative;
        }
    }

    void everyPlaylistKeepsThePromises()
    {
        QFETCH(QString, path);
        const QString text = textOf(path);
        const QList<Channel> channels = parseFixture(path);
        if (QTest::currentTestFailed())
            return;

        QVERIFY(!channels.isEmpty());
        QVERIFY(channels.size() <= linesOf(text).size());
        QSet<QByteArray> addresses;
        for (const Channel &channel : channels) {
            const QString where = QString::fromLatin1(channel.encodedURL());
            QVERIFY2(PlaylistSource::isAcceptedHttpURL(channel.url()), qPrintable(where));
            QVERIFY2(!addresses.contains(channel.encodedURL()), qPrintable(u"repeated: "_s + where));
            addresses.insert(channel.encodedURL());

            const QString id = channel.id();
            QCOMPARE(id.size(), 64);
            QVERIFY2(isLowerHex(id), qPrintable(id));
            QCOMPARE(id.toLatin1(),
                QCryptographicHash::hash(channel.encodedURL(), QCryptographicHash::Sha256).toHex());

            QVERIFY2(!channel.name().isEmpty(), qPrintable(where));
            QVERIFY2(!channel.group().isEmpty(), qPrintable(where));
            for (const QString &field : {channel.name(), channel.group(), where}) {
                QVERIFY2(!field.contains(u'\r') && !field.contains(u'\n') && !field.contains(QChar(0xfeff)),
                    qPrintable(field));
                QVERIFY2(!field.contains("%0D"_L1, Qt::CaseInsensitive), qPrintable(field));
            }
        }
    }

    // Counted from each file: distinct http(s) addresses (absolute, or relative to the list's own
    // address) and how many of those kept carry an #EXTVLCOPT user-agent or referrer line.
    void channelCounts_data()
    {
        QUENVO_REQUIRE_FIXTURES();
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("withCustomHeaders");

        const auto row = [](const char *path, int channels, int withCustomHeaders) {
            QTest::newRow(path) << QString::fromLatin1(path) << channels << withCustomHeaders;
        };
        row("community/JustApo-TURKTV-index.m3u", 55, 29);
        row("community/JustApo-TURKTV-vod.m3u", 719, 0); // 723 entries, 4 repeated addresses
        row("community/fanmingming-live-tv-ipv6.m3u", 407, 0); // 411 entries, 4 repeated addresses
        row("community/smolnp-IPTVru.m3u", 308, 10); // 17 entries without address, 5 rtmp
        // Its nine "[NO PUBLIC STREAM]" placeholders are notes, not addresses: skipped.
        row("free-tv/playlist.m3u8", 2027, 0);
        // "…m3u8" and "…m3u8?" are two addresses, and so are edge.metroTVnews.com and edge.metrotvnews.com.
        row("iptv-org-generated-2021/index.m3u", 10447, 89);
        row("iptv-org-generated-2023/index.country.m3u", 10628, 258); // 15,179 entries
        row("iptv-org-generated-2023/index.m3u", 10628, 258); // 10,632 entries, 4 not http
        row("iptv-org-source-2021/index-playlist-of-playlists.m3u", 159, 0);
        row("iptv-org-source-2023/streams-dz.m3u", 9, 3);
        row("iptv-org-source-2023/streams-es.m3u", 286, 32);
        row("iptv-org-source-2023/streams-my.m3u", 18, 7);
        row("parser-tests/iptv-playlist-parser/input/duplicate.m3u", 1, 0);
        row("parser-tests/iptv-playlist-parser/input/kodi.m3u", 1, 0);
        row("parser-tests/iptv-playlist-parser/input/pipe.m3u", 2, 1);
        row("parser-tests/iptv-playlist-parser/input/vlcopt.m3u", 1, 1);
        row("parser-tests/ipytv/iptv-org.m3u", 4474, 12);
        row("parser-tests/ipytv/m3u8.m3u", 4, 0);
        row("parser-tests/ipytv/m3u_plus.m3u", 4, 1);
        row("parser-tests/ipytv/m3u_plus_unencoded_logo.m3u", 4, 0);
    }

    void channelCounts()
    {
        QFETCH(QString, path);
        QFETCH(int, channels);
        QFETCH(int, withCustomHeaders);

        const QList<Channel> parsed = parseFixture(path);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(parsed.size(), qsizetype(channels));
        QCOMPARE(qsizetype(std::count_if(parsed.begin(), parsed.end(),
                     [](const Channel &channel) { return channel.requiresCustomHeaders(); })),
            qsizetype(withCustomHeaders));
    }
};

QTEST_GUILESS_MAIN(TestM3URealWorld)
#include "tst_m3u_realworld.moc"
