// The programme guide of a connection against the local provider: logos and guide addresses read
// beside the channels, the guide downloaded, matched and looked up at the real clock, kept on disk,
// and the account's short guide filling in when its XMLTV cannot be had.

#include "ProviderGuide.h"
#include "ProviderServer.h"
#include "StoreTestSupport.h"
#include "models/ProgrammeGuide.h"
#include "repositories/PlaylistRepository.h"

#include <QDateTime>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// The transport, refusing every address that contains `refused`.
HTTPClient::Fetch refusing(const QString &refused)
{
    return [refused](QNetworkRequest request, CancellationToken cancellation) -> QCoro::Task<HTTPPayload> {
        if (!refused.isEmpty() && request.url().toString().contains(refused))
            throw IPTVError(u"El servidor ha respost amb l’error HTTP 404."_s);
        co_return co_await HTTPClient::fetch(std::move(request), std::move(cancellation));
    };
}
} // namespace

class TestProgrammeGuide : public QObject
{
    Q_OBJECT

    std::unique_ptr<ProviderServer> m_server;

    PlaylistSource source(bool xtream) const
    {
        if (xtream)
            return PlaylistSource(QUuid::createUuid(), u"Demo"_s, m_server->baseURL().toString(),
                ProviderCatalog::demoUsername(), ProviderCatalog::demoPassword(), PlaylistSource::Kind::xtream);
        return PlaylistSource(QUuid::createUuid(), u"Llista"_s, m_server->url(u"/playlist.m3u"_s).toString(),
            QString(), QString(), PlaylistSource::Kind::m3u);
    }

    // What the provider has on channel 0 now.
    QString titleOnNow() const
    {
        return ProviderGuide(m_server->catalog()).programmeAt(0, QDateTime::currentSecsSinceEpoch()).title;
    }

private Q_SLOTS:
    void initTestCase()
    {
        ProviderOptions options;
        options.generateMedia = false;
        m_server = std::make_unique<ProviderServer>(options);
        QVERIFY2(m_server->start(), qPrintable(m_server->errorString()));
    }

    void theGuideFollowsTheChannels_data()
    {
        QTest::addColumn<bool>("xtream");
        QTest::newRow("M3U, url-tvg") << false;
        QTest::newRow("Xtream, xmltv.php") << true;
    }
    void theGuideFollowsTheChannels()
    {
        QFETCH(bool, xtream);
        const PlaylistSource connection = source(xtream);
        const auto listing = StoreTest::run(PlaylistRepository().loadListing(connection));
        QCOMPARE(listing.failure, QString());
        const ChannelListing &list = *listing.value;
        QCOMPARE(list.extras.size(), list.channels.size());
        const ProviderCatalog &catalog = m_server->catalog();
        QCOMPARE(list.extras.guideID(0), catalog.liveChannelGuideID(0));
        QCOMPARE(list.extras.logo(0),
            m_server->baseURL().toString() + u"/images/logo-%1.png"_s.arg(catalog.liveChannelLogo(0)));
        // Both spellings of the header name the same guide: it is fetched once.
        QCOMPARE(list.extras.guideAddresses().size(), 1);

        QTemporaryDir cache;
        ProgrammeGuide guide(HTTPClient::defaultFetch(), cache.path());
        guide.reset(connection, xtream ? QByteArray() : connection.validatedAddress(), list.channels, list.extras);
        QVERIFY(guide.loading());
        QCOMPARE(guide.logo(0), list.extras.logo(0));
        QTRY_VERIFY_WITH_TIMEOUT(!guide.loading(), 20000);
        QCOMPARE(guide.note(), QString());
        QVERIFY(guide.now(0).has_value());
        QCOMPARE(guide.now(0)->title, titleOnNow());

        // The channel being played: now first, then the rest of the day in order.
        guide.setCurrentChannel(list.channels.at(0));
        // Logos by channel id, for the channel playing and for any other.
        QCOMPARE(guide.logoOf(list.channels.at(0).id()), list.extras.logo(0));
        QCOMPARE(guide.logoOf(list.channels.at(2).id()), list.extras.logo(2));
        QCOMPARE(guide.logoOf(list.channels.at(2).id().toUpper()), QString());
        QCOMPARE(guide.logoOf(QString(64, u'0')), QString());
        const QVariantList schedule = guide.currentSchedule();
        QVERIFY(!schedule.isEmpty());
        QCOMPARE(schedule.first().toMap().value(u"title"_s).toString(), titleOnNow());
        QVERIFY(schedule.first().toMap().value(u"now"_s).toBool());
        QVERIFY(schedule.size() >= 2);
        QVERIFY(!schedule.at(1).toMap().value(u"now"_s).toBool());

        // Kept on disk: the next run reads it without the network.
        QCOMPARE(QDir(cache.path()).entryList(QDir::Files).size(), 1);
        ProgrammeGuide offline(refusing(u"/"_s), cache.path());
        offline.reset(connection, xtream ? QByteArray() : connection.validatedAddress(), list.channels, list.extras);
        QTRY_VERIFY_WITH_TIMEOUT(!offline.loading(), 20000);
        QCOMPARE(offline.note(), QString());
        QCOMPARE(offline.now(0)->title, titleOnNow());
    }

    void anUnavailableGuideLeavesANoteAndTheShortGuideFillsIn()
    {
        const PlaylistSource connection = source(true);
        const auto listing = StoreTest::run(PlaylistRepository().loadListing(connection));
        QCOMPARE(listing.failure, QString());
        QTemporaryDir cache;
        ProgrammeGuide guide(refusing(u"xmltv.php"_s), cache.path());
        guide.reset(connection, QByteArray(), listing.value->channels, listing.value->extras);
        QTRY_VERIFY_WITH_TIMEOUT(!guide.loading(), 20000);
        QCOMPARE(guide.note(), ProgrammeGuide::unavailableNote());
        QVERIFY(!guide.now(0).has_value());

        guide.setCurrentChannel(listing.value->channels.at(0));
        QTRY_VERIFY_WITH_TIMEOUT(!guide.currentSchedule().isEmpty(), 20000);
        QCOMPARE(guide.currentSchedule().first().toMap().value(u"title"_s).toString(), titleOnNow());
        QVERIFY(guide.currentSchedule().first().toMap().value(u"now"_s).toBool());

        // Another connection: nothing of the first one's guide stays.
        guide.clear();
        QVERIFY(guide.logo(0).isEmpty());
        QCOMPARE(guide.note(), QString());
    }
};

QTEST_GUILESS_MAIN(TestProgrammeGuide)
#include "tst_programme_guide.moc"
