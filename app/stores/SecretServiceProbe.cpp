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

} // namespace SecretServiceProbe

#endif
