#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QString>

#include <csignal>
#include <utility>

// Holds the session's Secret Service process still, so that every question to the keychain waits,
// until released or destroyed: a keychain that answers late, on demand.
class HeldSecretService
{
public:
    HeldSecretService()
    {
        const QDBusReply<uint> pid
            = QDBusConnection::sessionBus().interface()->servicePid(QStringLiteral("org.freedesktop.secrets"));
        if (pid.isValid() && ::kill(pid_t(pid.value()), SIGSTOP) == 0)
            m_pid = pid_t(pid.value());
    }
    ~HeldSecretService() { release(); }
    HeldSecretService(const HeldSecretService &) = delete;
    HeldSecretService &operator=(const HeldSecretService &) = delete;

    bool held() const { return m_pid != 0; }
    void release()
    {
        if (m_pid != 0)
            ::kill(std::exchange(m_pid, 0), SIGCONT);
    }

private:
    pid_t m_pid = 0;
};
