// A personal list on screen: the kind it opens on, its search and selection, removing and
// restoring what a linked group provides, the check of linked groups at the provider, entries of a
// connection that is gone, deleting the list, and the way back to it. The real QML on the real
// library model, against the local provider's demo Xtream account.

#include "DemoWindow.h"
#include "models/ChannelListModel.h"
#include "models/LibraryModel.h"
#include "models/PersonalListBrowserModel.h"
#include "records/PersonalList.h"
#include "stores/PersonalLists.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class tst_PersonalListBrowser : public QObject
{
    Q_OBJECT

private:
    DemoWindow m_window;
    std::unique_ptr<LibraryModel> &m_model = m_window.model;
    WindowDriver &m_ui = m_window.ui;
    const QUuid m_listID = QUuid::createUuid();

    const ProviderCatalog &catalog() const { return m_window.catalog(); }
    QUuid source() const { return m_window.provider.account().id; }
    PersonalLists &store() const { return *m_model->personalLists(); }

    // Starts the window with `lists` stored, and the demo account connected for the session.
    bool start(const QList<PersonalList> &lists)
    {
        return m_window.open(u"test.quenvo.personallistbrowser"_s,
                   {{PersonalLists::storageKey(), PersonalLists::encode(lists)}})
            && m_window.connectDemo();
    }
    void openList(const QUuid &id)
    {
        m_model->openPersonalList(id);
        QTRY_VERIFY(m_ui.isShown(u"personalListBrowser"_s));
        QTRY_COMPARE(m_ui.text(u"headerTitle"_s), store().list(id)->name());
        QTRY_VERIFY(!browser()->loading());
    }
    void openList() { openList(m_listID); }
    PersonalListBrowserModel *browser() const
    {
        QQuickItem *view = m_ui.find(u"personalListBrowser"_s);
        return view ? view->property("browser").value<PersonalListBrowserModel *>() : nullptr;
    }
    PersonalCategory movieGroup(int category) const
    {
        return PersonalCategory(source(), PersonalContentKind::movies, catalog().vodCategoryID(category),
            catalog().vodCategoryName(category));
    }
    PersonalCategory liveGroup(int category) const
    {
        const QString name = catalog().liveCategoryName(category);
        return PersonalCategory(source(), PersonalContentKind::live, name, name);
    }
    PersonalEntry liveEntry(int index) const
    {
        return PersonalEntry(source(), PersonalContentKind::live, QString(), catalog().liveChannelName(index),
            QString(), QString(), QString(), QString());
    }

private Q_SLOTS:
    void initTestCase()
    {
        ProviderOptions options;
        options.liveChannels = 30;
        options.categories = 3;
        options.movies = 6;
        options.series = 2;
        options.generateMedia = false;
        QVERIFY2(m_window.startProvider(options), qPrintable(m_window.provider.server().errorString()));
    }

    void cleanup() { m_window.finish(); }

    // The kind a list opens on and what its empty content says; a list deleted, which returns to live
    // TV; and a list's entry of a connection that is gone.
    void listsOpenOnTheirFirstKindWithContent()
    {
        const PersonalList empty(m_listID, u"Vespre"_s);
        PersonalList movies(QUuid::createUuid(), u"Pel·lis"_s);
        movies.link(movieGroup(0));
        PersonalList series(QUuid::createUuid(), u"Sèries"_s);
        series.link(PersonalCategory(source(), PersonalContentKind::series, catalog().seriesCategoryID(0),
            catalog().seriesCategoryName(0)));
        PersonalList gone(QUuid::createUuid(), u"Antiga"_s);
        gone.add({PersonalEntry(QUuid::createUuid(), PersonalContentKind::live, u"abc"_s, u"Canal perdut"_s,
            QString(), QString(), QString(), QString())});
        QVERIFY(start({empty, movies, series, gone}));

        openList(series.id());
        QCOMPARE(browser()->kindName(), u"series"_s);
        QTRY_COMPARE(m_ui.findAll(u"listGroupCard"_s).size(), 1);
        openList(movies.id());
        QCOMPARE(browser()->kindName(), u"movies"_s);
        QTRY_COMPARE(m_ui.findAll(u"listGroupCard"_s).size(), 1);
        QVERIFY(!m_ui.isShown(u"listEmptyState"_s));

        openList(empty.id());
        QCOMPARE(browser()->kindName(), u"live"_s);
        QVERIFY(m_ui.text(u"headerSubtitle"_s).startsWith(u"Llista personal · Desada al teu "_s));
        QVERIFY(m_ui.isShown(u"listEmptyState"_s));
        QCOMPARE(m_ui.text(u"emptyStateTitle"_s, m_ui.item(u"listEmptyState"_s)),
            u"Afegeix canals a la teva llista"_s);
        QVERIFY(m_ui.saveScreenshot(u"list-empty"_s));

        m_ui.click(u"listOptions"_s);
        QObject *menu = m_ui.object(u"listOptionsMenu"_s);
        QTRY_VERIFY(menu->property("opened").toBool());
        m_ui.click(m_ui.item(u"deleteList"_s, menu));
        QTRY_VERIFY(m_ui.isOpen(u"deletePersonalListDialog"_s));
        QVERIFY(m_ui.saveScreenshot(u"list-delete"_s));
        m_ui.click(m_ui.item(u"confirmDelete"_s, m_ui.object(u"deletePersonalListDialog"_s)));
        QTRY_VERIFY(!m_model->selectedPersonalListID().has_value());
        QVERIFY(!store().list(m_listID));
        QCOMPARE(store().lists().size(), 3);
        QCOMPARE(m_model->section(), LibraryModel::Section::live);
        QTRY_VERIFY(m_ui.isShown(u"liveView"_s));

        openList(gone.id());
        QTRY_COMPARE(m_ui.findAll(u"cardSource"_s).size(), 1);
        QCOMPARE(m_ui.findAll(u"cardSource"_s).constFirst()->property("text").toString(),
            u"Connexió no disponible"_s);
        m_ui.click(m_ui.findAll(u"cardOpenButton"_s).constFirst());
        QTRY_VERIFY(!m_model->notice().value_or(QString()).isEmpty());
        QVERIFY(m_ui.isShown(u"noticeBanner"_s));
        QVERIFY(m_ui.isShown(u"personalListBrowser"_s));
    }

    // A linked live group whose removed member stays hidden across a refresh; linked groups the
    // provider cannot check, listed and retried; a channel opened from a list, and the way back; a
    // list's search, selection and kinds.
    void contentChecksAndTheWayBack()
    {
        PersonalList live(m_listID, u"Grup viu"_s);
        live.link(liveGroup(0));
        PersonalList checked(QUuid::createUuid(), u"Catàleg"_s);
        checked.link(movieGroup(0));
        checked.link(PersonalCategory(source(), PersonalContentKind::movies, u"999999"_s, u"Retirada"_s));
        const PersonalList back(QUuid::createUuid(), u"Tornada"_s);
        PersonalList mixed(QUuid::createUuid(), u"Barreja"_s);
        mixed.link(movieGroup(0));
        mixed.link(movieGroup(1));
        QVERIFY(start({live, checked, back, mixed}));
        openList();
        int members = 0;
        for (int index = 0; index < catalog().liveChannelCount(); ++index)
            members += catalog().liveChannelCategory(index) == 0 ? 1 : 0;
        QTRY_COMPARE(m_ui.findAll(u"listChannelCard"_s).size(), members);
        const QString removed = m_ui.texts(u"cardName"_s).constFirst();
        QQuickItem *remove = m_ui.findAll(u"cardRemove"_s).constFirst();
        QCOMPARE(WindowDriver::accessibleName(remove), u"Treu de la llista: "_s + removed);
        m_ui.click(remove);
        QTRY_COMPARE(m_ui.findAll(u"listChannelCard"_s).size(), members - 1);

        m_model->refreshCurrentView();
        QTRY_VERIFY(browser()->loading());
        QTRY_VERIFY(!browser()->loading());
        QCOMPARE(m_ui.findAll(u"listChannelCard"_s).size(), members - 1);
        QVERIFY(!m_ui.texts(u"cardName"_s).contains(removed));

        openList(checked.id());
        QTRY_VERIFY(m_ui.isShown(u"listFailures"_s));
        QCOMPARE(m_ui.text(u"failuresTitle"_s), u"No s’han pogut comprovar algunes agrupacions"_s);
        QList<QQuickItem *> lines = m_ui.findAll(u"failureLine"_s);
        QCOMPARE(lines.size(), 1);
        QVERIFY(lines.constFirst()->property("text").toString().startsWith(u"Retirada"_s));
        QVERIFY(m_ui.saveScreenshot(u"list-failures"_s));

        // Folded shut, then checked again.
        m_ui.click(u"failuresToggle"_s);
        QTRY_VERIFY(m_ui.findAll(u"failureLine"_s).isEmpty());
        const long long before = m_window.provider.server().requestCount();
        m_ui.click(u"retryGroups"_s);
        QTRY_VERIFY(m_window.provider.server().requestCount() > before);
        QTRY_VERIFY(!browser()->loading());
        QCOMPARE(browser()->failures().size(), 1);

        store().add({PersonalEntry(source(), m_model->channels().at(1))}, {}, back.id());
        // Favourites mode does not hide a list that is opened.
        m_model->showFavorites();
        openList(back.id());
        QVERIFY(m_model->favoritesOnly() == false || m_ui.isShown(u"personalListBrowser"_s));
        QVERIFY(!m_ui.isShown(u"favoritesView"_s));

        m_ui.click(m_ui.findAll(u"cardOpenButton"_s).constFirst());
        QTRY_VERIFY(m_model->currentChannel().has_value());
        QCOMPARE(m_model->currentChannel()->name(), m_model->channels().at(1).name());
        QTRY_VERIFY(m_ui.isShown(u"returnButton"_s));
        QCOMPARE(m_ui.text(u"returnButton"_s), u"Torna a Tornada"_s);
        m_ui.click(u"returnButton"_s);
        QTRY_COMPARE(m_model->selectedPersonalListID(), std::optional<QUuid>(back.id()));
        QTRY_VERIFY(m_ui.isShown(u"personalListBrowser"_s));

        // Channels and groups in one list: its search, its selection and its kinds.
        // Channels by name through the store, as the add sheet adds them.
        QList<PersonalEntry> entries;
        for (int index = 0; index < 4; ++index)
            entries.append(PersonalEntry(source(), m_model->channels().at(index)));
        store().add(entries, {}, mixed.id());
        openList(mixed.id());
        // The sidebar shows every list while it has room, the open one among them.
        QVERIFY(m_ui.settle());
        QQuickItem *sidebarLists = m_ui.item(u"personalListsView"_s);
        const QList<QQuickItem *> rows = m_ui.findAll(u"personalListRow"_s, sidebarLists);
        QCOMPARE(rows.size(), 4);
        for (QQuickItem *row : rows) {
            QVERIFY2(row->mapToItem(sidebarLists, QPointF(0, row->height())).y() <= sidebarLists->height(),
                qPrintable(row->property("name").toString()));
        }
        QCOMPARE(browser()->kindName(), u"live"_s);
        QCOMPARE(browser()->kindLabels(),
            (QStringList {u"TV en directe · 4"_s, u"Pel·lícules · 2"_s, u"Sèries · 0"_s}));
        QTRY_COMPARE(m_ui.findAll(u"listChannelCard"_s).size(), 4);

        // A search that matches nothing.
        m_ui.type(u"listSearch"_s, u"cap canal així"_s);
        QTRY_COMPARE(m_ui.text(u"emptyStateTitle"_s, m_ui.item(u"listEmptyState"_s)), u"Cap resultat"_s);
        QCOMPARE(m_ui.text(u"emptyStateDescription"_s, m_ui.item(u"listEmptyState"_s)),
            u"Prova una altra cerca o tipus de contingut."_s);

        // Narrowed to one channel, "Selecciona els resultats" takes only that one.
        const QString kept = m_model->channels().at(2).name();
        m_ui.type(u"listSearch"_s, kept);
        QTRY_COMPARE(m_ui.texts(u"cardName"_s), QStringList {kept});
        m_ui.click(u"selectionModeButton"_s);
        QCOMPARE(m_ui.text(u"selectionModeButton"_s), u"Acaba la selecció"_s);
        m_ui.click(u"selectListResults"_s);
        QCOMPARE(m_ui.text(u"chosenCount"_s), u"1 seleccionats"_s);
        QVERIFY(m_ui.item(u"addChosenToList"_s)->isEnabled());
        QVERIFY(m_ui.saveScreenshot(u"list-selection"_s));

        // Another kind forgets the choice and the search.
        m_ui.click(u"segment_movies"_s);
        QCOMPARE(browser()->kindName(), u"movies"_s);
        QCOMPARE(m_ui.text(u"chosenCount"_s), u"0 seleccionats"_s);
        QCOMPARE(m_ui.item(u"listSearch"_s)->property("text").toString(), QString());
        QCOMPARE(m_ui.text(u"listSubtitle"_s),
            u"Les teves agrupacions de pel·lícules · Obre una carpeta per veure’n el catàleg"_s);
        QTRY_COMPARE(m_ui.findAll(u"listGroupCard"_s).size(), 2);
        QVERIFY(m_ui.saveScreenshot(u"list-groups"_s));
        // "Treu de la llista" on every chosen group.
        m_ui.click(u"selectListResults"_s);
        m_ui.click(u"removeChosen"_s);
        QTRY_VERIFY(store().list(mixed.id())->categories().isEmpty());
        QCOMPARE(store().list(mixed.id())->entries().size(), 4);

        // The kind is remembered for the next time the list opens.
        m_model->selectSection(u"live"_s);
        openList(mixed.id());
        QCOMPARE(browser()->kindName(), u"movies"_s);
    }
};

QTEST_MAIN(tst_PersonalListBrowser)
#include "tst_personal_list_browser.moc"
