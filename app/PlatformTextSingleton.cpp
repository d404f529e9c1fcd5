#include "PlatformTextSingleton.h"

#include "PlatformText.h"

using namespace Qt::StringLiterals;

PlatformTextSingleton::PlatformTextSingleton(QObject *parent)
    : QObject(parent)
{
}

QString PlatformTextSingleton::versionLine()
{
    return PlatformText::versionLine();
}

QString PlatformTextSingleton::commandKey()
{
    return PlatformText::commandKey();
}

QString PlatformTextSingleton::computer()
{
#if defined(Q_OS_MACOS)
    return u"Mac"_s;
#else
    return u"ordinador"_s;
#endif
}

QString PlatformTextSingleton::keychain()
{
#if defined(Q_OS_MACOS)
    return u"Clauer de macOS"_s;
#else
    return u"Clauer del sistema"_s;
#endif
}

QString PlatformTextSingleton::shortcut(const QString &key)
{
    return PlatformText::commandKey() + key;
}

QString PlatformTextSingleton::controlShortcut(const QString &key)
{
#if defined(Q_OS_MACOS)
    return u"⌃⌘"_s + key;
#else
    return u"Ctrl+Meta+"_s + key;
#endif
}
