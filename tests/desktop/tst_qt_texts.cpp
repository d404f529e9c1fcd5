// Qt's own texts in Catalan: the file dialog Qt Quick Dialogs draws in the main window (there is no
// native one here) shows its standard buttons and labels from the program's own catalogue, in the
// window's dark palette. Pictures of the dialog without and with the catalogue are written beside
// the test (qt-file-dialog-en.png, qt-file-dialog-ca.png) to be looked at.

#include "../stores/StoreTestSupport.h"
#include "WindowDriver.h"
#include "desktop/QtTexts.h"

#include <QCoreApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// The texts of every visible item under `item`; `fullyShown` tells whether each is at full opacity
// (the popup's opening transition over).
void collectTexts(QQuickItem *item, QStringList &texts, bool &fullyShown, qreal opacity = 1)
{
    opacity *= item->opacity();
    if (!item->isVisible())
        return;
    const QVariant text = item->property("text");
    if (text.typeId() == QMetaType::QString && !text.toString().isEmpty()) {
        texts.append(text.toString());
        fullyShown = fullyShown && opacity >= 1;
    }
    for (QQuickItem *child : item->childItems())
        collectTexts(child, texts, fullyShown, opacity);
}

} // namespace

class tst_QtTexts : public QObject
{
    Q_OBJECT

private:
    StoreTest::Preferences m_preferences;
    std::unique_ptr<LibraryModel> m_model;
    WindowDriver m_ui;

    // Opens the subtitle file dialog as the playback pane declares it, and returns what it shows.
    QStringList openFileDialog(const QString &picture)
    {
        QQmlComponent component(m_ui.engine());
        component.setData("import QtQuick.Dialogs\n"
                          "FileDialog { title: \"Carrega subtítols\"; acceptLabel: \"Carrega\"\n"
                          "    nameFilters: [\"SRT, VTT, ASS o SSA (*.srt *.vtt *.ass *.ssa)\"] }",
                          QUrl(u"qrc:/Quenvo/test/SubtitleFileDialog.qml"_s));
        std::unique_ptr<QObject> dialog(component.create());
        if (!dialog)
            qFatal("%s", qPrintable(component.errorString()));
        dialog->setProperty("parentWindow", QVariant::fromValue<QWindow *>(m_ui.window()));
        QMetaObject::invokeMethod(dialog.get(), "open");
        QStringList texts;
        // The dialog is a popup of the window's overlay once it has opened.
        (void)QTest::qWaitFor([&] {
            texts.clear();
            bool fullyShown = true;
            collectTexts(m_ui.window()->contentItem(), texts, fullyShown);
            return texts.contains(u"Carrega subtítols"_s) && fullyShown;
        }, 5000);
        m_ui.window()->grabWindow().save(QCoreApplication::applicationDirPath() + u'/' + picture);
        QMetaObject::invokeMethod(dialog.get(), "close");
        return texts;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qgetenv("QUENVO_SECRET_SERVICE") != "unlocked")
            QSKIP("runs only inside its own D-Bus session with a throw-away keyring (scripts/with-secret-service.sh)");
        m_model = WindowDriver::startModel(m_preferences.settings(), u"test.quenvo.qttexts"_s);
        QVERIFY(m_model);
        QVERIFY(m_ui.open(m_model.get()));
    }

    void cleanupTestCase() { m_ui.close(); }

    void theFileDialogSpeaksCatalan()
    {
        const QStringList english = openFileDialog(u"qt-file-dialog-en.png"_s);
        QVERIFY2(english.contains(u"Cancel"_s), qPrintable(english.join(u" | "_s)));

        QVERIFY(QtTexts::installCatalan(*QCoreApplication::instance()));
        const QStringList catalan = openFileDialog(u"qt-file-dialog-ca.png"_s);
        QVERIFY2(catalan.contains(u"Cancel·la"_s), qPrintable(catalan.join(u" | "_s)));
        QVERIFY(!catalan.contains(u"Cancel"_s));
        QVERIFY(catalan.contains(u"Carrega"_s)); // the dialog's own label stays

        // The standard buttons of every other dialog.
        const QList<std::pair<const char *, QString>> buttons {{"OK", u"D’acord"_s},
            {"Cancel", u"Cancel·la"_s}, {"Open", u"Obre"_s}, {"Close", u"Tanca"_s}, {"&Yes", u"&Sí"_s}};
        for (const auto &[source, translated] : buttons)
            QCOMPARE(QCoreApplication::translate("QPlatformTheme", source), translated);
    }
};

QTEST_MAIN(tst_QtTexts)
#include "tst_qt_texts.moc"
