// The platform texts; the main window itself is tested in tst_main_window.

#include "PlatformText.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestPlatformText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void versionLineNamesThePlatform()
    {
        const QString line = PlatformText::versionLine();
#if defined(Q_OS_MACOS)
        QVERIFY(line.startsWith(u"0.1.0 · "_s));
#else
        QVERIFY2(QRegularExpression(u"^0\\.1\\.0 · Linux \\S+$"_s).match(line).hasMatch(), qPrintable(line));
        QCOMPARE(PlatformText::commandKey(), u"Ctrl+"_s);
#endif
    }
};

QTEST_GUILESS_MAIN(TestPlatformText)
#include "tst_platform_text.moc"
