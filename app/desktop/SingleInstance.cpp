#include "SingleInstance.h"

#include "DesktopLogging.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

using namespace Qt::StringLiterals;

namespace {

// How long a second launch waits for the first one to take its addresses.
constexpr int handOverTimeout = 5000;

} // namespace

// The interface later launches call.
class OpenAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.quenvo.Quenvo")

public:
    explicit OpenAdaptor(SingleInstance *instance)
        : QDBusAbstractAdaptor(instance)
        , m_instance(instance)
    {
    }

public Q_SLOTS:
    void Open(const QStringList &addresses) { Q_EMIT m_instance->openRequested(addresses); }

private:
    SingleInstance *m_instance;
};

SingleInstance::SingleInstance(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
}

SingleInstance::~SingleInstance()
{
    if (m_role == Role::primary) {
        m_bus.unregisterObject(objectPath);
        m_bus.unregisterService(serviceName);
    }
}

SingleInstance::Role SingleInstance::start(const QStringList &addresses)
{
    if (!m_bus.isConnected()) {
        qCInfo(lcDesktop) << "No session bus: this instance runs on its own";
        return m_role = Role::alone;
    }
    // The object is in place before the name is taken, so that no call finds the name without it.
    new OpenAdaptor(this);
    m_bus.registerObject(objectPath, this);
    if (m_bus.registerService(serviceName))
        return m_role = Role::primary;
    m_bus.unregisterObject(objectPath);

    QDBusMessage call = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, u"Open"_s);
    call << addresses;
    const QDBusMessage reply = m_bus.call(call, QDBus::BlockWithGui, handOverTimeout);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        qCInfo(lcDesktop) << "Handed" << addresses.size() << "playlist(s) to the running instance";
        return m_role = Role::forwarded;
    }
    qCWarning(lcDesktop) << "The running instance did not answer:" << reply.errorMessage();
    return m_role = Role::alone;
}

#include "SingleInstance.moc"
