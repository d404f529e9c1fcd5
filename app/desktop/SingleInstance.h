#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

class OpenAdaptor;

// One Quenvo per user session. The first one to start owns the name "app.quenvo.Quenvo" on the
// session bus and offers Open(as addresses) at "/app/quenvo/Quenvo"; a later launch hands its
// playlist addresses (none at all just brings the window forward) to that one and ends. Without a
// session bus every launch runs alone.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    enum class Role {
        primary,   // owns the name; `openRequested` brings what later launches hand over
        forwarded, // another instance took the addresses: this launch has nothing left to do
        alone,     // no bus, or no answer from the owner: runs on its own
    };
    Q_ENUM(Role)

    static inline const QString serviceName = QStringLiteral("app.quenvo.Quenvo");
    static inline const QString objectPath = QStringLiteral("/app/quenvo/Quenvo");
    static inline const QString interfaceName = QStringLiteral("app.quenvo.Quenvo");

    explicit SingleInstance(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);
    ~SingleInstance() override;

    // Claims the name, or hands `addresses` to its owner. Call once, before the window exists.
    Role start(const QStringList &addresses);
    Role role() const { return m_role; }

Q_SIGNALS:
    // Another launch asked for these addresses (possibly none): open them and raise the window.
    void openRequested(const QStringList &addresses);

private:
    friend class OpenAdaptor;

    QDBusConnection m_bus;
    Role m_role = Role::alone;
};
