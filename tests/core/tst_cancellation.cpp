// How work running off the main thread learns that its caller cancelled it: a flag taken from the
// token, polled by parsers at checkpoints (the first pass, then every so many passes).

#include "async/Cancellation.h"

#include <QTest>
#include <QThread>

#include <memory>

class tst_Cancellation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFlagFollowsItsTokenAndOutlivesIt()
    {
        auto token = std::make_unique<CancellationToken>(CancellationToken::create());
        const CancellationFlag flag = token->flag();
        const CancellationFlag copy = flag;
        QVERIFY(!flag.isRaised());
        token->cancel();
        QVERIFY(flag.isRaised());
        QVERIFY(copy.isRaised());
        QVERIFY(CancellationToken(*token).flag().isRaised());
        QVERIFY_THROWS_EXCEPTION(CancelledError, flag.throwIfRaised());
        token.reset();
        QVERIFY(flag.isRaised());
    }

    // The worker holds only the flag: the token (a QObject's owner) stays on the main thread.
    void anotherThreadSeesTheCancellation()
    {
        const CancellationToken token = CancellationToken::create();
        bool seenBefore = true;
        bool seenAfter = false;
        std::unique_ptr<QThread> before(QThread::create([flag = token.flag(), &seenBefore] { seenBefore = flag.isRaised(); }));
        before->start();
        QVERIFY(before->wait());
        token.cancel();
        std::unique_ptr<QThread> after(QThread::create([flag = token.flag(), &seenAfter] { seenAfter = flag.isRaised(); }));
        after->start();
        QVERIFY(after->wait());
        QVERIFY(!seenBefore);
        QVERIFY(seenAfter);
    }

    void aCheckpointLooksAtTheFirstPassThenEveryInterval_data()
    {
        QTest::addColumn<int>("interval");
        QTest::addColumn<int>("raisedAfterPasses");
        QTest::addColumn<int>("throwsAtPass"); // 1-based
        QTest::newRow("raised before the start") << 4096 << 0 << 1;
        QTest::newRow("raised after the first pass") << 4096 << 1 << 4097;
        QTest::newRow("raised just before a look") << 4096 << 4096 << 4097;
        QTest::newRow("raised just after a look") << 4096 << 4097 << 8193;
        QTest::newRow("every pass looks") << 1 << 5 << 6;
    }
    void aCheckpointLooksAtTheFirstPassThenEveryInterval()
    {
        QFETCH(int, interval);
        QFETCH(int, raisedAfterPasses);
        QFETCH(int, throwsAtPass);
        const CancellationToken token = CancellationToken::create();
        CancellationCheckpoint checkpoint(token.flag(), interval);
        int pass = 0;
        try {
            while (pass < 100000) {
                if (pass == raisedAfterPasses)
                    token.cancel();
                ++pass;
                checkpoint.pass();
            }
        } catch (const CancelledError &) {
        }
        QCOMPARE(pass, throwsAtPass);
    }
};

QTEST_GUILESS_MAIN(tst_Cancellation)
#include "tst_cancellation.moc"
