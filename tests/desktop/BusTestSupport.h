#pragma once

// What the desktop tests share: calls over the private session bus that keep the event loop turning
// (the service under test lives on this same thread and must be able to answer), and a recorder of
// the PropertiesChanged signals a service sends.

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QTest>
#include <QVariantMap>

namespace BusTest {

// A second connection to the session bus: what another program would see.
inline QDBusConnection otherConnection(const QString &name)
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

// Sends `message` and waits for its answer while events are processed.
inline QDBusMessage call(const QDBusConnection &bus, const QDBusMessage &message)
{
    QDBusPendingCall pending = bus.asyncCall(message, 10000);
    // Unfinished, the reply reads as an error: the caller sees it.
    (void)QTest::qWaitFor([&pending] { return pending.isFinished(); }, 15000);
    return pending.reply();
}

inline QDBusMessage method(const QString &service, const QString &path, const QString &interface,
                           const QString &name, const QVariantList &arguments = {})
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, name);
    message.setArguments(arguments);
    return message;
}

// Nested a{sv} values arrive as QDBusArgument: turn them into maps, all the way down.
inline QVariant plain(const QVariant &value)
{
    if (value.canConvert<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        if (argument.currentType() == QDBusArgument::MapType) {
            QVariantMap map = qdbus_cast<QVariantMap>(argument);
            for (QVariant &entry : map)
                entry = plain(entry);
            return map;
        }
    }
    if (value.canConvert<QDBusVariant>())
        return plain(value.value<QDBusVariant>().variant());
    return value;
}

// org.freedesktop.DBus.Properties.Get over the bus.
inline QVariant property(const QDBusConnection &bus, const QString &service, const QString &path,
                         const QString &interface, const QString &name)
{
    const QDBusMessage reply = call(bus, method(service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                                                {interface, name}));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return QVariant();
    return plain(reply.arguments().constFirst());
}

inline bool setProperty(const QDBusConnection &bus, const QString &service, const QString &path,
                        const QString &interface, const QString &name, const QVariant &value)
{
    const QDBusMessage reply = call(bus, method(service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"),
                                                {interface, name, QVariant::fromValue(QDBusVariant(value))}));
    return reply.type() == QDBusMessage::ReplyMessage;
}

// Every PropertiesChanged a service sends at a path, in order, with its values made plain.
class PropertiesChanged : public QObject
{
    Q_OBJECT

public:
    PropertiesChanged(QDBusConnection bus, const QString &path)
        : m_bus(std::move(bus))
    {
        m_bus.connect(QString(), path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"), this,
                      SLOT(record(QString, QVariantMap, QStringList)));
    }

    QList<QVariantMap> changes;

    // The latest announced value of `name`, or an invalid QVariant.
    QVariant last(const QString &name) const
    {
        for (auto change = changes.crbegin(); change != changes.crend(); ++change) {
            if (change->contains(name))
                return change->value(name);
        }
        return QVariant();
    }

private Q_SLOTS:
    void record(const QString &, const QVariantMap &changed, const QStringList &)
    {
        QVariantMap values;
        for (auto entry = changed.cbegin(); entry != changed.cend(); ++entry)
            values.insert(entry.key(), plain(entry.value()));
        changes.append(values);
    }

private:
    QDBusConnection m_bus;
};

} // namespace BusTest
