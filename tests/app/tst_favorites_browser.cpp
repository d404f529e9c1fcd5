// The favourites browser in the main window, as the user meets it: the real QML on the real library
// model, against the local provider's Xtream account over the loopback interface, with a preferences
// file and a keychain of the test's own. Screenshots go to the test's build folder (screenshots/).

#include "DemoWindow.h"
#include "models/FavoriteChannelListModel.h"
#include "models/FavoritesModel.h"
#include "models/LibraryModel.h"
#include "records/CatalogFavorite.h"
#include "stores/CatalogFavorites.h"

#include <QQuickItem>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

CatalogItem movie(const ProviderCatalog &catalog, int index)
{
    CatalogItem item;
    item.id = QString::number(catalog.movieID(index));
    item.kind = CatalogKind::movies;
    item.name = catalog.movieName(index);
    item.categoryID = catalog.vodCategoryID(catalog.movieCategory(index));
    item.year = QString::number(catalog.movieYear(index));
    item.rating = catalog.movieRating(index);
    return item;
}

CatalogItem series(const ProviderCatalog &catalog, int index)
{
    CatalogItem item;
    item.id = QString::number(catalog.seriesID(index));
    item.kind = CatalogKind::series;
    item.name = catalog.seriesName(index);
    item.categoryID = catalog.seriesCategoryID(catalog.seriesCategory(index));
    return item;
}

} // namespace

class tst_FavoritesBrowser : public QObject
{
    Q_OBJECT

private:
    DemoWindow m_window;
    DemoProvider &m_provider = m_window.provider;
    std::unique_ptr<LibraryModel> &m_model = m_window.model;
    WindowDriver &m_ui = m_window.ui;

    bool loadAccount() { return m_window.connectDemo(); }

    // The sidebar's entry, as the user chooses it.
    void showFavorites()
    {
        QQuickItem *entry = nullptr;
        const QList<QQuickItem *> sidebar = m_ui.findAll(u"sidebar"_s);
        QVERIFY(!sidebar.isEmpty());
        std::function<void(QQuickItem *)> look = [&](QQuickItem *item) {
            if (!entry && item->property("text").toString() == u"Favorits"_s && item->isVisible())
                entry = item;
            for (QQuickItem *child : item->childItems())
                look(child);
        };
        look(sidebar.constFirst());
        m_ui.click(entry);
        QVERIFY(m_model->favoritesOnly());
        QTRY_VERIFY(m_ui.isShown(u"favoritesBrowser"_s));
        QVERIFY(!m_ui.isShown(u"liveView"_s));
    }

    QStringList segmentTexts() const
    {
        return {m_ui.text(u"segment_live"_s), m_ui.text(u"segment_movies"_s), m_ui.text(u"segment_series"_s)};
    }

private Q_SLOTS:
    void initTestCase()
    {
        ProviderOptions options;
        options.liveChannels = 30;
        options.movies = 6;
        options.series = 3;
        options.categories = 2;
        options.generateMedia = false;
        QVERIFY2(m_window.startProvider(options), qPrintable(m_provider.server().errorString()));
    }

    void init() { QVERIFY(m_window.open(u"test.quenvo.favoritesbrowser"_s)); }

    void cleanup() { m_window.finish(); }

