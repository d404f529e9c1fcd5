#include "Mpris.h"

#include "DesktopLogging.h"
#include "MprisPlayerAdaptor.h"
#include "MprisRootAdaptor.h"

#include <QDBusError>

Mpris::Mpris(LibraryModel &library, QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
    new MprisRootAdaptor(this);
    new MprisPlayerAdaptor(this, library);
}

Mpris::~Mpris()
{
    if (m_registered) {
        m_bus.unregisterService(serviceName);
        m_bus.unregisterObject(objectPath);
    }
}

bool Mpris::start()
{
    if (!m_bus.isConnected())
        return false;
    if (!m_bus.registerObject(objectPath, this)) {
        qCWarning(lcDesktop) << "Cannot export the MPRIS object:" << m_bus.lastError().message();
        return false;
    }
    if (!m_bus.registerService(serviceName)) {
        qCWarning(lcDesktop) << "Cannot take the MPRIS name:" << m_bus.lastError().message();
        m_bus.unregisterObject(objectPath);
        return false;
    }
    m_registered = true;
    return true;
}
