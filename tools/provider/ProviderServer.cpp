#include "ProviderServer.h"
#include "ProviderService.h"

#include <QThread>

using namespace Qt::StringLiterals;

ProviderServer::ProviderServer(ProviderOptions options, QObject *parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_catalog(m_options)
    , m_media(ProviderMedia::unavailable(u"the server has not started"_s))
{
}

ProviderServer::~ProviderServer()
{
    stop();
}

QString ProviderServer::mediaFolder() const
{
    return m_options.mediaFolder.isEmpty() ? ProviderOptions::defaultMediaFolder() : m_options.mediaFolder;
}

bool ProviderServer::start(quint16 port)
{
    if (m_thread) {
        m_error = u"the server is already running"_s;
        return false;
    }
    m_error.clear();
    if (!m_media.isAvailable()) {
        m_media = m_options.generateMedia ? ProviderMedia::prepare(mediaFolder(), m_catalog.liveClips())
                                          : ProviderMedia::unavailable(u"media generation is turned off"_s);
    }

    m_thread = std::make_unique<QThread>();
    m_thread->setObjectName(u"ProviderServer"_s);
    m_service = new ProviderService(m_catalog, m_media, m_options, m_counters);
    m_service->moveToThread(m_thread.get());
    connect(m_thread.get(), &QThread::finished, m_service, &QObject::deleteLater);
    m_thread->start();

    bool listening = false;
    QMetaObject::invokeMethod(
        m_service,
        [&] {
            listening = m_service->listen(port);
            m_port = listening ? m_service->port() : 0;
            m_error = m_service->errorString();
        },
        Qt::BlockingQueuedConnection);
    if (!listening) {
        const QString error = m_error;
        stop();
        m_error = error;
    }
    return listening;
}

void ProviderServer::stop()
{
    if (!m_thread)
        return;
    ProviderService *service = m_service;
    QMetaObject::invokeMethod(
        service, [service] { service->shutdown(); }, Qt::BlockingQueuedConnection);
    m_thread->quit();
    m_thread->wait();
    m_thread.reset();
    m_service = nullptr;
    m_port = 0;
}

QUrl ProviderServer::baseURL() const
{
    QUrl url;
    url.setScheme(u"http"_s);
    url.setHost(u"127.0.0.1"_s);
    url.setPort(m_port);
    return url;
}

QUrl ProviderServer::url(const QString &pathAndQuery) const
{
    return QUrl(baseURL().toString() + pathAndQuery);
}
