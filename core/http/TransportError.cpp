#include "TransportError.h"

TransportError TransportError::fromNetworkError(QNetworkReply::NetworkError error, const QString &detail)
{
    Kind kind = Kind::other;
    switch (error) {
    case QNetworkReply::HostNotFoundError:
        kind = Kind::cannotFindHost;
        break;
    case QNetworkReply::ConnectionRefusedError:
        kind = Kind::cannotConnectToHost;
        break;
    case QNetworkReply::TimeoutError:
        kind = Kind::timedOut;
        break;
    case QNetworkReply::SslHandshakeFailedError:
        kind = Kind::secureConnectionFailed;
        break;
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::BackgroundRequestNotAllowedError:
        kind = Kind::notConnectedToInternet;
        break;
    case QNetworkReply::OperationCanceledError:
        kind = Kind::cancelled;
        break;
    default:
        break;
    }
    return TransportError(kind, error, detail);
}
