#include "CatalogRepository.h"
#include "XtreamJson.h"
#include "XtreamReaders.h"
#include "async/Background.h"
#include "records/IPTVError.h"

using namespace Qt::StringLiterals;

namespace {
QCoro::Task<QByteArray> request(HTTPClient::Fetch fetch, QUrl url, CancellationToken cancellation)
{
    HTTPPayload payload = co_await fetch(HTTPClient::providerRequest(url), cancellation);
    co_return std::move(payload.data);
}
} // namespace

CatalogRepository::CatalogRepository(HTTPClient::Fetch fetch)
    : m_fetch(std::move(fetch))
{
}

QUrl CatalogRepository::requestURL(const PlaylistSource &source, const QString &action,
                                   const QMap<QString, QString> &parameters)
{
    source.validatedURL();
    if (source.kind != PlaylistSource::Kind::xtream)
        throw IPTVError(u"El catàleg de pel·lícules i sèries requereix una connexió Xtream Codes."_s);
    QString address = source.base() + u"/player_api.php?"_s + source.credentials() + u"&action="_s + action;
    // QMap iterates in ascending key order.
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it)
        address += u'&' + it.key() + u'=' + PlaylistSource::encoded(it.value());
    return PlaylistSource::httpURL(address);
}

QCoro::Task<QList<CatalogCategory>> CatalogRepository::categories(PlaylistSource source, CatalogKind kind,
                                                                  CancellationToken cancellation) const
{
    HTTPClient::Fetch fetch = m_fetch;
    const QString action = kind == CatalogKind::series ? u"get_series_categories"_s : u"get_vod_categories"_s;
    const QUrl url = requestURL(source, action, {});
    QByteArray body = co_await request(std::move(fetch), url, cancellation);
    // Named before the co_await: GCC 12 destroys a lambda that is a temporary of a co_await
    // expression twice (its captures are released twice).
    auto read = [body = std::move(body), cancellation = cancellation.flag()] {
        return XtreamReaders::catalogCategories(body, cancellation);
    };
    co_return co_await inBackground(std::move(read));
}

QCoro::Task<QList<CatalogItem>> CatalogRepository::items(PlaylistSource source, CatalogKind kind, QString categoryID,
                                                         CancellationToken cancellation) const
{
    HTTPClient::Fetch fetch = m_fetch;
    if (categoryID.isEmpty() || !XtreamJson::numeric(categoryID))
        throw IPTVError(u"Categoria no vàlida."_s);
    const QString action = kind == CatalogKind::series ? u"get_series"_s : u"get_vod_streams"_s;
    const QUrl url = requestURL(source, action, {{u"category_id"_s, categoryID}});
    QByteArray body = co_await request(std::move(fetch), url, cancellation);
    // Named before the co_await: see categories().
    auto read = [body = std::move(body), kind, categoryID, cancellation = cancellation.flag()] {
        return XtreamReaders::catalogItems(body, kind, categoryID, cancellation);
    };
    co_return co_await inBackground(std::move(read));
}

QCoro::Task<CatalogDetail> CatalogRepository::detail(PlaylistSource source, CatalogItem item,
                                                     CancellationToken cancellation) const
{
    HTTPClient::Fetch fetch = m_fetch;
    if (item.id.isEmpty() || !XtreamJson::numeric(item.id))
        throw IPTVError(u"Títol no vàlid."_s);
    const bool series = item.kind == CatalogKind::series;
    const QUrl url = requestURL(source, series ? u"get_series_info"_s : u"get_vod_info"_s,
                                {{series ? u"series_id"_s : u"vod_id"_s, item.id}});
    QByteArray body = co_await request(std::move(fetch), url, std::move(cancellation));
    // Named before the co_await: see categories().
    auto read = [body = std::move(body), source = std::move(source), item = std::move(item)] {
        return XtreamReaders::catalogDetail(body, source, item);
    };
    co_return co_await inBackground(std::move(read));
}
