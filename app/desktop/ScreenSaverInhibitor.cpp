#include "ScreenSaverInhibitor.h"

#include "DesktopLogging.h"
#include "models/LibraryModel.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace {

const QString screenSaverService = u"org.freedesktop.ScreenSaver"_s;
const QString screenSaverPath = u"/org/freedesktop/ScreenSaver"_s;
const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString portalInterface = u"org.freedesktop.portal.Inhibit"_s;
// The portal's flags: 4 suspend, 8 idle.
constexpr uint suspendAndIdle = 4 | 8;

} // namespace

ScreenSaverInhibitor::ScreenSaverInhibitor(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
}

ScreenSaverInhibitor::~ScreenSaverInhibitor()
{
    m_wanted = false;
    release();
}

QString ScreenSaverInhibitor::reason()
{
    return u"S’està reproduint un vídeo"_s;
}

void ScreenSaverInhibitor::follow(LibraryModel &library)
{
    const auto update = [this, &library] { setWanted(library.isPlaying() && !library.playbackError()); };
    connect(&library, &LibraryModel::isPlayingChanged, this, update);
    connect(&library, &LibraryModel::playbackErrorChanged, this, update);
    update();
}

void ScreenSaverInhibitor::setWanted(bool wanted)
{
    if (m_wanted == wanted)
        return;
    m_wanted = wanted;
    settle();
}

// Brings the held inhibition in line with what is wanted, unless an answer is still awaited.
void ScreenSaverInhibitor::settle()
{
    if (m_requesting || !m_bus.isConnected())
        return;
    if (m_wanted && m_holder == Holder::none)
        inhibit();
    else if (!m_wanted && m_holder != Holder::none)
        release();
}

void ScreenSaverInhibitor::inhibit()
{
    m_requesting = true;
    QDBusMessage call
        = QDBusMessage::createMethodCall(screenSaverService, screenSaverPath, screenSaverService, u"Inhibit"_s);
    call << u"Quenvo"_s << reason();
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<uint> reply = *watcher;
        if (reply.isError()) {
            qCDebug(lcDesktop) << "No screen saver service:" << reply.error().message();
            inhibitThroughPortal();
            return;
        }
        m_requesting = false;
        m_cookie = reply.value();
        setHolder(Holder::screenSaver);
        settle();
    });
}

void ScreenSaverInhibitor::inhibitThroughPortal()
{
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, portalInterface, u"Inhibit"_s);
    call << QString() << suspendAndIdle << QVariantMap{{u"reason"_s, reason()}};
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        m_requesting = false;
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            // Nobody to ask: the screen saver keeps its own counsel. Asked again at the next start.
            qCInfo(lcDesktop) << "The screen saver cannot be held off:" << reply.error().message();
            return;
        }
        m_portalRequest = reply.value().path();
        setHolder(Holder::portal);
        settle();
    });
}

void ScreenSaverInhibitor::release()
{
    switch (m_holder) {
    case Holder::none:
        return;
    case Holder::screenSaver: {
        QDBusMessage call = QDBusMessage::createMethodCall(screenSaverService, screenSaverPath, screenSaverService,
                                                           u"UnInhibit"_s);
        call << m_cookie;
        m_bus.send(call);
        break;
    }
    case Holder::portal:
        m_bus.send(QDBusMessage::createMethodCall(portalService, m_portalRequest,
                                                  u"org.freedesktop.portal.Request"_s, u"Close"_s));
        break;
    }
    m_cookie = 0;
    m_portalRequest.clear();
    setHolder(Holder::none);
}

void ScreenSaverInhibitor::setHolder(Holder holder)
{
    if (m_holder == holder)
        return;
    m_holder = holder;
    Q_EMIT holderChanged();
}
