#include "GuideRepository.h"
#include "async/Background.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QLoggingCategory>

#include <exception>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcGuide, "quenvo.guide", QtInfoMsg)

namespace {

QCoro::Task<GuideData> loadOne(HTTPClient::Fetch fetch, QUrl address, GuideWindow window, qint64 maximumBytes,
                               CancellationToken cancellation)
{
    if (!PlaylistSource::isAcceptedHttpURL(address))
        throw IPTVError(GuideRepository::invalidAddressMessage());
    HTTPPayload payload = co_await fetch(HTTPClient::providerRequest(address), cancellation);
    // Named before the co_await: GCC 12 destroys a lambda that is a temporary of a co_await
    // expression twice.
    auto parse = [data = std::move(payload.data), window, maximumBytes] {
        return XmltvParser::parse(data, XmltvParser::Options {window, maximumBytes});
    };
    co_return co_await inBackground(std::move(parse));
}

} // namespace

GuideRepository::GuideRepository(HTTPClient::Fetch fetch)
    : m_fetch(std::move(fetch))
{
}

QString GuideRepository::invalidAddressMessage()
{
    return u"L’adreça de la guia de programació no és vàlida."_s;
}

QCoro::Task<GuideData> GuideRepository::load(QList<QUrl> addresses, GuideWindow window,
                                             CancellationToken cancellation, qint64 maximumBytes) const
{
    // Copied before the first suspension: the repository may go away while the load runs.
    HTTPClient::Fetch fetch = m_fetch;
    QList<GuideData> guides;
    std::exception_ptr firstFailure;
    for (const QUrl &address : std::as_const(addresses)) {
        try {
            guides.append(co_await loadOne(fetch, address, window, maximumBytes, cancellation));
        } catch (const CancelledError &) {
            throw;
        } catch (...) {
            qCWarning(lcGuide) << "guide not loaded from" << HTTPClient::redactedForLog(address);
            if (!firstFailure)
                firstFailure = std::current_exception();
        }
        cancellation.throwIfCancelled();
    }
    if (guides.isEmpty() && firstFailure)
        std::rethrow_exception(firstFailure);
    if (guides.size() <= 1)
        co_return guides.isEmpty() ? GuideData() : std::move(guides.front());
    auto merge = [guides = std::move(guides)] { return GuideData::merged(guides); };
    co_return co_await inBackground(std::move(merge));
}
