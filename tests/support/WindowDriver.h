#pragma once

// Drives the application's main window in an interface test: loads Main.qml on a library model as
// the application does, finds items by object name (delegates, repeaters and popups included),
// clicks and types as a user would, reads accessible names and saves screenshots into the test's
// build folder (screenshots/). Header only: the interface tests link Qt Quick (and Qt Quick Test)
// and the application.

#include "artwork/ArtworkLoader.h"
#include "artwork/ArtworkResponse.h"
#include "artwork/CatalogArtwork.h"
#include "models/LibraryModel.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QDir>
#include <QObject>
#include <QQmlApplicationEngine>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QtQuickTest/quicktest.h>

#include <memory>

class WindowDriver
{
public:
    // A library model as the application starts it, on a preferences file and a keychain service of
    // the test's own, with the playback tick left to the test; null when it does not start up.
    static std::unique_ptr<LibraryModel> startModel(QSettings &preferences, const QString &keychainService)
    {
        LibraryModel::Environment environment;
        environment.preferences = &preferences;
        environment.keychainService = keychainService;
        environment.pollPlayback = false;
        auto model = std::make_unique<LibraryModel>(environment);
        if (!QSignalSpy(model.get(), &LibraryModel::startedUp).wait(10000))
            return nullptr;
        return model;
    }

    // Closes the window once no picture download is left, and makes sure no picture answer
    // outlives it. Returns what the engine warned about the application's own components.
    QStringList finish()
    {
        QStringList own;
        if (m_engine) {
            if (!QTest::qWaitFor([] { return ArtworkLoader::instance()->isIdle(); }, 10000))
                own.append(QStringLiteral("picture downloads still running"));
            own += ownWarnings();
        }
        close();
        if (!QTest::qWaitFor([] { return ArtworkResponse::liveResponses() == 0; }, 10000))
            own.append(QStringLiteral("picture answers outlive the window"));
        return own;
    }

    // Opens the window on `model`, which must outlive it. False when it cannot be loaded or shown.
    bool open(LibraryModel *model)
    {
        close();
        m_warnings.clear();
        m_engine = std::make_unique<QQmlApplicationEngine>();
        m_engine->addImportPath(QStringLiteral("qrc:/"));
        CatalogArtwork::install(*m_engine);
        QObject::connect(m_engine.get(), &QQmlApplicationEngine::warnings, m_engine.get(),
            [this](const QList<QQmlError> &warnings) { m_warnings += warnings; });
        m_engine->setInitialProperties({{QStringLiteral("library"), QVariant::fromValue(model)}});
        m_engine->load(QUrl(QStringLiteral("qrc:/Quenvo/views/Main.qml")));
        if (m_engine->rootObjects().size() != 1)
            return false;
        m_window = qobject_cast<QQuickWindow *>(m_engine->rootObjects().constFirst());
        if (!m_window || !QTest::qWaitForWindowExposed(m_window))
            return false;
        m_window->requestActivate();
        return QTest::qWaitForWindowActive(m_window);
    }

    void close()
    {
        m_engine.reset();
        m_window = nullptr;
    }

    QQuickWindow *window() const { return m_window; }
    QQmlApplicationEngine *engine() const { return m_engine.get(); }
    // The warnings about the application's own components (those under qrc:/Quenvo/). A picture
    // that cannot be had is not one: the poster or logo keeps its placeholder on purpose, and Qt
    // reports the failed image load all the same.
    QStringList ownWarnings() const
    {
        QStringList own;
        for (const QQmlError &warning : m_warnings) {
            if (!warning.url().toString().startsWith(QStringLiteral("qrc:/Quenvo/")))
                continue;
            const QString file = warning.url().fileName();
            if ((file == QStringLiteral("CatalogPoster.qml") || file == QStringLiteral("ChannelLogo.qml"))
                && warning.description().endsWith(QStringLiteral("no picture")))
                continue;
            own.append(warning.toString());
        }
        return own;
    }

    // Searches the object tree and the item tree together: delegates of views and repeaters have
    // no object parent, and popups live in the window's overlay.
    static QObject *findObject(QObject *under, const QString &name)
    {
        if (under->objectName() == name)
            return under;
        for (QObject *child : under->children()) {
            if (QObject *found = findObject(child, name))
                return found;
        }
        if (auto *item = qobject_cast<QQuickItem *>(under)) {
            for (QQuickItem *child : item->childItems()) {
                if (child->parent() != item) {
                    if (QObject *found = findObject(child, name))
                        return found;
                }
            }
        }
        return nullptr;
    }

