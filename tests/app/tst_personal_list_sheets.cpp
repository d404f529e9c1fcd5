// Personal lists from the window: the sidebar and its name editor, the add sheet opened from a
// channel row or for catalogue groups, and the sheet that picks several groups at once. The real QML
// on the real library model, against the local provider's demo Xtream account.

#include "DemoWindow.h"
#include "Texts.h"
#include "models/CatalogModel.h"
#include "models/ChannelListModel.h"
#include "models/LibraryModel.h"
#include "models/PersonalListContent.h"
#include "stores/PersonalLists.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class tst_PersonalListSheets : public QObject
{
    Q_OBJECT

private:
    DemoWindow m_window;
    std::unique_ptr<LibraryModel> &m_model = m_window.model;
    WindowDriver &m_ui = m_window.ui;

    PersonalLists &store() const { return *m_model->personalLists(); }
    const ProviderCatalog &catalog() const { return m_window.catalog(); }
    bool connect() { return m_window.connectDemo(); }

    QObject *sheet(const QString &name) const { return m_ui.object(name); }
    void call(const QString &sheetName, const char *function, const QVariant &argument = {})
    {
        QObject *target = sheet(sheetName);
        QVERIFY(target);
        if (argument.isValid())
            QVERIFY(QMetaObject::invokeMethod(target, function, Q_ARG(QVariant, argument)));
        else
            QVERIFY(QMetaObject::invokeMethod(target, function));
        QTRY_VERIFY(m_ui.isOpen(sheetName));
    }
    QQuickItem *in(const QString &sheetName, const QString &item) const
    {
        return m_ui.item(item, sheet(sheetName)->property("contentItem").value<QObject *>());
    }
    QString textIn(const QString &sheetName, const QString &item) const
    {
        QQuickItem *found = in(sheetName, item);
        return found && found->isVisible() ? found->property("text").toString() : QString();
    }
    QQuickItem *nameFieldIn(const QString &sheetName, const QString &field) const
    {
        return in(sheetName, field)->property("field").value<QQuickItem *>();
    }
    // The number of live channels of the demo account in a category.
    int channelsIn(int category) const
    {
        int count = 0;
        for (int index = 0; index < catalog().liveChannelCount(); ++index)
            count += catalog().liveChannelCategory(index) == category ? 1 : 0;
        return count;
    }

private Q_SLOTS:
    void initTestCase()
    {
        ProviderOptions options;
        options.liveChannels = 40;
        options.categories = 3;
        options.movies = 6;
        options.series = 2;
        options.generateMedia = false;
        QVERIFY2(m_window.startProvider(options), qPrintable(m_window.provider.server().errorString()));
    }

    void init() { QVERIFY(m_window.open(u"test.quenvo.personallists"_s)); }

    void cleanup() { m_window.finish(); }

    void sidebarCreatesListsAndOpensThemAtOnce()
    {
        // No lists: the heading and the create button only.
        QVERIFY(m_ui.isShown(u"createPersonalList"_s));
        QVERIFY(!m_ui.isShown(u"personalListsView"_s));

        for (const QString &name : {u"Esports"_s, u"  Cinema negre  "_s}) {
            m_ui.click(u"createPersonalList"_s);
            QTRY_VERIFY(m_ui.isOpen(u"personalListNameEditor"_s));
            QCOMPARE(textIn(u"personalListNameEditor"_s, u"nameEditorTitle"_s), u"Crea una llista personal"_s);
            QQuickItem *confirm = in(u"personalListNameEditor"_s, u"confirmButton"_s);
            QCOMPARE(confirm->property("text").toString(), u"Crea la llista"_s);
            m_ui.type(nameFieldIn(u"personalListNameEditor"_s, u"listNameField"_s), u"   "_s);
            QVERIFY(!confirm->isEnabled());
            m_ui.type(nameFieldIn(u"personalListNameEditor"_s, u"listNameField"_s), name);
            m_ui.click(confirm);
            QTRY_VERIFY(!m_ui.isOpen(u"personalListNameEditor"_s));
            // Added at the end, trimmed, and on screen at once.
            QCOMPARE(store().lists().constLast().name(), name.trimmed());
            QCOMPARE(m_model->selectedPersonalListID(), store().lists().constLast().id());
        }
        QTRY_COMPARE(m_ui.findAll(u"personalListRow"_s).size(), 2);
        const QList<QQuickItem *> rows = m_ui.findAll(u"personalListRow"_s);
        QCOMPARE(WindowDriver::accessibleName(rows.at(0)), u"Esports"_s);
        QVERIFY(!rows.at(0)->property("current").toBool());
        QVERIFY(rows.at(1)->property("current").toBool());
        QVERIFY(m_ui.saveScreenshot(u"lists-sidebar"_s));

        // The header names the list on screen and follows a rename.
        QCOMPARE(m_ui.text(u"headerTitle"_s), u"Cinema negre"_s);
        store().rename(store().lists().constLast().id(), u"Cine"_s);
        QTRY_COMPARE(m_ui.text(u"headerTitle"_s), u"Cine"_s);

        QTRY_COMPARE(m_ui.findAll(u"personalListRow"_s).size(), 2);
        m_ui.click(m_ui.findAll(u"personalListRow"_s).at(0));
        QCOMPARE(m_model->selectedPersonalListID(), store().lists().constFirst().id());
        QCOMPARE(m_ui.text(u"headerTitle"_s), u"Esports"_s);
    }

    void nameEditorKeepsTheSheetOpenOnARefusedName_data()
    {
        QTest::addColumn<bool>("renaming");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("error");
        QTest::newRow("another list's name, other case") << false << u"ESPORTS"_s << Texts::takenListName;
        QTest::newRow("81 characters") << false << QString(81, u'a') << Texts::listNameLength;
        QTest::newRow("rename to another list's name") << true << u"esports"_s << Texts::takenListName;
        QTest::newRow("rename to its own name") << true << u"Notícies"_s << QString();
        QTest::newRow("80 characters") << false << QString(80, u'a') << QString();
    }
    void nameEditorKeepsTheSheetOpenOnARefusedName()
    {
        QFETCH(bool, renaming);
        QFETCH(QString, name);
        QFETCH(QString, error);
        store().create(u"Esports"_s);
        const QUuid renamed = store().create(u"Notícies"_s);
        call(u"personalListNameEditor"_s, renaming ? "rename" : "create",
            renaming ? QVariant(renamed.toString(QUuid::WithoutBraces).toUpper()) : QVariant());
        if (renaming) {
            QCOMPARE(textIn(u"personalListNameEditor"_s, u"nameEditorTitle"_s), u"Canvia el nom"_s);
            QCOMPARE(in(u"personalListNameEditor"_s, u"confirmButton"_s)->property("text").toString(), u"Desa"_s);
            QCOMPARE(nameFieldIn(u"personalListNameEditor"_s, u"listNameField"_s)->property("text").toString(),
                u"Notícies"_s);
        }
        m_ui.type(nameFieldIn(u"personalListNameEditor"_s, u"listNameField"_s), name);
        m_ui.key(Qt::Key_Return);
        if (error.isEmpty()) {
            QTRY_VERIFY(!m_ui.isOpen(u"personalListNameEditor"_s));
            QVERIFY(store().list(renaming ? renamed : store().lists().constLast().id())->name() == name);
            return;
        }
        QTRY_COMPARE(textIn(u"personalListNameEditor"_s, u"nameEditorError"_s), error);
        QVERIFY(m_ui.isOpen(u"personalListNameEditor"_s));
        QCOMPARE(nameFieldIn(u"personalListNameEditor"_s, u"listNameField"_s)->property("text").toString(), name);
        QCOMPARE(store().lists().size(), 2);
        QCOMPARE(store().list(renamed)->name(), u"Notícies"_s);
        if (!renaming)
            QVERIFY(m_ui.saveScreenshot(u"lists-name-editor-error"_s));
    }

    // A channel row adds its channel; a new list must have a name of its own; what the sheet says of
    // several groups.
    void channelRowAddsItsChannel()
    {
        QVERIFY(connect());
        QTRY_VERIFY(!m_ui.findAll(u"channelAddToList"_s).isEmpty());
        QQuickItem *button = m_ui.findAll(u"channelAddToList"_s).constFirst();
        const QString firstName = m_model->filteredChannels()->channelAt(0).name();
        QCOMPARE(WindowDriver::accessibleName(button), u"Afegeix a una llista: "_s + firstName);

        // No list yet: the sheet offers a new one, and waits for a name with a visible character.
        m_ui.click(button);
        QTRY_VERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(textIn(u"addToPersonalListSheet"_s, u"addHeadline"_s), firstName);
        QCOMPARE(in(u"addToPersonalListSheet"_s, u"destinationPicker"_s)->property("currentText").toString(),
            u"Crea una llista nova…"_s);
        QVERIFY(textIn(u"addToPersonalListSheet"_s, u"folderNote"_s).isEmpty());
        QQuickItem *confirm = in(u"addToPersonalListSheet"_s, u"confirmButton"_s);
        QVERIFY(!confirm->isEnabled());
        m_ui.type(nameFieldIn(u"addToPersonalListSheet"_s, u"newListName"_s), u" \t "_s);
        QVERIFY(!confirm->isEnabled());
        m_ui.type(nameFieldIn(u"addToPersonalListSheet"_s, u"newListName"_s), u"Favorits de casa"_s);
        QVERIFY(confirm->isEnabled());
        QVERIFY(m_ui.saveScreenshot(u"lists-add-sheet"_s));
        m_ui.click(confirm);
        QTRY_VERIFY(!m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(store().lists().size(), 1);
        QCOMPARE(store().lists().constFirst().name(), u"Favorits de casa"_s);
        QCOMPARE(store().entries(store().lists().constFirst().id()).size(), 1);
        QCOMPARE(store().entries(store().lists().constFirst().id()).constFirst().name(), firstName);

        // With lists, the sheet starts on the first one; the row's menu opens it too.
        const QUuid second = store().create(u"Segona"_s);
        QQuickItem *row = m_ui.findAll(u"channelPlayButton"_s).at(1);
        m_ui.click(row, Qt::RightButton);
        QObject *menu = WindowDriver::findObject(row->parentItem(), u"channelMenu"_s);
        QVERIFY(menu);
        QTRY_VERIFY(menu->property("opened").toBool());
        m_ui.click(m_ui.item(u"channelMenuAddToList"_s, menu));
        QTRY_VERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(in(u"addToPersonalListSheet"_s, u"destinationPicker"_s)->property("currentText").toString(),
            u"Favorits de casa"_s);
        QVERIFY(!in(u"addToPersonalListSheet"_s, u"newListName"_s)->isVisible());
        m_ui.key(Qt::Key_Return);
        QTRY_VERIFY(!m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(store().entries(store().lists().constFirst().id()).size(), 2);

        // After a search, the first row offers the channel it now shows.
        const QString other = m_model->filteredChannels()->channelAt(3).name();
        m_model->setSearch(other);
        QTRY_VERIFY(m_model->filteredChannels()->count() < m_model->channelCount());
        const QString shown = m_model->filteredChannels()->channelAt(0).name();
        QVERIFY(shown != firstName);
        QVERIFY(m_ui.settle());
        QTRY_COMPARE(WindowDriver::accessibleName(m_ui.findAll(u"channelAddToList"_s).constFirst()),
            u"Afegeix a una llista: "_s + shown);

        // A new list named as one that exists: refused, and nothing added.
        call(u"addToPersonalListSheet"_s, "show", m_model->personalContentForChannelAt(0));
        QQuickItem *picker = in(u"addToPersonalListSheet"_s, u"destinationPicker"_s);
        QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, 0));
        picker->setProperty("currentIndex", 0);
        QTRY_VERIFY(in(u"addToPersonalListSheet"_s, u"newListName"_s)->isVisible());
        m_ui.type(nameFieldIn(u"addToPersonalListSheet"_s, u"newListName"_s), u"segona "_s);
        m_ui.click(in(u"addToPersonalListSheet"_s, u"confirmButton"_s));
        QTRY_COMPARE(textIn(u"addToPersonalListSheet"_s, u"addError"_s), Texts::takenListName);
        QVERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(store().lists().size(), 2);
        QVERIFY(store().entries(second).isEmpty());
        m_ui.key(Qt::Key_Escape);
        QTRY_VERIFY(!m_ui.isOpen(u"addToPersonalListSheet"_s));

        // Channels and several groups: the headline counts the groups, and the note says each one
        // shows as a folder. (One group is named, with a note of its own, where a category opens it.)
        const QUuid elsewhere = QUuid::createUuid();
        PersonalListContent content;
        for (int i = 0; i < 2; ++i)
            content.entries.append(PersonalEntry(elsewhere, PersonalContentKind::live, QString::number(i),
                u"Canal "_s + QString::number(i), QString(), QString(), QString(), QString()));
        for (int i = 0; i < 3; ++i)
            content.categories.append(PersonalCategory(
                elsewhere, PersonalContentKind::movies, QString::number(i), u"Grup "_s + QString::number(i)));
        call(u"addToPersonalListSheet"_s, "show", content.toVariant());
        QCOMPARE(textIn(u"addToPersonalListSheet"_s, u"addHeadline"_s), u"3 agrupacions seleccionades"_s);
        QVERIFY(textIn(u"addToPersonalListSheet"_s, u"folderNote"_s).startsWith(u"Cada agrupació"_s));
    }

    void channelListSelectionMode()
    {
        QVERIFY(connect());
        const QUuid list = store().create(u"Tria"_s);
        m_ui.click(u"channelSelectionMode"_s);
        QTRY_VERIFY(m_ui.isShown(u"channelSelectionRow"_s));
        QCOMPARE(m_ui.text(u"channelSelectionMode"_s), u"Acaba"_s);
        QVERIFY(!m_ui.item(u"addSelectedChannels"_s)->isEnabled());
        QTRY_VERIFY(m_ui.findAll(u"channelCheckbox"_s).size() >= 3);
        QList<QQuickItem *> boxes = m_ui.findAll(u"channelCheckbox"_s);
        QCOMPARE(WindowDriver::accessibleName(boxes.at(0)),
            u"Selecciona "_s + m_model->filteredChannels()->channelAt(0).name());
        m_ui.click(boxes.at(0));
        m_ui.click(boxes.at(2));
        QCOMPARE(m_ui.text(u"addSelectedChannels"_s), u"Afegeix seleccionats (2)"_s);
        QVERIFY(!m_ui.isShown(u"addCategoryChannels"_s));
        QVERIFY(m_ui.saveScreenshot(u"lists-channel-selection"_s));
        m_ui.click(u"addSelectedChannels"_s);
        QTRY_VERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(textIn(u"addToPersonalListSheet"_s, u"addHeadline"_s), u"2 canals seleccionats"_s);
        m_ui.key(Qt::Key_Return);
        QTRY_VERIFY(!sheet(u"addToPersonalListSheet"_s)->property("visible").toBool());
        QCOMPARE(store().entries(list).size(), 2);

        // A category: the choice is forgotten, selection mode stays, and the category can go whole.
        const QString group = catalog().liveCategoryName(0);
        m_model->setCategory(group);
        QTRY_COMPARE(m_ui.text(u"addSelectedChannels"_s), u"Afegeix seleccionats (0)"_s);
        QVERIFY(m_ui.isShown(u"channelSelectionRow"_s));
        QTRY_VERIFY(m_ui.isShown(u"addCategoryChannels"_s));
        QVERIFY(m_ui.settle());
        m_ui.click(u"selectChannelResults"_s);
        QCOMPARE(m_ui.text(u"addSelectedChannels"_s),
            u"Afegeix seleccionats (%1)"_s.arg(channelsIn(0)));
        m_ui.click(u"addCategoryChannels"_s);
        QTRY_VERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(textIn(u"addToPersonalListSheet"_s, u"addHeadline"_s),
            channelsIn(0) == 1 ? catalog().liveChannelName(0) : u"%1 canals seleccionats"_s.arg(channelsIn(0)));
        m_ui.key(Qt::Key_Escape);
        m_ui.click(u"channelSelectionMode"_s);
        QTRY_VERIFY(!m_ui.isShown(u"channelSelectionRow"_s));
    }

    // The group sheet adds every channel of the live groups chosen, and links catalogue categories as
    // folders; so do a category's own button and its row's menu.
    void groupSheetAddsChannelsAndLinksFolders()
    {
        QVERIFY(connect());
        m_ui.click(u"addSeveralGroups"_s);
        QTRY_VERIFY(m_ui.isOpen(u"groupSelectionSheet"_s));
        QCOMPARE(textIn(u"groupSelectionSheet"_s, u"groupSheetTitle"_s), u"Agrupacions de tv en directe"_s);
        const int groups = catalog().liveCategoryCount();
        QCOMPARE(textIn(u"groupSelectionSheet"_s, u"visibleGroupCount"_s),
            u"%1 de %1"_s.arg(groups));
        QQuickItem *confirm = in(u"groupSelectionSheet"_s, u"confirmButton"_s);
        QCOMPARE(confirm->property("text").toString(), u"Afegeix les agrupacions (0)"_s);
        QVERIFY(!confirm->isEnabled());

        // Two groups by their checkboxes.
        QTRY_COMPARE(m_ui.findAll(u"groupRow"_s).size(), groups);
        QList<QQuickItem *> rows = m_ui.findAll(u"groupRow"_s);
        const QString first = rows.at(0)->property("name").toString();
        const QString second = rows.at(1)->property("name").toString();
        QCOMPARE(WindowDriver::accessibleName(rows.at(0)), u"Selecciona agrupació: "_s + first);
        m_ui.click(rows.at(0));
        m_ui.click(rows.at(1));
        int expected = 0;
        for (int category = 0; category < groups; ++category) {
            const QString name = catalog().liveCategoryName(category);
            if (name == first || name == second)
                expected += channelsIn(category);
        }
        QVERIFY(expected > 0);
        QCOMPARE(textIn(u"groupSelectionSheet"_s, u"groupSummary"_s),
            u"2 agrupacions seleccionades · %1 canals"_s.arg(expected));

        // A search that hides the first: it stays chosen, and the sheet says so.
        m_ui.type(in(u"groupSelectionSheet"_s, u"groupSearch"_s), second.toUpper());
        QTRY_COMPARE(m_ui.findAll(u"groupRow"_s).size(), 1);
        QVERIFY(m_ui.isShown(u"hiddenSelectionNote"_s, sheet(u"groupSelectionSheet"_s)));
        m_ui.type(in(u"groupSelectionSheet"_s, u"groupSearch"_s), u"cap grup així"_s);
        QTRY_VERIFY(in(u"groupSelectionSheet"_s, u"noGroupMatches"_s)->isVisible());
        QVERIFY(!in(u"groupSelectionSheet"_s, u"selectVisibleGroups"_s)->isEnabled());

        // A new list, named in the sheet.
        m_ui.type(nameFieldIn(u"groupSelectionSheet"_s, u"newListName"_s), u"Dos grups"_s);
        QVERIFY(m_ui.saveScreenshot(u"lists-group-sheet-live"_s));
        QCOMPARE(confirm->property("text").toString(), u"Afegeix les agrupacions (2)"_s);
        m_ui.click(confirm);
        QTRY_VERIFY(!m_ui.isOpen(u"groupSelectionSheet"_s));
        const PersonalList list = store().lists().constFirst();
        QCOMPARE(list.name(), u"Dos grups"_s);
        QCOMPARE(list.entries().size(), expected);
        QVERIFY(list.categories().isEmpty());

        // The movies' categories: linked to that list as folders, none of their titles added.
        m_model->selectSection(u"movies"_s);
        QTRY_COMPARE(m_model->catalog()->categoryCount(), catalog().vodCategoryCount());
        QTRY_VERIFY(m_ui.isShown(u"addSeveralCategories"_s));
        m_ui.click(u"addSeveralCategories"_s);
        QTRY_VERIFY(m_ui.isOpen(u"groupSelectionSheet"_s));
        QCOMPARE(textIn(u"groupSelectionSheet"_s, u"groupSheetTitle"_s), u"Agrupacions de pel·lícules"_s);
        m_ui.click(in(u"groupSelectionSheet"_s, u"selectVisibleGroups"_s));
        QCOMPARE(textIn(u"groupSelectionSheet"_s, u"groupSummary"_s),
            u"%1 agrupacions seleccionades"_s.arg(catalog().vodCategoryCount()));
        m_ui.click(in(u"groupSelectionSheet"_s, u"deselectAllGroups"_s));
        QCOMPARE(textIn(u"groupSelectionSheet"_s, u"groupSummary"_s), u"0 agrupacions seleccionades"_s);
        m_ui.click(in(u"groupSelectionSheet"_s, u"selectVisibleGroups"_s));
        QVERIFY(m_ui.saveScreenshot(u"lists-group-sheet-movies"_s));
        m_ui.click(in(u"groupSelectionSheet"_s, u"confirmButton"_s));
        QTRY_VERIFY(!m_ui.isOpen(u"groupSelectionSheet"_s));
        QCOMPARE(store().list(list.id())->categories().size(), catalog().vodCategoryCount());
        QCOMPARE(store().list(list.id())->entries().size(), expected);

        // The selected category from the title grid: linked as one folder.
        const QUuid other = store().create(u"Una carpeta"_s);
        QTRY_VERIFY(m_model->catalog()->selectedCategory().has_value());
        m_ui.click(u"addCategoryToList"_s);
        QTRY_VERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(textIn(u"addToPersonalListSheet"_s, u"addHeadline"_s), m_model->catalog()->selectedCategory()->name);
        QVERIFY(textIn(u"addToPersonalListSheet"_s, u"folderNote"_s).startsWith(u"L’agrupació es mostrarà"_s));
        QQuickItem *picker = in(u"addToPersonalListSheet"_s, u"destinationPicker"_s);
        picker->setProperty("currentIndex", 2);
        QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, 2));
        m_ui.key(Qt::Key_Return);
        QTRY_VERIFY(!m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(store().list(other)->categories().size(), 1);
        QCOMPARE(store().list(other)->categories().constFirst().categoryID(), m_model->catalog()->selectedCategory()->id);

        // Any category row, from its menu.
        QTRY_VERIFY(m_ui.findAll(u"categoryRow"_s).size() >= 2);
        QQuickItem *row = m_ui.findAll(u"categoryRow"_s).at(1);
        const QString name = row->property("name").toString();
        m_ui.click(row, Qt::RightButton);
        QObject *menu = WindowDriver::findObject(row, u"categoryMenu"_s);
        QVERIFY(menu);
        QTRY_VERIFY(menu->property("opened").toBool());
        m_ui.click(m_ui.item(u"categoryMenuAddToList"_s, menu));
        QTRY_VERIFY(m_ui.isOpen(u"addToPersonalListSheet"_s));
        QCOMPARE(textIn(u"addToPersonalListSheet"_s, u"addHeadline"_s), name);
    }
};

QTEST_MAIN(tst_PersonalListSheets)
#include "tst_personal_list_sheets.moc"
