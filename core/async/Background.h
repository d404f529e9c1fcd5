#pragma once

#include <QCoroFuture>
#include <QCoroTask>
#include <QFuture>
#include <QPromise>
#include <QThreadPool>

#include <memory>
#include <type_traits>

// Runs `work` on the global thread pool and resumes the awaiting coroutine with its result (or
// its exception) on the caller's thread. For parsing large answers without stalling the interface:
// `work` must only touch values it owns.
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
    co_return co_await future;
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
