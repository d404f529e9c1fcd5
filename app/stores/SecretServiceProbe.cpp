#include "SecretServiceProbe.h"

#include <QtGlobal>

// Built where QtKeychain talks to the Secret Service over D-Bus; QtDBus comes with QtKeychain there.
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN) && !defined(Q_OS_ANDROID)

#include "NextEmission.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using namespace Qt::StringLiterals;

namespace {

using Attributes = QMap<QString, QString>;

QDBusMessage searchItems(const Attributes &attributes)
{
    static const QMetaType registered = qDBusRegisterMetaType<Attributes>();
    Q_UNUSED(registered)
    QDBusMessage search = QDBusMessage::createMethodCall(u"org.freedesktop.secrets"_s,
        u"/org/freedesktop/secrets"_s, u"org.freedesktop.Secret.Service"_s, u"SearchItems"_s);
    search << QVariant::fromValue(attributes);
    return search;
}

QDBusMessage itemProperty(const QDBusObjectPath &item, const QString &method)
{
    QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.secrets"_s, item.path(),
        u"org.freedesktop.DBus.Properties"_s, method);
    call << u"org.freedesktop.Secret.Item"_s << u"Label"_s;
    return call;
}

QCoro::Task<QList<QDBusObjectPath>> unlockedItems(QString service, QString key)
{
    const QDBusMessage search = searchItems({{u"server"_s, service}, {u"user"_s, key}});
    QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(search));
    co_await NextEmission(&watcher, &QDBusPendingCallWatcher::finished);
    const QDBusPendingReply<QList<QDBusObjectPath>, QList<QDBusObjectPath>> found = watcher;
    co_return found.isError() ? QList<QDBusObjectPath>() : found.argumentAt<0>();
}

bool anyLocked(const QDBusPendingCall &call)
{
    const QDBusPendingReply<QList<QDBusObjectPath>, QList<QDBusObjectPath>> found = call;
    return !found.isError() && !found.argumentAt<1>().isEmpty(); // (unlocked items, locked items)
}

} // namespace

namespace SecretServiceProbe {

QCoro::Task<bool> hasLockedItem(QString service, QString key)
{
    const QDBusMessage search = searchItems({{u"server"_s, service}, {u"user"_s, key}});
    QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(search));
    co_await NextEmission(&watcher, &QDBusPendingCallWatcher::finished);
    co_return anyLocked(watcher);
}

QCoro::Task<bool> setLabel(QString service, QString key, QString label)
{
    const QList<QDBusObjectPath> items = co_await unlockedItems(service, key);
    bool labelled = !items.isEmpty();
    for (const QDBusObjectPath &item : items) {
        QDBusMessage set = itemProperty(item, u"Set"_s);
        set << QVariant::fromValue(QDBusVariant(label));
        QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(set));
        co_await NextEmission(&watcher, &QDBusPendingCallWatcher::finished);
        labelled = labelled && !watcher.isError();
    }
    co_return labelled;
}

QCoro::Task<QString> label(QString service, QString key)
{
    const QList<QDBusObjectPath> items = co_await unlockedItems(service, key);
    if (items.isEmpty())
        co_return QString();
    QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(itemProperty(items.constFirst(), u"Get"_s)));
    co_await NextEmission(&watcher, &QDBusPendingCallWatcher::finished);
    const QDBusPendingReply<QDBusVariant> reply = watcher;
    co_return reply.isError() ? QString() : reply.value().variant().toString();
}

} // namespace SecretServiceProbe

#endif
