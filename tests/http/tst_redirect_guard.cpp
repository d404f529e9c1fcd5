#include "http/RedirectGuard.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QNetworkRequest proposal(const QString &target)
{
    QNetworkRequest request {QUrl(target)};
    request.setRawHeader("Authorization", "Basic dTpw");
    request.setRawHeader("User-Agent", "Quenvo-macOS/0.1");
    request.setRawHeader("X-Quenvo-Probe", "kept");
    return request;
}

} // namespace

class TestRedirectGuard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decidesEachRedirect_data()
    {
        QTest::addColumn<QString>("leaving");
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("followed");
        QTest::addColumn<bool>("keepsAuthorization");

        // Leaving http://tv.example/a unless the row says.
        const auto row = [](const char *name, const QString &target, bool followed, bool keepsAuthorization,
                             const QString &leaving = u"http://tv.example/a"_s) {
            QTest::newRow(name) << leaving << target << followed << keepsAuthorization;
        };
        row("same origin", u"http://tv.example/b?x=1"_s, true, true);
        row("same origin, explicit port", u"http://tv.example:8080/b"_s, true, true,
            u"http://tv.example:8080/a"_s);
        row("https, same origin", u"https://tv.example/b"_s, true, true, u"https://tv.example/a"_s);
        row("host letters in another case", u"http://TV.Example/b"_s, true, true);
        row("scheme in capitals", u"HTTP://tv.example/b"_s, true, true);
        row("http to https", u"https://tv.example/b"_s, true, false);
        row("https to http", u"http://tv.example/b"_s, false, false, u"https://tv.example/a"_s);
        row("https to http on another host", u"http://cdn.example/b"_s, false, false,
            u"https://tv.example/a"_s);
        row("https to ftp", u"ftp://tv.example/b"_s, false, false, u"https://tv.example/a"_s);
        row("another host", u"http://cdn.example/b"_s, true, false);
        row("a subdomain is another host", u"http://www.tv.example/a"_s, true, false);
        row("another port", u"http://tv.example:8081/a"_s, true, false, u"http://tv.example:8080/a"_s);
        row("explicit default port after none", u"http://tv.example:80/a"_s, true, false);
        row("no port after an explicit default one", u"https://tv.example/a"_s, true, false,
            u"https://tv.example:443/a"_s);
        row("IP address for its host name", u"http://127.0.0.1:8080/a"_s, true, false,
            u"http://localhost:8080/a"_s);
        row("user and password", u"http://u:p@tv.example/b"_s, false, false);
        row("user name only", u"http://u@tv.example/b"_s, false, false);
        row("empty password", u"http://u:@tv.example/b"_s, false, false);
        row("ftp", u"ftp://tv.example/b"_s, false, false);
        row("file", u"file:///etc/hosts"_s, false, false);
        row("no host", u"http:///b"_s, false, false);
        row("relative, never resolved", u"/b"_s, false, false);
        row("empty", QString(), false, false);
    }

    void decidesEachRedirect()
    {
        QFETCH(QString, leaving);
        QFETCH(QString, target);
        QFETCH(bool, followed);
        QFETCH(bool, keepsAuthorization);

        RedirectGuard guard;
        const std::optional<QNetworkRequest> next = guard.willRedirect(QUrl(leaving), proposal(target));
        QCOMPARE(next.has_value(), followed);
        QCOMPARE(guard.redirects(), 1);
        if (!next)
            return;
        QCOMPARE(next->url(), QUrl(target));
        QCOMPARE(next->hasRawHeader("Authorization"), keepsAuthorization);
        if (keepsAuthorization)
            QCOMPARE(next->rawHeader("Authorization"), "Basic dTpw");
        QCOMPARE(next->rawHeader("X-Quenvo-Probe"), "kept");
        QCOMPARE(next->rawHeader("User-Agent"), "Quenvo-macOS/0.1");
        QCOMPARE(next->rawHeaderList().size(), keepsAuthorization ? 3 : 2);
    }

    // Every redirect asked about counts, refused ones too: the sixth and every one after it is refused.
    void refusalsCountToo()
    {
        RedirectGuard guard;
        const QUrl page(u"https://tv.example/list"_s);
        QVERIFY(!guard.willRedirect(page, proposal(u"http://tv.example/list"_s)));
        for (int i = 1; i < RedirectGuard::maximumRedirects; ++i)
            QVERIFY(guard.willRedirect(page, proposal(u"https://tv.example/list"_s)));
        QVERIFY(!guard.willRedirect(page, proposal(u"https://tv.example/list"_s)));
        QVERIFY(!guard.willRedirect(page, proposal(u"https://tv.example/list"_s)));
        QCOMPARE(guard.redirects(), RedirectGuard::maximumRedirects + 2);
    }

    void comparesOrigins_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("same");

        QTest::newRow("paths and queries do not matter")
            << u"http://tv.example/a?x=1"_s << u"http://tv.example/b#f"_s << true;
        QTest::newRow("user information does not matter")
            << u"http://u:p@tv.example/"_s << u"http://tv.example/"_s << true;
        QTest::newRow("host case") << u"http://TV.example/"_s << u"http://tv.EXAMPLE/"_s << true;
        QTest::newRow("host") << u"http://tv.example/"_s << u"http://tv.example.org/"_s << false;
        QTest::newRow("scheme") << u"http://tv.example/"_s << u"https://tv.example/"_s << false;
        QTest::newRow("port") << u"http://tv.example:1/"_s << u"http://tv.example:2/"_s << false;
        QTest::newRow("absent and explicit default port")
            << u"http://tv.example/"_s << u"http://tv.example:80/"_s << false;
        QTest::newRow("same explicit port")
            << u"http://tv.example:80/"_s << u"http://tv.example:80/x"_s << true;
        QTest::newRow("IPv6 literal") << u"http://[::1]:8080/"_s << u"http://[0:0::1]:8080/"_s << true;
        QTest::newRow("IPv4 and IPv6 loopback") << u"http://127.0.0.1/"_s << u"http://[::1]/"_s << false;
    }

    void comparesOrigins()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(bool, same);

        QCOMPARE(RedirectGuard::sameOrigin(QUrl(a), QUrl(b)), same);
        QCOMPARE(RedirectGuard::sameOrigin(QUrl(b), QUrl(a)), same);
    }
};

QTEST_GUILESS_MAIN(TestRedirectGuard)
#include "tst_redirect_guard.moc"
