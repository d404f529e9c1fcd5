#pragma once

#include <QCoroFuture>
#include <QCoroTask>
#include <QFuture>
#include <QFutureWatcher>
#include <QPromise>
#include <QThreadPool>

#include <coroutine>
#include <memory>
#include <type_traits>

// Resumes the awaiting coroutine once `future` has finished, without reading its result (QCoro's
// own awaiter hands out a copy, leaving the original in the future to be freed on whichever thread
// lets go of the future last).
template<typename T>
class FinishedFuture
{
public:
    explicit FinishedFuture(QFuture<T> future) : m_future(std::move(future)) {}

    bool await_ready() const noexcept { return m_future.isFinished(); }
    void await_suspend(std::coroutine_handle<> waiting) const
    {
        auto *watcher = new QFutureWatcher<T>();
        QObject::connect(watcher, &QFutureWatcherBase::finished, watcher, [watcher, waiting] {
            watcher->deleteLater();
            waiting.resume();
        });
        watcher->setFuture(m_future);
    }
    void await_resume() const noexcept {}

private:
    QFuture<T> m_future;
};

// Runs `work` on the global thread pool and resumes the awaiting coroutine with its result (or
// its exception) on the caller's thread. For parsing large answers without stalling the interface:
// `work` must only touch values it owns. The result is moved, never copied, to the caller: a copy
// of a large result would also be freed on the caller's thread.
template<typename Work>
auto inBackground(Work work) -> QCoro::Task<std::invoke_result_t<Work>>
{
    using Result = std::invoke_result_t<Work>;
    auto promise = std::make_shared<QPromise<Result>>();
    QFuture<Result> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, work = std::move(work)]() mutable {
        try {
            promise->addResult(work());
        } catch (...) {
            promise->setException(std::current_exception());
        }
        promise->finish();
    });
    const FinishedFuture<Result> finished(future);
    co_await finished;
    // Rethrows the work's exception.
    co_return future.takeResult();
}

// Destroys `value` on the global thread pool. Dropping a list of 100,000 channels frees several
// hundred thousand blocks (tens of milliseconds): a model replacing its data hands the old data here
// instead of freeing it between two frames. `value` must be the last owner of anything that is not
// implicitly shared (shared payloads such as QString are released with atomic counts, so copies
// still held elsewhere are fine).
template<typename Value>
void releaseInBackground(Value value)
{
    QThreadPool::globalInstance()->start([value = std::move(value)]() mutable { Value released = std::move(value); });
}