    // Every visible item of that name below `under` (the window when none), in tree order.
    QList<QQuickItem *> findAll(const QString &name, QQuickItem *under = nullptr) const
    {
        QList<QQuickItem *> found;
        collect(under ? under : m_window->contentItem(), name, found);
        return found;
    }

    // The texts of every visible item of that name, in tree order.
    QStringList texts(const QString &name) const
    {
        QStringList found;
        for (QQuickItem *each : findAll(name))
            found.append(each->property("text").toString());
        return found;
    }

    QQuickItem *find(const QString &name, QObject *under = nullptr) const
    {
        QObject *root = under ? under : m_window->contentItem();
        return qobject_cast<QQuickItem *>(findObject(root, name));
    }

    // The item of that name; warns when there is none.
    QQuickItem *item(const QString &name, QObject *under = nullptr) const
    {
        QQuickItem *found = find(name, under);
        if (!found)
            qWarning("no item %s", qPrintable(name));
        return found;
    }

    // Popups, menus, dialogs and actions are objects beside the items.
    QObject *object(const QString &name) const
    {
        QObject *found = findObject(m_window->contentItem(), name);
        if (!found)
            found = findObject(m_window, name);
        if (!found)
            qWarning("no object %s", qPrintable(name));
        return found;
    }
    bool isOpen(const QString &name) const
    {
        QObject *found = object(name);
        return found && found->property("opened").toBool();
    }

    QString text(const QString &name, QObject *under = nullptr) const
    {
        QQuickItem *found = item(name, under);
        return found ? found->property("text").toString() : QString();
    }
    // Visible on screen: the item and every item above it.
    bool isShown(const QString &name, QObject *under = nullptr) const
    {
        QQuickItem *found = find(name, under);
        return found && found->isVisible();
    }

    // Waits until the window's layouts and positioners have placed what changed.
    bool settle() const { return QQuickTest::qWaitForPolish(m_window); }

    // Clicks the middle of an item that is visible and enabled, where it is now: call settle()
    // first when the layouts around it have just changed.
    void click(QQuickItem *target, Qt::MouseButton button = Qt::LeftButton)
    {
        QVERIFY(target);
        QVERIFY2(target->isVisible() && target->isEnabled(), qPrintable(target->objectName()));
        const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
        QTest::mouseClick(m_window, button, {}, centre.toPoint());
    }
    void click(const QString &name, QObject *under = nullptr) { click(item(name, under)); }

    // Replaces a text field's content by typing, as the user would.
    void type(QQuickItem *field, const QString &text)
    {
        QVERIFY(field);
        field->forceActiveFocus();
        QMetaObject::invokeMethod(field, "selectAll");
        QTest::keyClick(m_window, Qt::Key_Backspace);
        for (const QChar character : text) {
            const QChar upper = character.toUpper();
            const auto key = upper.unicode() < 0x80 ? Qt::Key(upper.unicode()) : Qt::Key_unknown;
            QTest::sendKeyEvent(QTest::Click, m_window, key, QString(character), Qt::NoModifier);
        }
    }
    void type(const QString &name, const QString &text) { type(item(name), text); }

    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(m_window, key, modifiers);
    }

    static QString accessibleName(QQuickItem *target)
    {
        QAccessibleInterface *accessible = target ? QAccessible::queryAccessibleInterface(target) : nullptr;
        return accessible ? accessible->text(QAccessible::Name) : QString();
    }

    // Saves what the window shows as screenshots/<name>.png beside the test.
    bool saveScreenshot(const QString &name) const
    {
        const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/screenshots");
        QDir().mkpath(folder);
        return m_window->grabWindow().save(folder + u'/' + name + QStringLiteral(".png"));
    }

private:
    static void collect(QQuickItem *under, const QString &name, QList<QQuickItem *> &found)
    {
        if (under->objectName() == name && under->isVisible())
            found.append(under);
        for (QQuickItem *child : under->childItems())
            collect(child, name, found);
    }

    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QQuickWindow *m_window = nullptr;
    QList<QQmlError> m_warnings;
};
