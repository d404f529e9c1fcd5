#pragma once

#include "HTTPPayload.h"
#include "async/Cancellation.h"
#include "records/IPTVError.h"

#include <QNetworkRequest>
#include <QCoroTask>

#include <chrono>
#include <functional>

// Every provider download goes through `fetch`: a fresh network manager per call (no cookies, no
// cache, no stored credentials), redirects decided by RedirectGuard, fixed time-outs and a hard
// 25 MB cap on the body, enforced while it streams in.
//
// Failures: IPTVError for what the user must read (HTTP status, size), TransportError for the
// transfer itself, CancelledError when the caller's token is cancelled (the transfer is aborted).
namespace HTTPClient {

inline constexpr qint64 maximumBodyBytes = 25 * 1024 * 1024;
inline const QByteArray userAgent = QByteArrayLiteral("Quenvo-macOS/0.1");

struct Limits
{
    // How long the server may take to send the response head, unless the request sets its own
    // transfer timeout (providers compute large answers before the first byte). Providers send
    // 60 s through QNetworkRequest::setTransferTimeout.
    std::chrono::milliseconds head{std::chrono::seconds(20)};
    // How long the body may go without a new byte.
    std::chrono::milliseconds idle{std::chrono::seconds(20)};
    // The whole download, redirects included.
    std::chrono::milliseconds resource{std::chrono::seconds(90)};
    qint64 maximumBytes = maximumBodyBytes;
};

QCoro::Task<HTTPPayload> fetch(QNetworkRequest request, CancellationToken cancellation = {}, Limits limits = {});

// A request as providers are asked: GET, our user agent, a 60-second time-out for the response.
QNetworkRequest providerRequest(const QUrl &url);

// The signature repositories accept, so that tests and callers can inject their own transport.
using Fetch = std::function<QCoro::Task<HTTPPayload>(QNetworkRequest, CancellationToken)>;
Fetch defaultFetch();

// What a body over `maximumBodyBytes` fails with (a playlist file read from disk too).
IPTVError sizeLimitError();

// "scheme://host:port/…/last-segment": enough to tell requests apart in logs without credentials.
QString redactedForLog(const QUrl &url);

} // namespace HTTPClient
