#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

class LibraryModel;
class MprisPlayerAdaptor;

// The MPRIS 2 interface of the player (org.mpris.MediaPlayer2 and its .Player) on the session bus,
// under the name "org.mpris.MediaPlayer2.quenvo": media keys, the desktop's player widgets and
// tools such as playerctl drive the library model through it. Without a session bus it does
// nothing.
class Mpris : public QObject
{
    Q_OBJECT

public:
    static inline const QString serviceName = QStringLiteral("org.mpris.MediaPlayer2.quenvo");
    static inline const QString objectPath = QStringLiteral("/org/mpris/MediaPlayer2");

    explicit Mpris(LibraryModel &library, QDBusConnection bus = QDBusConnection::sessionBus(),
                   QObject *parent = nullptr);
    ~Mpris() override;

    // Exports the object and takes the name; false when there is no bus or the name is taken.
    bool start();
    const QDBusConnection &bus() const { return m_bus; }

Q_SIGNALS:
    // Raise: bring the window forward. Quit: close it (which stops playback) and end.
    void raiseRequested();
    void quitRequested();
    // OpenUri: a playlist to open for the session.
    void openRequested(const QStringList &addresses);

private:
    QDBusConnection m_bus;
    bool m_registered = false;
};
