#pragma once

#include <QString>
#include <QByteArray>
#include <exception>

// The one error whose text is shown to the user unchanged: every condition the user must read is
// thrown as an IPTVError carrying its finished Catalan message.
class IPTVError : public std::exception
{
public:
    explicit IPTVError(QString message)
        : m_message(std::move(message))
        , m_utf8(m_message.toUtf8())
    {
    }

    const QString &message() const noexcept { return m_message; }
    const QString &errorDescription() const noexcept { return m_message; }
    const char *what() const noexcept override { return m_utf8.constData(); }

    friend bool operator==(const IPTVError &a, const IPTVError &b) { return a.m_message == b.m_message; }

private:
    QString m_message;
    QByteArray m_utf8;
};
