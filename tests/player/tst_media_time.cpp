#include "MediaTime.h"

#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

class MediaTimeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data()
    {
        QTest::addColumn<std::optional<qint64>>("milliseconds");
        QTest::addColumn<QString>("text");

        QTest::newRow("unknown") << std::optional<qint64>() << u"--:--"_s;
        QTest::newRow("zero") << std::optional<qint64>(0) << u"00:00"_s;
        QTest::newRow("under a second") << std::optional<qint64>(999) << u"00:00"_s;
        QTest::newRow("one second") << std::optional<qint64>(1000) << u"00:01"_s;
        QTest::newRow("a minute and five") << std::optional<qint64>(65'000) << u"01:05"_s;
        QTest::newRow("just under an hour") << std::optional<qint64>(3'599'999) << u"59:59"_s;
        QTest::newRow("one hour") << std::optional<qint64>(3'600'000) << u"1:00:00"_s;
        QTest::newRow("1:02:03") << std::optional<qint64>(3'723'000) << u"1:02:03"_s;
        QTest::newRow("almost a day") << std::optional<qint64>(86'399'000) << u"23:59:59"_s;
        QTest::newRow("hundred hours") << std::optional<qint64>(360'000'000) << u"100:00:00"_s;
        QTest::newRow("a millisecond before zero") << std::optional<qint64>(-1) << u"00:00"_s;
        QTest::newRow("five seconds before zero") << std::optional<qint64>(-5000) << u"-00:05"_s;
        QTest::newRow("an hour before zero") << std::optional<qint64>(-3'723'000) << u"-1:02:03"_s;
    }

    void text()
    {
        QFETCH(std::optional<qint64>, milliseconds);
        QFETCH(QString, text);
        QCOMPARE(mediaTimeText(milliseconds), text);
        const MediaTime time = milliseconds ? MediaTime(*milliseconds) : MediaTime();
        QCOMPARE(time.text(), text);
        QCOMPARE(time.isDefined(), milliseconds.has_value());
        QCOMPARE(time.milliseconds(), milliseconds.value_or(0));
    }
};

QTEST_GUILESS_MAIN(MediaTimeTest)
#include "tst_media_time.moc"
