#include "PlatformText.h"

#include <QSysInfo>

using namespace Qt::StringLiterals;

namespace PlatformText {

QString platformName()
{
#if defined(Q_OS_MACOS)
    return QSysInfo::currentCpuArchitecture() == "arm64"_L1 ? u"Apple Silicon"_s : u"Mac Intel"_s;
#else
    const QString kernel = QSysInfo::kernelType();
    const QString system = kernel.isEmpty() ? QSysInfo::productType() : kernel.left(1).toUpper() + kernel.mid(1);
    return system + u' ' + QSysInfo::currentCpuArchitecture();
#endif
}

QString versionLine()
{
    return QStringLiteral(QUENVO_VERSION) + u" · "_s + platformName();
}

QString commandKey()
{
#if defined(Q_OS_MACOS)
    return u"⌘"_s;
#else
    return u"Ctrl+"_s;
#endif
}

} // namespace PlatformText
