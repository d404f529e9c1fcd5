#include "records/Channel.h"
#include "records/IPTVError.h"
#include "records/JsonError.h"
#include "records/PlaylistSource.h"

#include "Fixtures.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QString nameMessage = u"Posa un nom a la llista."_s;
const QString urlMessage =
    u"Cal una URL HTTP o HTTPS vàlida. Escriu l’usuari i la contrasenya als camps corresponents."_s;
const QString credentialsMessage = u"Indica l’usuari i la contrasenya del servidor."_s;
const QString baseMessage =
    u"Introdueix l’adreça base del servidor, sense player_api.php, get.php ni paràmetres."_s;
const QUuid sourceID = QUuid::fromString(u"6a1f0c2e-9b1d-4c3e-8f00-0123456789e2"_s);

QString errorOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const IPTVError &error) {
        return error.message();
    }
    return QString();
}
} // namespace

class TestChannelAndSource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void channelIdentity()
    {
        const QUrl url(u"http://example.com/live/1.ts"_s);
        const Channel channel(u"Un"_s, u"Notícies"_s, url, false);
        const QString expected =
            QString::fromLatin1(QCryptographicHash::hash("http://example.com/live/1.ts", QCryptographicHash::Sha256).toHex());
        QCOMPARE(channel.id(), expected);
        QCOMPARE(channel.url(), url);

        // Same address, other names: same identity, different records.
        const Channel renamed(u"Dos"_s, u"Esports"_s, url, true);
        QCOMPARE(renamed.id(), channel.id());
        QVERIFY(!(renamed == channel));
        QVERIFY(channel == Channel(u"Un"_s, u"Notícies"_s, url, false));

        // No normalisation beyond parsing: an explicit default port is another address.
        const Channel withPort(u"Un"_s, u"Notícies"_s, QUrl(u"http://example.com:80/live/1.ts"_s), false);
        QVERIFY(withPort.id() != channel.id());
    }

    // The identity is the digest of the address exactly as it was accepted.
    void channelIdentityOfAnAddressAsWritten()
    {
        const QByteArray written = PlaylistSource::acceptedEncodedURL(u"https://FFFFFFF110156200.tvustream.com/ryfy.m3u8");
        const Channel channel(u"Un"_s, QString(), written, false);
        QCOMPARE(channel.encodedURL(), QByteArray("https://FFFFFFF110156200.tvustream.com/ryfy.m3u8"));
        QCOMPARE(channel.id(), u"d5dbfc46062daa5bda1ca225c8caaf3eeddcee19784414e24954fdbfacc9262e"_s);
        QCOMPARE(channel.url().host(), u"fffffff110156200.tvustream.com"_s);
    }

    void channelGroup_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("stored");
        QTest::newRow("empty") << QString() << u"Sense categoria"_s;
        QTest::newRow("blanks are kept") << u"   "_s << u"   "_s;
        QTest::newRow("named") << u"Cinema"_s << u"Cinema"_s;
    }
    void channelGroup()
    {
        QFETCH(QString, group);
        QFETCH(QString, stored);
        QCOMPARE(Channel(u"x"_s, group, QUrl(u"http://h/x"_s), false).group(), stored);
    }

    void favoriteID()
    {
        const Channel channel(u"x"_s, QString(), QUrl(u"https://h.example/x.m3u8"_s), false);
        const QString key = channel.favoriteID(sourceID);
        QCOMPARE(key, u"6A1F0C2E-9B1D-4C3E-8F00-0123456789E2:"_s + channel.id());
    }

    // An address already in encoded form is kept byte for byte: it is the channel's identity and the
    // address played. Only text that needs encoding gets QUrl's encoded form. httpURL refuses exactly
    // the addresses refused here, with the address message.
    void acceptedEncodedURL_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // empty: refused

        const QStringList keptAsWritten{
            u"http://example.com/live/1.ts"_s,
            u"https://cdn.example.net:8443/a/b.m3u8?token=x&y=1"_s,
            u"http://example.com"_s,
            u"http://example.com?x"_s,
            u"http://Example.com/x"_s,
            u"https://FFFFFFF110156200.tvustream.com/ryfy.m3u8"_s,
            u"HTTP://example.com/x"_s,
            u"http://EXAMPLE.com:8080"_s,
            u"http://example.com:80/x"_s,
            u"https://example.com:443/x"_s,
            u"http://example.com:080/x"_s,
            u"http://example.com:/x"_s,
            u"http://127.1/x"_s,
            u"http://0x7f.1/x"_s,
            u"http://010.0.0.1/x"_s,
            u"http://[::FFFF:1.2.3.4]:8080/x"_s,
            u"http://XN--CAF-DMA.example/x"_s,
            u"http://example.com/Gol%20Kral%c4%b1.mp4"_s,
            u"http://example.com/Gol%20Kral%C4%B1.mp4"_s,
            u"http://example.com/%41%2f%7e"_s,
            u"http://example.com/x?yo.up=http%3a%2f%2fother.example%2f"_s,
            u"http://example.com/a/../b/./c"_s,
            u"http://example.com/a//b/"_s,
            u"http://example.com/a#frag"_s,
            u"http://example.com/[x]"_s,
            u"http://example.com/a'b"_s,
            u"http://example.com/!$&()*+,;=:@~"_s,
            u"http://ex_ample.com/x"_s,
        };
        for (const QString &row : keptAsWritten)
            QTest::newRow(qPrintable(u"kept "_s + row.left(60))) << row << row;
        QTest::newRow("long plain address kept") << u"https://example.com/"_s + QString(2000, u'a') + u"?t="_s
                + QString(300, u'Z')
                                                 << u"https://example.com/"_s + QString(2000, u'a') + u"?t="_s
                + QString(300, u'Z');

        // Characters that cannot stand in an address are percent-encoded as QUrl does it.
        QTest::newRow("blank") << u"http://example.com/a b"_s << u"http://example.com/a%20b"_s;
        QTest::newRow("blank with an upper-case host")
            << u"http://Example.com/a b"_s << u"http://example.com/a%20b"_s;
        QTest::newRow("letter outside ASCII") << u"http://example.com/café"_s << u"http://example.com/caf%C3%A9"_s;
        QTest::newRow("letter outside ASCII in the host")
            << u"http://café.example/x"_s << u"http://xn--caf-dma.example/x"_s;
        QTest::newRow("pipe") << u"http://example.com/x|User-Agent=a"_s << u"http://example.com/x%7CUser-Agent=a"_s;
        QTest::newRow("quotes") << u"http://example.com/\"q\""_s << u"http://example.com/%22q%22"_s;
        QTest::newRow("backslash") << u"http://example.com/\\x"_s << u"http://example.com/%5Cx"_s;
        QTest::newRow("braces") << u"http://example.com/{x}"_s << u"http://example.com/%7Bx%7D"_s;
        QTest::newRow("caret and grave") << u"http://example.com/x^y`z"_s << u"http://example.com/x%5Ey%60z"_s;
        QTest::newRow("percent sign without an escape")
            << u"http://example.com/100%zz"_s << u"http://example.com/100%25zz"_s;
        QTest::newRow("second hash") << u"http://example.com/a#b#c"_s << u"http://example.com/a#b%23c"_s;

        const QStringList refused{
            u"ftp://example.com/x"_s, u"http://"_s, u"http:///x"_s, u"http://u:p@example.com/x"_s,
            u"http://@example.com/x"_s, u"http://Example.com:99999/x"_s, u"http://-bad.example/x"_s,
            u"http://a..b/x"_s, u"rtmp://Example.com/live"_s, QString(), u"example.com/list.m3u"_s,
            u"http://user@example.com/x"_s, u"http://exa mple.com/"_s,
        };
        for (const QString &row : refused)
            QTest::newRow(qPrintable(u"refused "_s + row)) << row << QString();
    }
    void acceptedEncodedURL()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(QString::fromLatin1(PlaylistSource::acceptedEncodedURL(text)), expected);
        QCOMPARE(errorOf([&] { PlaylistSource::httpURL(text); }), expected.isEmpty() ? urlMessage : QString());
    }

    // Every address line of the real playlists: accepted exactly when QUrl accepts it, and the text
    // kept means the address QUrl reads from the line.
    void acceptedEncodedURLOnRealPlaylists()
    {
        QUENVO_REQUIRE_FIXTURES();
        int compared = 0;
        int keptAsWritten = 0;
        for (const QString &path : Fixtures::files(u"m3u"_s, {u"*.m3u"_s, u"*.m3u8"_s})) {
            const QString text = QString::fromUtf8(Fixtures::read(path));
            for (QStringView line : QStringView(text).tokenize(u'\n')) {
                line = line.trimmed();
                if (line.isEmpty() || line.startsWith(u'#'))
                    continue;
                const QUrl parsed = PlaylistSource::parseURL(line);
                const QByteArray accepted = PlaylistSource::acceptedEncodedURL(line);
                QCOMPARE(accepted.isEmpty(), !PlaylistSource::isAcceptedHttpURL(parsed));
                if (!accepted.isEmpty())
                    QCOMPARE(QUrl::fromEncoded(accepted), parsed);
                if (!accepted.isEmpty() && accepted != parsed.toEncoded()) {
                    QCOMPARE(QString::fromLatin1(accepted), line.toString());
                    ++keptAsWritten;
                }
                ++compared;
            }
        }
        QVERIFY2(compared > 20000, qPrintable(QString::number(compared)));
        // The upper-case hosts and lower-case escapes of the lists (Free-TV, TURKTV VOD, iptv-org…).
        QVERIFY2(keptAsWritten >= 19, qPrintable(QString::number(keptAsWritten)));
    }

    void validatedURL_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("username");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("xtream");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("sent"); // the address as sent, when accepted

        // An M3U connection has no credentials; an Xtream one is "S", with "u" and "p" unless the row says.
        const auto m3u = [](const char *row, const QString &name, const QString &address,
                             const QString &error, const QString &sent = QString()) {
            QTest::newRow(row) << name << address << QString() << QString() << false << error << sent;
        };
        const auto xtream = [](const char *row, const QString &address, const QString &error,
                                const QString &sent = QString(), const QString &username = u"u"_s,
                                const QString &password = u"p"_s) {
            QTest::newRow(row) << u"S"_s << address << username << password << true << error << sent;
        };
        m3u("blank name is checked before the address", u" \t\n"_s, u"not a url"_s, nameMessage);
        m3u("m3u trimmed", u"Llista"_s, u"  https://example.com/tv.m3u \n"_s, QString(),
            u"https://example.com/tv.m3u"_s);
        m3u("m3u with query keeps it", u"Llista"_s, u"http://h/get.php?type=m3u"_s, QString(),
            u"http://h/get.php?type=m3u"_s);
        m3u("m3u ftp", u"L"_s, u"ftp://h/x"_s, urlMessage);
        m3u("m3u credentials in address", u"L"_s, u"http://a:b@h/x"_s, urlMessage);
        xtream("xtream ok", u"http://h:8080"_s, QString(), u"http://h:8080"_s);
        xtream("xtream blank user passes", u"http://h"_s, QString(), u"http://h"_s, u" "_s);
        xtream("xtream empty user", u"http://h"_s, credentialsMessage, QString(), QString());
        xtream("xtream empty password", u"http://h"_s, credentialsMessage, QString(), u"u"_s, QString());
        xtream(
            "xtream bad address before credentials", u"nope"_s, urlMessage, QString(), QString(), QString());
        xtream("xtream player_api.php", u"http://h/player_api.php"_s, baseMessage);
        xtream("xtream player_api.php with a slash", u"http://h/player_api.php/"_s, baseMessage);
        xtream("xtream get.php/ under a prefix", u"http://h/x/get.php/"_s, baseMessage);
        xtream("xtream get.php under a prefix", u"http://h/x/get.php"_s, baseMessage);
        xtream("xtream query", u"http://h/?a=1"_s, baseMessage);
        xtream("xtream empty query", u"http://h/?"_s, baseMessage);
        xtream("xtream fragment", u"http://h/#x"_s, baseMessage);
        xtream("xtream name in capitals is not refused", u"http://h/PLAYER_API.PHP"_s, QString(),
            u"http://h/PLAYER_API.PHP"_s);
        // The address as sent: trimmed, and kept as written unless something in it needs encoding.
        m3u("m3u kept as written", u"L"_s, u"  HTTPS://Lists.Example:443/a/./tv%c3%a9.m3u \n"_s, QString(),
            u"HTTPS://Lists.Example:443/a/./tv%c3%a9.m3u"_s);
        m3u("m3u with a blank, encoded", u"L"_s, u"http://Lists.Example/my tv.m3u"_s, QString(),
            u"http://lists.example/my%20tv.m3u"_s);
        xtream("xtream with a trailing slash", u"http://Panel.Example:8080/"_s, QString(),
            u"http://Panel.Example:8080/"_s);
    }
    void validatedURL()
    {
        QFETCH(QString, name);
        QFETCH(QString, address);
        QFETCH(QString, username);
        QFETCH(QString, password);
        QFETCH(bool, xtream);
        QFETCH(QString, error);
        QFETCH(QString, sent);
        const PlaylistSource source(QUuid::createUuid(), name, address, username, password,
                                    xtream ? PlaylistSource::Kind::xtream : PlaylistSource::Kind::m3u);
        QUrl result;
        QCOMPARE(errorOf([&] { result = source.validatedURL(); }), error);
        // The address as sent fails the same way, or is the same address.
        QByteArray asSent;
        QCOMPARE(errorOf([&] { asSent = source.validatedAddress(); }), error);
        QCOMPARE(QString::fromLatin1(asSent), sent);
        QCOMPARE(QUrl::fromEncoded(asSent), result);
    }

    void jsonRoundTrip()
    {
        const PlaylistSource source(sourceID, u"Casa"_s, u" http://h/x.m3u "_s, u"u"_s, u"p"_s,
                                    PlaylistSource::Kind::xtream);
        const QJsonObject json = source.toJson();
        QCOMPARE(json.value(u"id"_s).toString(), u"6A1F0C2E-9B1D-4C3E-8F00-0123456789E2"_s);
        QCOMPARE(json.value(u"kind"_s).toString(), u"xtream"_s);
        QCOMPARE(json.value(u"address"_s).toString(), u" http://h/x.m3u "_s);
        QCOMPARE(json.keys().size(), 6);
        QCOMPARE(PlaylistSource::fromJson(json), source);
        const PlaylistSource list(sourceID, u"Llista"_s, u"http://h/x.m3u"_s, QString(), QString(),
                                  PlaylistSource::Kind::m3u);
        QCOMPARE(list.toJson().value(u"kind"_s).toString(), u"m3u"_s);
        QCOMPARE(PlaylistSource::fromJson(list.toJson()), list);
    }

    // A saved connection is read back only when every field is there with its type, the kind is one
    // of the two names and the id a UUID in either case; other keys are ignored.
    void jsonDecoding_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("accepted");
        const QByteArray id = R"("6A1F0C2E-9B1D-4C3E-8F00-0123456789E2")";
        const QByteArray valid = R"({"id":"6A1F0C2E-9B1D-4C3E-8F00-0123456789E2","name":"n","address":"a",)"
                                 R"("username":"u","password":"p","kind":"m3u"})";
        const auto changed
            = [&](const char *row, const QByteArray &before, const QByteArray &after, bool accepted = false) {
                  QTest::newRow(row) << QByteArray(valid).replace(before, after) << accepted;
              };
        changed("missing name", R"("name":"n",)", "");
        changed("missing password", R"("password":"p",)", "");
        changed("number as name", R"("name":"n")", R"("name":5)");
        changed("null username", R"("username":"u")", R"("username":null)");
        changed("unknown kind", R"("kind":"m3u")", R"("kind":"M3U")");
        changed("kind in other letters", R"("kind":"m3u")", R"("kind":"Xtream")");
        changed("empty kind", R"("kind":"m3u")", R"("kind":"")");
        changed("braced uuid", id, R"("{6A1F0C2E-9B1D-4C3E-8F00-0123456789E2}")");
        changed("short uuid", id, R"("6A1F0C2E-9B1D-4C3E-8F00-0123456789E")");
        changed("uuid without hyphens", id, R"("6A1F0C2E09B1D04C3E08F0000123456789E2")");
        QTest::newRow("lower-case uuid and extra key")
            << QByteArray(R"({"id":"6a1f0c2e-9b1d-4c3e-8f00-0123456789e2","name":"n","address":"a",)"
                          R"("username":"","password":"","kind":"xtream","extra":1})")
            << true;
        changed("all-zero uuid", id, R"("00000000-0000-0000-0000-000000000000")", true);
    }
    void jsonDecoding()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, accepted);
        const QJsonObject object = QJsonDocument::fromJson(json).object();
        QVERIFY(!object.isEmpty());
        if (accepted)
            QCOMPARE(PlaylistSource::fromJson(object).name, u"n"_s);
        else
            QVERIFY_THROWS_EXCEPTION(JsonError, PlaylistSource::fromJson(object));
    }

    void iptvErrorCarriesItsMessage()
    {
        const IPTVError error(u"Càrrega cancel·lada."_s);
        QCOMPARE(error.message(), u"Càrrega cancel·lada."_s);
        QCOMPARE(error.errorDescription(), error.message());
        QCOMPARE(QString::fromUtf8(error.what()), error.message());
        QVERIFY(error == IPTVError(u"Càrrega cancel·lada."_s));
    }
};

QTEST_GUILESS_MAIN(TestChannelAndSource)
#include "tst_channel_and_source.moc"