    // Channels listed, searched, removed and played; then titles, listed and opened in the catalogue.
    void favoritesAreListedSearchedRemovedAndOpened()
    {
        QVERIFY(loadAccount());
        for (int row : {4, 1, 9})
            m_model->toggleFavorite(m_model->channels().at(row));
        // Ona Mediterrània, Notícies 24 Hores and Cuina i Sabor, as a person reads them.
        const QStringList names {u"Cuina i Sabor"_s, u"Notícies 24 Hores"_s, u"Ona Mediterrània"_s};
        // What the channel list was filtered by before: playing from the favourites clears it.
        m_model->setSearch(u"esp"_s);
        m_model->setCategory(m_model->channels().at(0).group());

        showFavorites();
        QCOMPARE(m_model->favoriteSection(), LibraryModel::Section::live);
        QCOMPARE(segmentTexts(), (QStringList{u"TV en directe · 3"_s, u"Pel·lícules · 0"_s, u"Sèries · 0"_s}));
        QCOMPARE(m_ui.text(u"headerTitle"_s), u"Els teus favorits"_s);
        QCOMPARE(WindowDriver::accessibleName(m_ui.item(u"favoriteSectionPicker"_s)), u"Tipus de favorits"_s);
        QCOMPARE(
            m_ui.item(u"favoritesSearch"_s)->property("placeholderText").toString(), u"Cerca als favorits"_s);
        QCOMPARE(m_ui.text(u"favoritesCaption"_s),
            u"Els favorits de la llista seleccionada, ordenats de la A a la Z."_s);
        QTRY_COMPARE(m_ui.texts(u"favoriteChannelName"_s), names);
        QVERIFY(!m_ui.isShown(u"favoritesEmptyState"_s));
        const QList<QQuickItem *> plays = m_ui.findAll(u"favoriteChannelPlay"_s);
        const QList<QQuickItem *> stars = m_ui.findAll(u"favoriteChannelRemove"_s);
        QCOMPARE(plays.size(), 3);
        QCOMPARE(WindowDriver::accessibleName(plays.at(0)), u"Reprodueix canal: "_s + names.at(0));
        QCOMPARE(WindowDriver::accessibleName(stars.at(2)), u"Treu de favorits: "_s + names.at(2));
        QCOMPARE(stars.at(2)->property("toolTipText").toString(), u"Treu de favorits"_s);
        QVERIFY(m_ui.saveScreenshot(u"favorites-channels"_s));

        // A search that matches no channel, even though nothing else is searched.
        m_ui.type(u"favoritesSearch"_s, u"cap canal així"_s);
        QCOMPARE(m_model->favoritesBrowser()->search(), u"cap canal així"_s);
        QTRY_VERIFY(m_ui.isShown(u"favoritesEmptyState"_s));
        QCOMPARE(m_ui.text(u"emptyStateTitle"_s, m_ui.item(u"favoritesEmptyState"_s)), u"Cap resultat"_s);
        QCOMPARE(m_ui.text(u"emptyStateDescription"_s, m_ui.item(u"favoritesEmptyState"_s)),
                 u"Prova una altra cerca o canvia el tipus de contingut."_s);
        // Counts ignore the search.
        QCOMPARE(m_ui.text(u"segment_live"_s), u"TV en directe · 3"_s);
        QVERIFY(m_ui.saveScreenshot(u"favorites-no-result"_s));
        m_ui.type(u"favoritesSearch"_s, QString());
        QTRY_COMPARE(m_ui.texts(u"favoriteChannelName"_s).size(), 3);

        // The star takes the first one away.
        m_ui.click(m_ui.findAll(u"favoriteChannelRemove"_s).at(0));
        QTRY_COMPARE(m_ui.texts(u"favoriteChannelName"_s), names.mid(1));
        QCOMPARE(m_ui.text(u"segment_live"_s), u"TV en directe · 2"_s);

        // Choosing one leaves the favourites for live TV and plays it.
        m_ui.click(m_ui.findAll(u"favoriteChannelPlay"_s).at(1));
        QVERIFY(!m_model->favoritesOnly());
        QCOMPARE(m_model->section(), LibraryModel::Section::live);
        QVERIFY(m_model->currentChannel().has_value());
        QCOMPARE(m_model->currentChannel()->name(), names.at(2));
        QCOMPARE(m_model->search(), QString());
        QCOMPARE(m_model->category(), std::nullopt);
        QTRY_VERIFY(m_ui.isShown(u"liveView"_s));
        QVERIFY(!m_ui.isShown(u"favoritesBrowser"_s));
        m_model->stop();

        // Movies and series, listed and opened in the catalogue.
        const ProviderCatalog &catalog = m_provider.server().catalog();
        CatalogFavorites &store = *m_model->catalogFavorites();
        const QUuid account = m_provider.account().id;
        for (int index : {3, 0, 5})
            store.toggle(account, movie(catalog, index));
        store.toggle(account, series(catalog, 1));
        // The same movie of another connection is neither listed nor counted.
        store.toggle(QUuid::createUuid(), movie(catalog, 2));

        showFavorites();
        m_ui.click(u"segment_movies"_s);
        QCOMPARE(m_model->favoriteSection(), LibraryModel::Section::movies);
        QCOMPARE(
            segmentTexts(), (QStringList {u"TV en directe · 2"_s, u"Pel·lícules · 3"_s, u"Sèries · 1"_s}));
        const QStringList movies {u"Cançó de bressol"_s, u"La nit d’estiu"_s, u"Viatge a Zürich"_s};
        QTRY_COMPARE(m_ui.texts(u"cardName"_s), movies);
        const QList<QQuickItem *> buttons = m_ui.findAll(u"favoriteTitleButton"_s);
        QCOMPARE(buttons.size(), 3);
        QCOMPARE(buttons.at(0)->property("text").toString(), u"Als favorits"_s);
        QCOMPARE(WindowDriver::accessibleName(buttons.at(0)), u"Treu de favorits: "_s + movies.at(0));
        // Each tile on screen looks its poster up once: the store remembers them for the run.
        for (int index : {3, 0, 5}) {
            QTRY_VERIFY_WITH_TIMEOUT(store.poster(CatalogFavorite(account, movie(catalog, index)).id()).has_value(), 10000);
        }
        QTRY_COMPARE(m_model->favoritesBrowser()->posterLookupCount(), 0);
        QVERIFY(m_ui.saveScreenshot(u"favorites-movies"_s));

        m_ui.click(u"segment_series"_s);
        QTRY_COMPARE(m_ui.texts(u"cardName"_s), QStringList {catalog.seriesName(1)});
        QVERIFY(m_ui.saveScreenshot(u"favorites-series"_s));
        // The button under a tile takes it away, and the empty state takes its place.
        m_ui.click(m_ui.findAll(u"favoriteTitleButton"_s).at(0));
        QTRY_VERIFY(m_ui.isShown(u"favoritesEmptyState"_s));
        QCOMPARE(m_ui.text(u"segment_series"_s), u"Sèries · 0"_s);
        QCOMPARE(m_ui.text(u"emptyStateTitle"_s, m_ui.item(u"favoritesEmptyState"_s)),
            u"Encara no tens favorits aquí"_s);
        QCOMPARE(m_ui.text(u"emptyStateDescription"_s, m_ui.item(u"favoritesEmptyState"_s)),
            u"Prem l’estrella d’un canal, una pel·lícula o una sèrie per trobar-lo aquí."_s);
        QVERIFY(m_ui.saveScreenshot(u"favorites-empty"_s));

        // A movie opens in the catalogue's movie section.
        m_ui.click(u"segment_movies"_s);
        QTRY_COMPARE(m_ui.findAll(u"favoriteTitleCard"_s).size(), 3);
        m_ui.click(m_ui.findAll(u"favoriteTitleCard"_s).at(1));
        QVERIFY(!m_model->favoritesOnly());
        QCOMPARE(m_model->section(), LibraryModel::Section::movies);
        QTRY_VERIFY(!m_ui.isShown(u"favoritesBrowser"_s));
        // Coming back shows the kind picked last.
        showFavorites();
        QCOMPARE(m_ui.item(u"favoriteSectionPicker"_s)->property("currentValue").toString(), u"movies"_s);
    }
};

QTEST_MAIN(tst_FavoritesBrowser)
#include "tst_favorites_browser.moc"
