#pragma once

#include "http/HTTPClient.h"
#include "records/CatalogCategory.h"
#include "records/CatalogDetail.h"
#include "records/CatalogItem.h"
#include "records/PlaylistSource.h"

#include <QCoroTask>
#include <QList>
#include <QMap>

// The movie and series catalogue of an Xtream Codes account: categories of a kind, the titles of
// one category, and the detail of one title with its playable stream or episodes. No state, no
// cache (caching belongs to the catalogue model); parsing runs off the main thread.
class CatalogRepository
{
public:
    explicit CatalogRepository(HTTPClient::Fetch fetch = HTTPClient::defaultFetch());

    QCoro::Task<QList<CatalogCategory>> categories(PlaylistSource source, CatalogKind kind,
                                                   CancellationToken cancellation = {}) const;
    QCoro::Task<QList<CatalogItem>> items(PlaylistSource source, CatalogKind kind, QString categoryID,
                                          CancellationToken cancellation = {}) const;
    QCoro::Task<CatalogDetail> detail(PlaylistSource source, CatalogItem item,
                                      CancellationToken cancellation = {}) const;

    // The player_api.php address of one action: base, credentials, action, then the parameters
    // sorted by key with percent-encoded values. Throws IPTVError for an unusable connection.
    static QUrl requestURL(const PlaylistSource &source, const QString &action,
                           const QMap<QString, QString> &parameters);

private:
    HTTPClient::Fetch m_fetch;
};
