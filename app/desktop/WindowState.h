#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QVariantMap>

class QSettings;
class QWindow;

// The main window's place between runs: its size and position as a normal window, and whether it
// was maximised or full screen, under "window.geometry" and "window.state" in the preferences.
// Restored at start within the screens there are now.
class WindowState : public QObject
{
    Q_OBJECT

public:
    explicit WindowState(QSettings &preferences, QObject *parent = nullptr);

    // The window's initial x, y, width, height and visibility, from what was stored (nothing when
    // nothing was), for QQmlApplicationEngine::setInitialProperties.
    QVariantMap initialProperties() const;
    // Follows `window`, remembering its last geometry as a normal window.
    void follow(QWindow *window);
    // Stores the window's state now: when the run ends.
    void save();

    // `saved` moved and shrunk as little as needed to lie on one of the `available` areas: on the
    // one it overlaps most, or centred on the first when it overlaps none. `minimum` is the
    // smallest size the window accepts.
    static QRect clamped(const QRect &saved, const QList<QRect> &available, const QSize &minimum);

private:
    void remember();

    QSettings &m_preferences;
    QPointer<QWindow> m_window;
    QRect m_normalGeometry; // the last geometry seen while the window was neither maximised nor full screen
};
