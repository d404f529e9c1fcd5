#pragma once

// What the store tests share: a preferences file of their own (never the user's), and a way to wait
// for a coroutine and see how it ended.

#include "Settled.h"

#include <QCoroTask>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <exception>
#include <memory>
#include <optional>

namespace StoreTest {

// A QSettings file in a temporary folder. `restart()` writes it out and opens it again, as the next
// run of the application would find it.
class Preferences
{
public:
    Preferences()
    {
        QStandardPaths::setTestModeEnabled(true);
        open();
    }

    QSettings &settings() { return *m_settings; }
    QString filePath() const { return m_directory.filePath(QStringLiteral("preferences.ini")); }
    QString directory() const { return m_directory.path(); }

    void restart()
    {
        m_settings->sync();
        m_settings.reset();
        open();
    }

private:
    void open() { m_settings = std::make_unique<QSettings>(filePath(), QSettings::IniFormat); }

    QTemporaryDir m_directory;
    std::unique_ptr<QSettings> m_settings;
};

// Tasks with a result settle through Settled.h. The form for tasks without one has internal
// linkage: clang 14 with sanitizers and debug information cannot emit a non-template coroutine
// that lands in a shared (COMDAT) section ("cannot represent a difference across sections").
namespace {

struct Failure
{
    QString text; // empty when the task succeeded
};

// QCoro 0.8's waitFor() never returns when the awaited task throws: settle the outcome first.
[[maybe_unused]] QCoro::Task<Failure> settled(QCoro::Task<> task)
{
    std::exception_ptr error;
    try {
        co_await std::move(task);
    } catch (...) {
        error = std::current_exception();
    }
    co_return Failure {failureText(error)};
}

template<typename T> Outcome<T> run(QCoro::Task<T> task)
{
    return settle(std::move(task));
}

// The failure text of a task without a result; empty when it succeeded.
[[maybe_unused]] QString run(QCoro::Task<> task)
{
    return QCoro::waitFor(settled(std::move(task))).text;
}

} // namespace
} // namespace StoreTest
