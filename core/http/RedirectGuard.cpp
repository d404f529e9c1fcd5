#include "RedirectGuard.h"
#include "records/PlaylistSource.h"

using namespace Qt::StringLiterals;

std::optional<QNetworkRequest> RedirectGuard::willRedirect(const QUrl &leaving, QNetworkRequest proposed)
{
    if (++m_redirects > maximumRedirects)
        return std::nullopt;
    const QUrl target = proposed.url();
    if (target.isEmpty() || !PlaylistSource::isAcceptedHttpURL(PlaylistSource::parseURL(target.toString(QUrl::FullyEncoded))))
        return std::nullopt;
    if (leaving.scheme() == "https"_L1 && target.scheme() != "https"_L1)
        return std::nullopt;
    if (!sameOrigin(leaving, target))
        proposed.setRawHeader("Authorization", QByteArray());
    return proposed;
}

bool RedirectGuard::sameOrigin(const QUrl &a, const QUrl &b)
{
    // port() is -1 when absent, so an explicit default port differs from an absent one.
    return a.host() == b.host() && a.port() == b.port() && a.scheme() == b.scheme();
}
