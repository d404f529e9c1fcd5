#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

// The platform words of the interface, for QML: `PlatformText.versionLine`, `PlatformText.shortcut("R")`.
// On macOS they read "Mac", "Clauer de macOS" and ⌘; elsewhere they name an ordinary computer, the
// system's keyring and the Ctrl key.
class PlatformTextSingleton : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(PlatformText)
    QML_SINGLETON

    Q_PROPERTY(QString versionLine READ versionLine CONSTANT FINAL)
    Q_PROPERTY(QString commandKey READ commandKey CONSTANT FINAL)
    // "Mac" on macOS, "ordinador" elsewhere: "Desat al teu Mac", "d’aquest Mac".
    Q_PROPERTY(QString computer READ computer CONSTANT FINAL)
    // "Clauer de macOS" on macOS, "Clauer del sistema" elsewhere.
    Q_PROPERTY(QString keychain READ keychain CONSTANT FINAL)

public:
    explicit PlatformTextSingleton(QObject *parent = nullptr);

    static QString versionLine();
    static QString commandKey();
    static QString computer();
    static QString keychain();
    // The hint for the command key with `key`: "⌘R" on macOS, "Ctrl+R" elsewhere.
    Q_INVOKABLE static QString shortcut(const QString &key);
    // The same with Control added: "⌃⌘F" on macOS, "Ctrl+Meta+F" elsewhere.
    Q_INVOKABLE static QString controlShortcut(const QString &key);
};
