#include "WindowState.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString geometryKey = u"window.geometry"_s;
const QString stateKey = u"window.state"_s; // "normal", "maximized" or "fullScreen"

QList<QRect> availableAreas()
{
    QList<QRect> areas;
    for (const QScreen *screen : QGuiApplication::screens())
        areas.append(screen->availableGeometry());
    // The primary screen first: a window that fits nowhere goes there.
    if (const QScreen *primary = QGuiApplication::primaryScreen())
        areas.prepend(primary->availableGeometry());
    return areas;
}

qint64 overlap(const QRect &a, const QRect &b)
{
    const QRect common = a.intersected(b);
    return common.isEmpty() ? 0 : qint64(common.width()) * common.height();
}

} // namespace

WindowState::WindowState(QSettings &preferences, QObject *parent)
    : QObject(parent)
    , m_preferences(preferences)
{
}

QRect WindowState::clamped(const QRect &saved, const QList<QRect> &available, const QSize &minimum)
{
    if (available.isEmpty() || !saved.isValid())
        return saved;
    const auto most = std::max_element(available.cbegin(), available.cend(), [&saved](const QRect &a, const QRect &b) {
        return overlap(saved, a) < overlap(saved, b);
    });
    const bool overlapsAny = overlap(saved, *most) > 0;
    const QRect area = overlapsAny ? *most : available.constFirst();
    // Never larger than the area, never smaller than the window allows (even if that overflows it).
    const QSize size = saved.size().boundedTo(area.size()).expandedTo(minimum);
    QRect result(saved.topLeft(), size);
    if (!overlapsAny)
        result.moveCenter(area.center());
    result.moveLeft(std::clamp(result.left(), area.left(), std::max(area.left(), area.right() + 1 - size.width())));
    result.moveTop(std::clamp(result.top(), area.top(), std::max(area.top(), area.bottom() + 1 - size.height())));
    return result;
}

QVariantMap WindowState::initialProperties() const
{
    QVariantMap properties;
    const QRect saved = m_preferences.value(geometryKey).toRect();
    if (saved.isValid()) {
        const QRect geometry = clamped(saved, availableAreas(), QSize(1000, 650));
        properties.insert(u"x"_s, geometry.x());
        properties.insert(u"y"_s, geometry.y());
        properties.insert(u"width"_s, geometry.width());
        properties.insert(u"height"_s, geometry.height());
    }
    const QString state = m_preferences.value(stateKey).toString();
    if (state == "fullScreen"_L1)
        properties.insert(u"visibility"_s, QVariant::fromValue(QWindow::FullScreen));
    else if (state == "maximized"_L1)
        properties.insert(u"visibility"_s, QVariant::fromValue(QWindow::Maximized));
    return properties;
}

void WindowState::follow(QWindow *window)
{
    m_window = window;
    if (!window)
        return;
    for (auto changed : {&QWindow::xChanged, &QWindow::yChanged, &QWindow::widthChanged, &QWindow::heightChanged})
        connect(window, changed, this, &WindowState::remember);
    connect(window, &QWindow::windowStateChanged, this, &WindowState::remember);
    remember();
}

void WindowState::remember()
{
    if (!m_window || !m_window->isVisible())
        return;
    if (m_window->windowStates() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized))
        return;
    m_normalGeometry = m_window->geometry();
}

void WindowState::save()
{
    if (!m_window)
        return;
    remember();
    const Qt::WindowStates states = m_window->windowStates();
    const QString state = states & Qt::WindowFullScreen ? u"fullScreen"_s
                          : states & Qt::WindowMaximized ? u"maximized"_s
                                                          : u"normal"_s;
    if (m_normalGeometry.isValid())
        m_preferences.setValue(geometryKey, m_normalGeometry);
    m_preferences.setValue(stateKey, state);
}
