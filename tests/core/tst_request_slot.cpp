// The one mechanism behind "only the latest request's answer is applied": tickets go stale when a
// newer request starts, when the slot is invalidated and when the slot is destroyed, and a request
// woken by its cancellation already finds itself stale.

#include "async/RequestSlot.h"

#include <QTest>

#include <memory>

class tst_RequestSlot : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A newer request, then invalidating the slot, each leave the request before stale and cancelled.
    void aNewRequestOrInvalidatingMakesThePreviousOneStale()
    {
        RequestSlot slot;
        const RequestSlot::Ticket first = slot.begin();
        QVERIFY(first.isCurrent());
        QVERIFY(!first.cancellation().isCancelled());
        QCOMPARE(slot.currentID(), first.id());

        const RequestSlot::Ticket second = slot.begin();
        QVERIFY(!first.isCurrent());
        QVERIFY(first.cancellation().isCancelled());
        QVERIFY(second.isCurrent());
        QVERIFY(!second.cancellation().isCancelled());
        QVERIFY(second.id() != first.id());

        slot.invalidate();
        QVERIFY(!second.isCurrent());
        QVERIFY(second.cancellation().isCancelled());
        QVERIFY(slot.currentID() != second.id());
        // Invalidating again (nothing running) is harmless.
        slot.invalidate();
        QVERIFY(slot.begin().isCurrent());
    }

    void aRequestWokenByItsCancellationIsAlreadyStale_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("a newer request") << 0;
        QTest::newRow("invalidated") << 1;
        QTest::newRow("slot destroyed") << 2;
    }

    void aRequestWokenByItsCancellationIsAlreadyStale()
    {
        QFETCH(int, how);
        auto slot = std::make_unique<RequestSlot>();
        const RequestSlot::Ticket ticket = slot->begin();
        // A download aborts as soon as it hears of the cancellation and its coroutine resumes at once.
        std::optional<bool> currentWhenCancelled;
        QObject::connect(ticket.cancellation().state(), &CancellationState::cancelled,
                         [&] { currentWhenCancelled = ticket.isCurrent(); });
        if (how == 0)
            slot->begin();
        else if (how == 1)
            slot->invalidate();
        else
            slot.reset();
        QCOMPARE(currentWhenCancelled, std::optional<bool>(false));
        QVERIFY(!ticket.isCurrent());
    }
};

QTEST_GUILESS_MAIN(tst_RequestSlot)
#include "tst_request_slot.moc"
