#pragma once

#include <QByteArray>
#include <QString>
#include <exception>

// A JSON document that could not be read: a syntax error in a provider answer, or a stored record
// that lacks a key or holds the wrong type. It is never shown to the user as such.
class JsonError : public std::exception
{
public:
    explicit JsonError(const QString &detail)
        : m_detail(detail.toUtf8())
    {
    }

    QString detail() const { return QString::fromUtf8(m_detail); }
    const char *what() const noexcept override { return m_detail.constData(); }

private:
    QByteArray m_detail;
};
