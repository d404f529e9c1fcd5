#pragma once

#include <QNetworkRequest>
#include <QUrl>

#include <optional>

// Decides every redirect of one download: at most five are followed, targets must be plain http(s)
// addresses without user information, https never leads back to http, and the Authorization header
// is dropped as soon as the origin (scheme, host, port) changes.
class RedirectGuard
{
public:
    static constexpr int maximumRedirects = 5;

    // The request to follow from the page at `leaving` to `proposed`, or nothing to refuse it.
    std::optional<QNetworkRequest> willRedirect(const QUrl &leaving, QNetworkRequest proposed);

    int redirects() const { return m_redirects; }

    static bool sameOrigin(const QUrl &a, const QUrl &b);

private:
    int m_redirects = 0;
};
