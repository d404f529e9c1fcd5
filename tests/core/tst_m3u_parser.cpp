#include "m3u/M3UParser.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QUrl base(u"http://provider.example/lists/tv.m3u?token=1"_s);
const QString notAPlaylist = u"La resposta no és una llista M3U vàlida."_s;
const QString noChannels = u"No s’han trobat canals HTTP o HTTPS a la llista."_s;

struct Parsed
{
    QList<Channel> channels;
    QString error;
};

Parsed parsePlaylist(const QString &text, const QUrl &baseURL = base)
{
    try {
        return {M3UParser::parse(text, baseURL), QString()};
    } catch (const IPTVError &error) {
        return {{}, error.message()};
    }
}

// name|group|url|* (custom headers) for each channel, one per line
QString describe(const QList<Channel> &channels)
{
    QStringList lines;
    for (const Channel &channel : channels) {
        lines.append(channel.name() + u'|' + channel.group() + u'|' + QString::fromLatin1(channel.encodedURL())
                     + (channel.requiresCustomHeaders() ? u"|*"_s : QString()));
    }
    return lines.join(u'\n');
}
} // namespace

class TestM3UParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // describe() of the result, or the error message

        QTest::newRow("byte-order mark and blank lines before the header")
            << u"\uFEFF\n\n  #EXTM3U\n#EXTINF:-1,Un\nhttp://h/1\n"_s << u"Un|Sense categoria|http://h/1"_s;
        QTest::newRow("marks anywhere are dropped")
            << u"#EXTM3U\n#EXTINF:-1,U\uFEFFn\nhttp://h/\uFEFF1\n"_s << u"Un|Sense categoria|http://h/1"_s;
        QTest::newRow("header in lower case") << u"#extm3u\nhttp://h/1"_s << notAPlaylist;
        QTest::newRow("empty text") << QString() << notAPlaylist;
        QTest::newRow("HTML") << u"<html>#EXTM3U</html>"_s << notAPlaylist;
        QTest::newRow("header only") << u"#EXTM3U"_s << noChannels;
        QTest::newRow("title after the first comma, commas kept")
            << u"#EXTM3U\n#EXTINF:-1 tvg-id=\"x\",Notícies, edició vespre\nhttp://h/1"_s
            << u"Notícies, edició vespre|Sense categoria|http://h/1"_s;
        QTest::newRow("comma inside a quoted value is not the separator")
            << u"#EXTM3U\n#EXTINF:-1 tvg-logo=\"http://l/a,b.png\" group-title=\"Cine, sèries\",Film\nhttp://h/1"_s
            << u"Film|Cine, sèries|http://h/1"_s;
        QTest::newRow("tvg-name when there is no title")
            << u"#EXTM3U\n#EXTINF:-1 tvg-name=\"Per nom\"\nhttp://h/1"_s << u"Per nom|Sense categoria|http://h/1"_s;
        QTest::newRow("tvg-name when the title is blank")
            << u"#EXTM3U\n#EXTINF:-1 tvg-name=\"Per nom\",   \nhttp://h/1"_s
            << u"Per nom|Sense categoria|http://h/1"_s;
        QTest::newRow("title wins over tvg-name")
            << u"#EXTM3U\n#EXTINF:-1 tvg-name=\"Per nom\",Títol\nhttp://h/1"_s << u"Títol|Sense categoria|http://h/1"_s;
        QTest::newRow("attribute spacing and last group-title wins")
            << u"#EXTM3U\n#EXTINF:-1 group-title = \"A\" group-title=\"B\",N\nhttp://h/1"_s << u"N|B|http://h/1"_s;
        QTest::newRow("keys are case-sensitive")
            << u"#EXTM3U\n#EXTINF:-1 Group-Title=\"A\" TVG-NAME=\"X\"\nhttp://h/1"_s
            << u"Canal 1|Sense categoria|http://h/1"_s;
        QTest::newRow("key inside another value is not read")
            << u"#EXTM3U\n#EXTINF:-1 tvg-logo=\"x group-title=\" group-title=\"Real\",N\nhttp://h/1"_s
            << u"N|Real|http://h/1"_s;
        QTest::newRow("EXTGRP after group-title wins")
            << u"#EXTM3U\n#EXTINF:-1 group-title=\"A\",N\n#EXTGRP:  Grup B \nhttp://h/1"_s << u"N|Grup B|http://h/1"_s;
        QTest::newRow("EXTGRP before EXTINF is cleared")
            << u"#EXTM3U\n#EXTGRP:Perdut\n#EXTINF:-1,N\nhttp://h/1"_s << u"N|Sense categoria|http://h/1"_s;
        QTest::newRow("referrer marks one channel only, not a bare address after it")
            << u"#EXTM3U\n#EXTINF:-1,A\n#EXTVLCOPT:http-referrer=http://r/\nhttp://h/1\nhttp://h/3\n#EXTINF:-1,B\nhttp://h/2"_s
            << u"A|Sense categoria|http://h/1|*\nCanal 2|Sense categoria|http://h/3\nB|Sense categoria|http://h/2"_s;
        QTest::newRow("user agent marks")
            << u"#EXTM3U\n#EXTINF:-1,A\n#EXTVLCOPT:http-user-agent=Mozilla\nhttp://h/1"_s
            << u"A|Sense categoria|http://h/1|*"_s;
        QTest::newRow("other VLC options do not mark")
            << u"#EXTM3U\n#EXTINF:-1,A\n#EXTVLCOPT:network-caching=1000\nhttp://h/1"_s
            << u"A|Sense categoria|http://h/1"_s;
        QTest::newRow("a mark before EXTINF is reset by it")
            << u"#EXTM3U\n#EXTVLCOPT:http-referrer=x\n#EXTINF:-1,A\nhttp://h/1"_s << u"A|Sense categoria|http://h/1"_s;
        QTest::newRow("relative file name resolves against the base")
            << u"#EXTM3U\n#EXTINF:-1,Rel\nstream.ts\n#EXTINF:-1,Abs path\n/root.ts"_s
            << u"Rel|Sense categoria|http://provider.example/lists/stream.ts\n"
               u"Abs path|Sense categoria|http://provider.example/root.ts"_s;
        QTest::newRow("unusable addresses are skipped and numbering counts channels")
            << u"#EXTM3U\nrtmp://h/live\nudp://@239.0.0.1:1234\nhttp://u:p@h/x\nhttp://h/1\nhttp://h/1\nhttp://h/2"_s
            << u"Canal 1|Sense categoria|http://h/1\nCanal 2|Sense categoria|http://h/2"_s;
        QTest::newRow("a skipped address clears its entry")
            << u"#EXTM3U\n#EXTINF:-1 group-title=\"G\",Perdut\nrtmp://h/x\nhttp://h/1"_s
            << u"Canal 1|Sense categoria|http://h/1"_s;
        QTest::newRow("an entry without address gives way to the next")
            << u"#EXTM3U\n#EXTINF:-1 group-title=\"G\",Perdut\n#EXTINF:-1,Bo\nhttp://h/1"_s << u"Bo|Sense categoria|http://h/1"_s;
        QTest::newRow("duplicate keeps the first name and group")
            << u"#EXTM3U\n#EXTINF:-1 group-title=\"G1\",Primer\nhttp://h/1\n#EXTINF:-1 group-title=\"G2\",Segon\nhttp://h/1"_s
            << u"Primer|G1|http://h/1"_s;
        QTest::newRow("only unusable addresses") << u"#EXTM3U\n#EXTINF:-1,X\nrtmp://h/x\nftp://h/y"_s << noChannels;
        QTest::newRow("CRLF, tabs and blank lines")
            << u"#EXTM3U\r\n\r\n\t#EXTINF:-1 group-title=\"G\",Nom\t\r\n\t http://h/1 \t\r\n"_s << u"Nom|G|http://h/1"_s;
        QTest::newRow("Unicode line separators")
            << u"#EXTM3U\u2028#EXTINF:-1,A\u2029http://h/1\u0085#EXTINF:-1,B\u000Bhttp://h/2"_s
            << u"A|Sense categoria|http://h/1\nB|Sense categoria|http://h/2"_s;
        QTest::newRow("comment lines keep the pending entry")
            << u"#EXTM3U\n#EXTINF:-1,Nom\n# un comentari\n#KODIPROP:x=y\n\nhttp://h/1"_s
            << u"Nom|Sense categoria|http://h/1"_s;
        QTest::newRow("blank group-title gives the default")
            << u"#EXTM3U\n#EXTINF:-1 group-title=\"\",N\nhttp://h/1"_s << u"N|Sense categoria|http://h/1"_s;
        QTest::newRow("capital scheme and host kept as written")
            << u"#EXTM3U\nHTTPS://H.example/x"_s << u"Canal 1|Sense categoria|HTTPS://H.example/x"_s;
        QTest::newRow("two spellings of one address are two channels")
            << u"#EXTM3U\nhttp://h.example/~a\nhttp://H.example/~a\nhttp://h.example:80/~a\nhttp://h.example/./~a\n"
               u"http://h.example/%7ea\nhttp://h.example/%7Ea\nhttp://h.example/~a"_s
            << u"Canal 1|Sense categoria|http://h.example/~a\nCanal 2|Sense categoria|http://H.example/~a\n"
               u"Canal 3|Sense categoria|http://h.example:80/~a\nCanal 4|Sense categoria|http://h.example/./~a\n"
               u"Canal 5|Sense categoria|http://h.example/%7ea\nCanal 6|Sense categoria|http://h.example/%7Ea"_s;
        QTest::newRow("a blank is encoded, the rest as QUrl writes it")
            << u"#EXTM3U\nhttp://H.example/a b.ts"_s << u"Canal 1|Sense categoria|http://h.example/a%20b.ts"_s;
        QTest::newRow("a relative entry is resolved")
            << u"#EXTM3U\n../Live/./a.ts"_s << u"Canal 1|Sense categoria|http://provider.example/Live/a.ts"_s;
        QTest::newRow("a note where the address belongs is skipped")
            << u"#EXTM3U\n#EXTINF:-1,Nota\n[NO PUBLIC STREAM]\n#EXTINF:-1,Bo\nhttp://h/1"_s
            << u"Bo|Sense categoria|http://h/1"_s;
        QTest::newRow("relative reference with a blank is skipped")
            << u"#EXTM3U\nmy stream.ts\nhttp://h/1"_s << u"Canal 1|Sense categoria|http://h/1"_s;
        QTest::newRow("relative reference with a query")
            << u"#EXTM3U\nlive.m3u8?token=a%20b"_s
            << u"Canal 1|Sense categoria|http://provider.example/lists/live.m3u8?token=a%20b"_s;
        QTest::newRow("unclosed quote: title needs a comma outside quotes")
            << u"#EXTM3U\n#EXTINF:-1 tvg-name=\"A,B\" x=\"open,Nom\nhttp://h/1"_s << u"A,B|Sense categoria|http://h/1"_s;
        QTest::newRow("non-ASCII attribute keys")
            << u"#EXTM3U\n#EXTINF:-1 nom-é=\"x\" group-title=\"Ω\",N\nhttp://h/1"_s << u"N|Ω|http://h/1"_s;
        QTest::newRow("an equals sign without a quote does not hide the next attribute")
            << u"#EXTM3U\n#EXTINF:-1 a=b c = d group-title=\"G\",N\nhttp://h/1"_s << u"N|G|http://h/1"_s;
        QTest::newRow("a key right after the previous value's closing quote")
            << u"#EXTM3U\n#EXTINF:-1 tvg-id=\"x\"group-title=\"G\" tvg-name=\"a=b\"\nhttp://h/1"_s
            << u"a=b|G|http://h/1"_s;
        QTest::newRow("a symbol before a key is not part of it, a letter is")
            << u"#EXTM3U\n#EXTINF:-1 \u2605group-title=\"G\" \U0001D400tvg-name=\"X\"\nhttp://h/1"_s
            << u"Canal 1|G|http://h/1"_s;
        QTest::newRow("a value left open ends the attributes")
            << u"#EXTM3U\n#EXTINF:-1 tvg-name=\"A\" group-title=\"B tvg-name=x\nhttp://h/1"_s
            << u"A|Sense categoria|http://h/1"_s;
        // An HLS manifest is one channel: the list's own address, as it was asked for.
        const QString manifest = u"Emissió HLS|Directe|http://provider.example/lists/tv.m3u?token=1"_s;
        QTest::newRow("HLS media playlist")
            << u"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nseg1.ts\n"_s << manifest;
        QTest::newRow("HLS master playlist")
            << u"#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nlow.m3u8\n"_s << manifest;
        QTest::newRow("HLS tag after channels")
            << u"#EXTM3U\n#EXTINF:-1,A\nhttp://h/1\n  #EXT-X-ENDLIST"_s << manifest;
        QTest::newRow("HLS tag and nothing usable") << u"#EXTM3U\n#EXT-X-VERSION:3"_s << manifest;
    }
    void parse()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const Parsed result = parsePlaylist(text);
        QCOMPARE(result.error.isEmpty() ? describe(result.channels) : result.error, expected);
    }

    // Guide ids, logos and the header's guide addresses, aligned with the channels that are kept.
    void listingKeepsWhatTheListSaysBeside()
    {
        const QString text = QString::fromUtf8(
            "#EXTM3U url-tvg=\"http://g/a.xml.gz, http://g/b.xml\" x-tvg-url=\"http://g/a.xml.gz,guia.xml\"\n"
            "#EXTINF:-1 tvg-id=\"tv3.cat\" tvg-logo=\"http://l/tv3.png\" group-title=\"Generalistes\",TV3\n"
            "http://h/tv3.ts\n"
            "#EXTINF:-1 tvg-id=\"repetit\" tvg-logo=\"http://l/x.png\",TV3 de nou\n"
            "http://h/tv3.ts\n"
            "#EXTINF:-1 tvg-logo=\" http://l/33.png \",33\n"
            "http://h/33.ts\n"
            "#EXTINF:-1 tvg-id=\"sense-adreça\",Res\n"
            "ftp://h/res.ts\n"
            "#EXTINF:-1,Esport3\n"
            "http://h/e3.ts\n");
        const ChannelListing listing = M3UParser::parseListing(text, QByteArray("http://h/llista.m3u"));
        QCOMPARE(listing.channels.size(), 3);
        QCOMPARE(listing.extras.size(), 3);
        const QStringList ids = {listing.extras.guideID(0), listing.extras.guideID(1), listing.extras.guideID(2)};
        QCOMPARE(ids, QStringList({u"tv3.cat"_s, QString(), QString()}));
        QCOMPARE(listing.extras.logo(0), u"http://l/tv3.png"_s);
        QCOMPARE(listing.extras.logo(1), u"http://l/33.png"_s);
        QCOMPARE(listing.extras.logo(2), QString());
        QCOMPARE(listing.extras.guideAddresses(),
                 QStringList({u"http://g/a.xml.gz"_s, u"http://g/b.xml"_s, u"guia.xml"_s}));
        // The channels themselves are what parse gives.
        QCOMPARE(listing.channels, M3UParser::parse(text, QByteArray("http://h/llista.m3u")));
    }

    void relativeEntriesResolveAgainstTheAddressAsWritten()
    {
        const QByteArray written("http://Provider.Example/Lists/tv.m3u");
        const QList<Channel> channels = M3UParser::parse(u"#EXTM3U\nstream.ts\nhttp://Other.Example/x.ts"_s, written);
        QCOMPARE(channels.size(), 2);
        QCOMPARE(channels[0].encodedURL(), QByteArray("http://provider.example/Lists/stream.ts"));
        QCOMPARE(channels[1].encodedURL(), QByteArray("http://Other.Example/x.ts"));
    }

    // A cancelled load stops parsing (how often the parse looks: tst_cancellation).
    void cancellationStopsAParse_data()
    {
        QTest::addColumn<int>("entries");
        QTest::newRow("small list") << 3;
        QTest::newRow("large list") << 200000;
    }
    void cancellationStopsAParse()
    {
        QFETCH(int, entries);
        QString text = u"#EXTM3U\n"_s;
        for (int i = 0; i < entries; ++i)
            text += u"#EXTINF:-1,C%1\nhttp://h/%1\n"_s.arg(i);
        const CancellationToken token = CancellationToken::create();
        token.cancel();
        QVERIFY_THROWS_EXCEPTION(CancelledError, M3UParser::parse(text, base, token.flag()));
        // The same text with a token that stays live is read whole.
        QCOMPARE(M3UParser::parse(text, base, CancellationToken::create().flag()).size(), entries);
    }

    void everyChannelPassesTheAddressRule()
    {
        const QString text = u"#EXTM3U\nhttp://h/ok\nhttps://[::1]:8443/v6\n//other.example/proto\n../up.ts\nhttp://h/caf\u00e9"_s;
        const Parsed result = parsePlaylist(text);
        QCOMPARE(result.channels.size(), 5);
        for (const Channel &channel : result.channels) {
            const QUrl reparsed = PlaylistSource::httpURL(QString::fromLatin1(channel.encodedURL()));
            QCOMPARE(reparsed, channel.url());
        }
    }

    void manyEntriesAreLinear()
    {
        // 50,000 entries with every fifth address repeated; the count proves dedup and numbering.
        QString text = u"#EXTM3U\n"_s;
        for (int i = 0; i < 50000; ++i) {
            const int address = i % 5 == 4 ? i - 1 : i;
            text += u"#EXTINF:-1 group-title=\"G%1\",C%2\nhttp://h/%3\n"_s.arg(i % 40).arg(i).arg(address);
        }
        const Parsed result = parsePlaylist(text);
        QCOMPARE(result.channels.size(), 40000);
        QCOMPARE(result.channels.last().name(), u"C49998"_s);
        // Groups are shared, not copied per channel (entry 40, the 33rd channel, is in G0 too).
        QVERIFY(result.channels[0].group().constData() == result.channels[32].group().constData());
    }
};

QTEST_GUILESS_MAIN(TestM3UParser)
#include "tst_m3u_parser.moc"
