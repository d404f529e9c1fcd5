#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <optional>

class LibraryModel;

// Keeps the screen awake while a picture plays. Asks org.freedesktop.ScreenSaver first (the
// desktops' own service) and falls back to the desktop portal's Inhibit (idle and suspend); the
// inhibition is given back as soon as playback pauses, stops or fails.
//
// The calls are asynchronous: if playback ends while a request is on its way, the inhibition is
// released as soon as its answer arrives.
class ScreenSaverInhibitor : public QObject
{
    Q_OBJECT

public:
    enum class Holder { none, screenSaver, portal };
    Q_ENUM(Holder)

    explicit ScreenSaverInhibitor(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);
    ~ScreenSaverInhibitor() override;

    // Follows `library`: inhibited while it plays without a failure.
    void follow(LibraryModel &library);

    // Whether the screen should be kept awake.
    void setWanted(bool wanted);
    bool wanted() const { return m_wanted; }
    // Which service holds the inhibition now.
    Holder holder() const { return m_holder; }
    // Whether an Inhibit call awaits its answer.
    bool requesting() const { return m_requesting; }

    // The reason the desktop shows for the inhibition.
    static QString reason();

Q_SIGNALS:
    void holderChanged();

private:
    void inhibit();
    void inhibitThroughPortal();
    void release();
    void settle();
    void setHolder(Holder holder);

    QDBusConnection m_bus;
    bool m_wanted = false;
    bool m_requesting = false; // an Inhibit call is on its way
    Holder m_holder = Holder::none;
    uint m_cookie = 0;          // from org.freedesktop.ScreenSaver
    QString m_portalRequest;    // the portal's request object, closed to release
};
