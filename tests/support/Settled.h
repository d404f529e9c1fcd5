#pragma once

#include "async/Cancellation.h"
#include "http/TransportError.h"
#include "records/IPTVError.h"
#include "records/JsonError.h"

#include <QCoroTask>
#include <QString>

#include <exception>
#include <optional>

// A task run to its end from a test's plain function: what it returned, or how it failed.
template<typename T> struct Outcome
{
    std::optional<T> value;
    // Empty when the task succeeded; else the IPTVError's message, or one of the tags of failureText().
    QString failure;
    std::exception_ptr error;
};

// The text of a failure: an IPTVError's own message, "<JsonError>", "<cancelled>",
// "<TransportError k>" (k the kind's number) or "<unexpected: …>".
inline QString failureText(const std::exception_ptr &error)
{
    if (!error)
        return QString();
    try {
        std::rethrow_exception(error);
    } catch (const IPTVError &failure) {
        return failure.message();
    } catch (const JsonError &) {
        return QStringLiteral("<JsonError>");
    } catch (const CancelledError &) {
        return QStringLiteral("<cancelled>");
    } catch (const TransportError &failure) {
        return QStringLiteral("<TransportError %1>").arg(int(failure.kind()));
    } catch (const std::exception &failure) {
        return QStringLiteral("<unexpected: %1>").arg(QString::fromUtf8(failure.what()));
    }
}

// QCoro 0.8's waitFor() never returns when the awaited task throws: the outcome is settled first.
template<typename T> QCoro::Task<Outcome<T>> settled(QCoro::Task<T> task)
{
    Outcome<T> outcome;
    try {
        outcome.value = co_await std::move(task);
    } catch (...) {
        outcome.error = std::current_exception();
    }
    outcome.failure = failureText(outcome.error);
    co_return outcome;
}

// Runs `task` to its end in a nested event loop.
template<typename T> Outcome<T> settle(QCoro::Task<T> task)
{
    return QCoro::waitFor(settled(std::move(task)));
}
