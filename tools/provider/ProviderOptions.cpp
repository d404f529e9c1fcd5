#include "ProviderOptions.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

QString ProviderOptions::defaultMediaFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/quenvo-provider"_s;
}
