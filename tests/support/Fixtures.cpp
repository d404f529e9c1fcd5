#include "Fixtures.h"

#include <QDirIterator>
#include <QFile>

namespace Fixtures {

QString directory()
{
    const QByteArray fromEnvironment = qgetenv("QUENVO_FIXTURES_DIR");
    const QString path = fromEnvironment.isEmpty() ? QStringLiteral(QUENVO_FIXTURES_DIR)
                                                   : QString::fromLocal8Bit(fromEnvironment);
    const QDir dir(path);
    return dir.exists() ? dir.canonicalPath() : QString();
}

QStringList files(const QString &subfolder, const QStringList &patterns)
{
    QStringList result;
    const QString root = directory();
    if (root.isEmpty())
        return result;
    QDirIterator it(root + u'/' + subfolder, patterns, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        result.append(it.next());
    result.sort();
    return result;
}

QByteArray read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

} // namespace Fixtures
