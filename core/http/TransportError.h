#pragma once

#include <QNetworkReply>
#include <QString>

#include <exception>

// A failure of the transfer itself (no network, time-out, refused connection, TLS), passed through
// the core unchanged and turned into text only by the application.
class TransportError : public std::exception
{
public:
    enum class Kind {
        notConnectedToInternet,
        timedOut,
        cannotFindHost,
        cannotConnectToHost,
        secureConnectionFailed,
        serverCertificateUntrusted,
        cancelled,
        other,
    };

    TransportError(Kind kind, QNetworkReply::NetworkError networkError, const QString &detail)
        : m_kind(kind)
        , m_networkError(networkError)
        , m_detail(detail.toUtf8())
    {
    }

    // Classifies one of Qt's network errors the way the user will be told about it.
    static TransportError fromNetworkError(QNetworkReply::NetworkError error, const QString &detail);

    Kind kind() const { return m_kind; }
    QNetworkReply::NetworkError networkError() const { return m_networkError; }
    const char *what() const noexcept override { return m_detail.constData(); }

private:
    Kind m_kind;
    QNetworkReply::NetworkError m_networkError;
    QByteArray m_detail;
};
