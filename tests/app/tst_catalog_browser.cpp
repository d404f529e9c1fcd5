// The movies-and-series browser as the user meets it in the main window: the real QML on the real
// library model, against the local provider's demo Xtream account over the loopback interface.
// What to expect is computed from the provider's catalogue. Screenshots go to the test's build
// folder (screenshots/).

#include "DemoWindow.h"
#include "artwork/ArtworkLoader.h"
#include "models/CatalogItemListModel.h"
#include "models/CatalogModel.h"
#include "models/LibraryModel.h"
#include "stores/WatchHistory.h"

#include <QQuickItem>
#include <QtQuickTest/quicktest.h>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

class tst_CatalogBrowser : public QObject
{
    Q_OBJECT

private:
    DemoWindow m_demo;
    std::unique_ptr<LibraryModel> &m_model = m_demo.model;
    WindowDriver &m_ui = m_demo.ui;

    const ProviderCatalog &provider() const { return m_demo.catalog(); }
    CatalogModel *catalog() const { return m_model->catalog(); }

    // The provider's titles of a category as the grid first shows them: newest first.
    QStringList movieNames(int category) const
    {
        QList<int> indexes;
        for (int index = 0; index < provider().movieCount(); ++index) {
            if (provider().movieCategory(index) == category)
                indexes.append(index);
        }
        std::stable_sort(indexes.begin(), indexes.end(),
            [&](int a, int b) { return provider().movieAdded(a) > provider().movieAdded(b); });
        QStringList names;
        for (const int index : indexes)
            names.append(provider().movieName(index));
        return names;
    }
    // The first movie category with no title, or with several (−1 when there is none).
    int movieCategory(bool several) const
    {
        for (int category = 0; category < provider().vodCategoryCount(); ++category) {
            if (several ? movieNames(category).size() >= 3 : movieNames(category).isEmpty())
                return category;
        }
        return -1;
    }
    // The first series with specials (season 0) and a regular season.
    int seriesWithSpecials() const
    {
        for (int index = 0; index < provider().seriesCount(); ++index) {
            const QList<int> seasons = provider().seasons(index);
            if (seasons.size() >= 2 && seasons.constFirst() == 0)
                return index;
        }
        return -1;
    }

    // A fresh model and window with `source` loaded, showing `section`.
    bool openOn(const PlaylistSource &source, const QString &section)
    {
        if (!m_demo.open(u"test.quenvo.catalog"_s))
            return false;
        m_model->load(source, false, true);
        if (!QTest::qWaitFor([&] { return !m_model->isLoading() && m_model->activeID().has_value(); }, 20000))
            return false;
        m_model->selectSection(section);
        return true;
    }
    // The same with the demo account, once the first category's titles are listed.
    bool openDemo(const QString &section)
    {
        return openOn(m_demo.provider.account(), section) && waitForTitles();
    }

    // Waits for the selected category's titles to be listed.
    bool waitForTitles()
    {
        return QTest::qWaitFor(
            [&] { return !catalog()->loading() && catalog()->selectedCategory().has_value(); }, 20000);
    }

    QQuickItem *categoryRow(const QString &name) const
    {
        for (QQuickItem *row : m_ui.findAll(u"categoryRow"_s)) {
            if (row->property("name").toString() == name)
                return row;
        }
        return nullptr;
    }
    void chooseCategory(const QString &name)
    {
        QQuickItem *row = nullptr;
        QTRY_VERIFY((row = categoryRow(name)));
        m_ui.click(row);
        QTRY_COMPARE(m_ui.text(u"categoryTitle"_s), name);
        QVERIFY(waitForTitles());
    }

    // The cards of the grid in reading order.
    QList<QQuickItem *> cards() const
    {
        QList<QQuickItem *> found = m_ui.findAll(u"titleCard"_s, m_ui.item(u"titleGrid"_s));
        std::sort(found.begin(), found.end(), [](QQuickItem *a, QQuickItem *b) {
            const QPointF pa = a->mapToScene({}), pb = b->mapToScene({});
            return pa.y() != pb.y() ? pa.y() < pb.y() : pa.x() < pb.x();
        });
        return found;
    }
    QStringList cardNames() const
    {
        QStringList names;
        for (QQuickItem *card : cards())
            names.append(card->property("name").toString());
        return names;
    }
    void openTitle(const QString &name)
    {
        QTRY_VERIFY(cardNames().contains(name));
        m_ui.click(cards().at(cardNames().indexOf(name)));
        QTRY_VERIFY(m_ui.isShown(u"detailPage"_s));
        QTRY_VERIFY(catalog()->detail().has_value());
    }

    // Scrolls the title's page, as the user would, until `target` is in view; then clicks it.
    void reveal(QQuickItem *target)
    {
        QQuickItem *scroller = m_ui.find(u"detailScroller"_s);
        if (!target || !scroller || !scroller->isAncestorOf(target))
            return;
        const auto content = scroller->property("contentItem").value<QQuickItem *>();
        const qreal top = target->mapToItem(content, QPointF()).y();
        const qreal bottom = top + target->height();
        const qreal viewTop = scroller->property("contentY").toReal();
        if (top >= viewTop && bottom <= viewTop + scroller->height())
            return;
        const qreal most = qMax(0.0, scroller->property("contentHeight").toReal() - scroller->height());
        scroller->setProperty("contentY", qBound(0.0, top - scroller->height() / 3, most));
    }
    void click(QQuickItem *target)
    {
        // Layouts place their items when the window is next polished: click where they really are.
        QVERIFY(QQuickTest::qWaitForPolish(m_ui.window()));
        reveal(target);
        QVERIFY(QQuickTest::qWaitForPolish(m_ui.window()));
        m_ui.click(target);
    }
    void click(const QString &name, QObject *under = nullptr) { click(m_ui.item(name, under)); }

    // Chooses an entry of a picker by its text, as the user does: open it, click the entry.
    void pick(const QString &pickerName, const QString &entry)
    {
        click(pickerName);
        QQuickItem *found = nullptr;
        QTRY_VERIFY((found = [&]() -> QQuickItem * {
            for (QQuickItem *each : m_ui.findAll(u"pickerEntry"_s, m_ui.window()->contentItem()->parentItem()))
                if (each->property("modelData").toString() == entry && each->height() > 0)
                    return each;
            return nullptr;
        }()));
        m_ui.click(found);
        QTRY_COMPARE(m_ui.item(pickerName)->property("currentText").toString(), entry);
        // Gone from the screen, so the next click reaches the page.
        QTRY_VERIFY(!m_ui.item(pickerName)->property("popup").value<QObject *>()->property("visible").toBool());
    }

    QString emptyStateTitle(const QString &panel) const { return m_ui.text(u"emptyStateTitle"_s, m_ui.item(panel)); }

    QString movieKey(const QString &name) const
    {
        for (int index = 0; index < provider().movieCount(); ++index) {
            if (provider().movieName(index) == name)
                return catalog()->watchKey(u"movies"_s, QString::number(provider().movieID(index)));
        }
        return QString();
    }

    // The play button and the progress line of the open movie.
    QString playMovieText() const { return m_ui.text(u"playMovieButton"_s); }
    QString movieProgressText() const
    {
        QQuickItem *label = m_ui.find(u"progressLabel"_s, m_ui.item(u"movieProgress"_s));
        return label && label->isVisible() ? label->property("text").toString() : QString();
    }

    QList<QQuickItem *> episodeRows() const { return m_ui.findAll(u"episodeRow"_s); }

private Q_SLOTS:
    void initTestCase()
    {
        ProviderOptions options;
        options.liveChannels = 8;
        options.categories = 5;
        options.movies = 9;
        options.series = 6;
        QVERIFY2(m_demo.startProvider(options), qPrintable(m_demo.provider.server().errorString()));
        QVERIFY2(movieCategory(false) >= 0, "the catalogue needs an empty movie category");
        QVERIFY2(movieCategory(true) >= 0, "the catalogue needs a category with several movies");
        QVERIFY2(seriesWithSpecials() >= 0, "the catalogue needs a series with specials");
    }

    void cleanup()
    {
        if (m_model)
            m_model->stop();
        m_demo.finish();
    }

    // Flinging through 20,000 titles asks only for the posters of cards that were laid out, never
    // more than the bound at once, and the same poster in the grid and the detail once.
    void postersFollowTheScreen()
    {
        ProviderOptions options;
        options.liveChannels = 6;
        options.categories = 1;
        options.movies = 20000;
        options.series = 0;
        options.posterPerTitle = true;
        options.imageDelayMs = 30;
        DemoProvider big;
        QVERIFY2(big.start(options), qPrintable(big.server().errorString()));
        ArtworkLoader *artwork = ArtworkLoader::instance();
        artwork->clearCache();
        artwork->resetCounters();
        QVERIFY(openOn(big.account(), u"movies"_s));
        QVERIFY(waitForTitles());
        QCOMPARE(catalog()->itemCount(), 20000);

        auto *grid = m_ui.item(u"titleGrid"_s);
        QVERIFY(grid);
        // Every poster a laid-out card showed, as the provider is asked for it (path and query).
        QSet<QString> laidOut;
        const auto collect = [&] {
            for (QQuickItem *card : m_ui.findAll(u"titleCard"_s, grid)) {
                const QUrl url(card->property("posterURL").toString());
                laidOut.insert(url.path() + u'?' + url.query());
            }
        };
        QVERIFY(m_ui.settle());
        collect();
        // Let the first screen's posters arrive, as a person would see them before flinging.
        const auto shownPosters = [&] {
            int shown = 0;
            for (QQuickItem *image : m_ui.findAll(u"posterImage"_s, grid))
                shown += image->property("status").toInt() == 1 ? 1 : 0; // Image.Ready
            return shown;
        };
        QTRY_VERIFY(shownPosters() >= 8);
        QTRY_VERIFY(artwork->isIdle());
        QVERIFY(m_ui.saveScreenshot(u"catalog-grid-posters"_s));
        const qreal end = grid->property("contentHeight").toReal() - grid->height();
        for (qreal y = 0; y < end; y += grid->height() * 7) {
            grid->setProperty("contentY", y);
            QVERIFY(m_ui.settle());
            collect();
        }
        // The grid lays out the cards just past the last screen a moment later.
        QTRY_VERIFY(artwork->isIdle());
        collect();

        const QHash<QString, int> asked = big.server().imageRequestsByAddress();
        QVERIFY(!asked.isEmpty());
        for (auto it = asked.cbegin(); it != asked.cend(); ++it)
            QVERIFY2(laidOut.contains(it.key()), qPrintable(it.key()));
        qInfo("%lld posters asked for, %lld cards laid out", qlonglong(asked.size()), qlonglong(laidOut.size()));
        // Only the screens the fling rested on: far fewer than the cards it carried past.
        QVERIFY2(asked.size() < laidOut.size() / 10, qPrintable(QString::number(asked.size())));

        // The first title's detail, with its poster.
        grid->setProperty("contentY", 0);
        QVERIFY(m_ui.settle());
        openTitle(cards().constFirst()->property("name").toString());
        QTRY_VERIFY(!catalog()->loadingDetail());
        QVERIFY(m_ui.settle());
        QTRY_VERIFY(artwork->isIdle());
        QVERIFY(m_ui.saveScreenshot(u"catalog-detail-poster"_s));
        m_model->stop();
        m_ui.close();
        m_model.reset();
    }

    void anM3UConnectionShowsOnlyTheXtreamHint()
    {
        const PlaylistSource playlist{QUuid::createUuid(), u"Llista"_s,
            m_demo.provider.server().url(u"/playlist.m3u"_s).toString(), QString(), QString(), PlaylistSource::Kind::m3u};
        QVERIFY(openOn(playlist, u"movies"_s));
        for (const QString &section : {u"movies"_s, u"series"_s}) {
            m_model->selectSection(section);
            QTRY_VERIFY(m_ui.isShown(u"noCatalog"_s));
            QCOMPARE(emptyStateTitle(u"noCatalog"_s), u"Connecta un servidor Xtream"_s);
            QCOMPARE(m_ui.text(u"emptyStateDescription"_s, m_ui.item(u"noCatalog"_s)),
                u"Les pel·lícules, les sèries i els episodis es carreguen amb una connexió Xtream Codes. "
                "Les llistes M3U es mostren a TV en directe."_s);
            QVERIFY(!m_ui.isShown(u"catalogContent"_s));
            QVERIFY(!m_ui.isShown(u"liveView"_s));
            QVERIFY(m_ui.saveScreenshot(u"catalog-m3u-"_s + section));
        }
    }

    void browsesTheCatalogue_data()
    {
        QTest::addColumn<QString>("section");
        QTest::newRow("movies") << u"movies"_s;
        QTest::newRow("series") << u"series"_s;
    }
    void browsesTheCatalogue()
    {
        QFETCH(QString, section);
        const bool movies = section == u"movies"_s;
        QVERIFY(openDemo(section));

        const int categories = movies ? provider().vodCategoryCount() : provider().seriesCategoryCount();
        const QString first = movies ? provider().vodCategoryName(0) : provider().seriesCategoryName(0);
        QVERIFY(m_ui.isShown(u"catalogBrowser"_s));
        QCOMPARE(m_ui.text(u"categoryCount"_s), QString::number(categories) + u" categories del teu proveïdor"_s);
        QCOMPARE(m_ui.findAll(u"categoryRow"_s).size(), categories);
        QCOMPARE(m_ui.text(u"categoryTitle"_s), first);
        QVERIFY(categoryRow(first)->property("selected").toBool());

        int expected = 0;
        for (int index = 0; index < (movies ? provider().movieCount() : provider().seriesCount()); ++index)
            expected += (movies ? provider().movieCategory(index) : provider().seriesCategory(index)) == 0;
        QTRY_COMPARE(cards().size(), expected);
        QCOMPARE(m_ui.text(u"titleCount"_s),
            QString::number(expected) + (expected == 1 ? u" títol"_s : u" títols"_s) + u" en aquesta categoria"_s);
        if (movies)
            QCOMPARE(cardNames(), movieNames(0));
        QCOMPARE(cards().constFirst()->property("kindTitle").toString(), movies ? u"Pel·lícules"_s : u"Sèries"_s);

        // Cards are 140 to 190 wide, 20 apart, on rows 24 apart.
        const QList<QQuickItem *> shown = cards();
        QVERIFY(shown.constFirst()->width() >= 140 && shown.constFirst()->width() <= 190);
        if (shown.size() >= 2 && shown.at(1)->mapToScene({}).y() == shown.at(0)->mapToScene({}).y())
            QCOMPARE(shown.at(1)->mapToScene({}).x() - shown.at(0)->mapToScene({}).x(), shown.at(0)->width() + 20);
        QVERIFY(m_ui.saveScreenshot(u"catalog-grid-"_s + section));
    }

    // A category's titles newest first, then by title; searched for one title and for none; then an
    // empty category, and a category search that matches nothing. The order and what matches are the
    // model's rules (tst_catalog_model): here, that the controls reach them and the grid shows them.
    void aMovieCategoryIsSortedSearchedAndEmpty()
    {
        const int category = movieCategory(true);
        QVERIFY(openDemo(u"movies"_s));
        QVERIFY(!m_ui.isShown(u"noCategoryMatch"_s));
        chooseCategory(provider().vodCategoryName(category));
        const QStringList newestFirst = movieNames(category);
        QTRY_COMPARE(cardNames(), newestFirst);
        QCOMPARE(m_ui.item(u"sortPicker"_s)->property("currentText").toString(), u"Afegits recentment"_s);
        QCOMPARE(m_ui.item(u"sortPicker"_s)->width(), 180);

        pick(u"sortPicker"_s, u"Títol A–Z"_s);
        QVERIFY(catalog()->sortByTitle());
        QStringList byTitle;
        for (const CatalogItem &title : catalog()->filteredItems()->visibleItems())
            byTitle.append(title.name);
        QVERIFY2(byTitle != newestFirst, "the category's titles must not already be in name order");
        QTRY_COMPARE(cardNames(), byTitle);
        pick(u"sortPicker"_s, u"Afegits recentment"_s);
        QTRY_COMPARE(cardNames(), newestFirst);

        m_ui.type(u"titleSearchField"_s, newestFirst.constFirst());
        QTRY_COMPARE(cardNames(), QStringList {newestFirst.constFirst()});
        QCOMPARE(m_ui.text(u"titleCount"_s), u"1 títol en aquesta categoria"_s);
        m_ui.type(u"titleSearchField"_s, u"zzzz"_s);
        QTRY_VERIFY(m_ui.isShown(u"noTitles"_s));
        QVERIFY(!m_ui.isShown(u"titleGrid"_s));
        QCOMPARE(m_ui.text(u"titleCount"_s), u"0 títols en aquesta categoria"_s);
        QCOMPARE(emptyStateTitle(u"noTitles"_s), u"Cap resultat"_s);
        QCOMPARE(m_ui.text(u"emptyStateDescription"_s, m_ui.item(u"noTitles"_s)),
            u"Prova un altre títol o una altra categoria."_s);
        QQuickItem *clear = m_ui.item(u"emptyStateAction"_s, m_ui.item(u"noTitles"_s));
        QCOMPARE(clear->property("text").toString(), u"Neteja la cerca"_s);
        QVERIFY(m_ui.saveScreenshot(u"catalog-no-match"_s));
        m_ui.click(clear);
        QTRY_COMPARE(cardNames(), newestFirst);
        QCOMPARE(catalog()->search(), QString());
        QCOMPARE(m_ui.text(u"titleSearchField"_s), QString());
        QVERIFY(!m_ui.isShown(u"noTitles"_s));

        // Without a search, nothing to clear.
        chooseCategory(provider().vodCategoryName(movieCategory(false)));
        QTRY_COMPARE(m_ui.text(u"titleCount"_s), u"0 títols en aquesta categoria"_s);
        QVERIFY(m_ui.isShown(u"noTitles"_s));
        QCOMPARE(emptyStateTitle(u"noTitles"_s), u"Sense títols"_s);
        QCOMPARE(m_ui.text(u"emptyStateDescription"_s, m_ui.item(u"noTitles"_s)),
            u"Tria una altra categoria. El contingut disponible depèn del teu proveïdor."_s);
        QVERIFY(!m_ui.isShown(u"emptyStateAction"_s, m_ui.item(u"noTitles"_s)));
        QVERIFY(m_ui.saveScreenshot(u"catalog-empty-category"_s));

        m_ui.type(u"categorySearchField"_s, u"western"_s);
        QTRY_COMPARE(m_ui.findAll(u"categoryRow"_s).size(), 0);
        QVERIFY(m_ui.isShown(u"noCategoryMatch"_s));
        QCOMPARE(m_ui.text(u"noCategoryMatch"_s), u"Cap categoria coincideix amb la cerca."_s);
        // The count line counts every category of the provider.
        QCOMPARE(m_ui.text(u"categoryCount"_s),
            QString::number(provider().vodCategoryCount()) + u" categories del teu proveïdor"_s);
    }

    // A movie's page as its progress changes, marked watched and unwatched, then played and left.
    void aMovieShowsItsProgressAndPlays()
    {
        const int category = movieCategory(true);
        const QString name = movieNames(category).constFirst();
        QVERIFY(openDemo(u"movies"_s));
        chooseCategory(provider().vodCategoryName(category));
        openTitle(name);
        QCOMPARE(m_ui.text(u"detailName"_s), name);
        QCOMPARE(m_ui.text(u"detailKind"_s), u"Pel·lícules"_s);
        QVERIFY(m_ui.text(u"detailPlot"_s).contains(name));
        QCOMPARE(playMovieText(), u"Reprodueix la pel·lícula"_s);
        QVERIFY(!m_ui.isShown(u"movieProgress"_s));

        const struct
        {
            double seconds;
            double duration;
            QString button;
            QString progress;
        } steps[] = {
            {10, 5400, u"Continua la pel·lícula"_s, u"En curs · 0:10 de 90 min"_s},
            {9, 5400, u"Reprodueix la pel·lícula"_s, QString()},
            {725.9, 5759.9, u"Continua la pel·lícula"_s, u"En curs · 12:05 de 95 min"_s},
            {600, 1800, u"Continua la pel·lícula"_s, u"En curs · 10:00 de 30 min"_s},
        };
        for (const auto &step : steps) {
            m_model->history()->update(movieKey(name), step.seconds, step.duration);
            QTRY_COMPARE(playMovieText(), step.button);
            QTRY_COMPARE(movieProgressText(), step.progress);
            QCOMPARE(m_ui.isShown(u"progressBar"_s, m_ui.item(u"movieProgress"_s)), !step.progress.isEmpty());
            if (!step.progress.isEmpty())
                QVERIFY(m_ui.item(u"progressBar"_s, m_ui.item(u"movieProgress"_s))->width() <= 220);
        }
        QVERIFY(m_ui.saveScreenshot(u"catalog-movie-progress"_s));

        QQuickItem *button = m_ui.item(u"movieWatchedButton"_s);
        QCOMPARE(button->property("text").toString(), u"Marca com a vist"_s);
        QCOMPARE(WindowDriver::accessibleName(button), u"Marca com a vist: "_s + name);
        QCOMPARE(button->property("helpText").toString(), u"Marca com a vist sense reproduir"_s);
        QVERIFY(!m_ui.isShown(u"watchedLabel"_s, m_ui.item(u"movieProgress"_s)));
        click(button);
        QTRY_COMPARE(button->property("text").toString(), u"Marca no vist"_s);
        QCOMPARE(WindowDriver::accessibleName(button), u"Marca com a no vist: "_s + name);
        QCOMPARE(button->property("helpText").toString(), u"Treu la marca de vist i reinicia el progrés"_s);
        QVERIFY(m_ui.isShown(u"watchedLabel"_s, m_ui.item(u"movieProgress"_s)));
        QCOMPARE(movieProgressText(), QString());
        QCOMPARE(playMovieText(), u"Reprodueix la pel·lícula"_s);
        QVERIFY(m_model->history()->record(movieKey(name))->watched);

        // The grid's card carries the badge; back on the page, the mark comes off again.
        m_ui.click(u"backToTitles"_s);
        QTRY_VERIFY(m_ui.isShown(u"titleGrid"_s));
        QVERIFY(!catalog()->selectedItem().has_value());
        QQuickItem *card = cards().constFirst();
        QCOMPARE(card->property("name").toString(), name);
        QVERIFY(m_ui.isShown(u"watchedBadge"_s, card));
        QVERIFY(!m_ui.isShown(u"watchedBadge"_s, cards().at(1)));
        openTitle(name);
        click(u"movieWatchedButton"_s);
        QTRY_COMPARE(m_ui.text(u"movieWatchedButton"_s), u"Marca com a vist"_s);
        QVERIFY(!m_ui.isShown(u"movieProgress"_s));
        m_ui.click(u"backToTitles"_s);
        QTRY_VERIFY(m_ui.isShown(u"titleGrid"_s));
        QTRY_VERIFY(!m_ui.isShown(u"watchedBadge"_s, cards().constFirst()));

        if (!m_demo.provider.mediaProblem().isEmpty())
            QSKIP(qPrintable(m_demo.provider.mediaProblem()));
        openTitle(name);
        click(u"playMovieButton"_s);
        QTRY_VERIFY(m_model->showsCatalogPlayer());
        QVERIFY(m_model->currentChannel().has_value());
        QTRY_VERIFY(m_ui.isShown(u"catalogPlayer"_s));
        QVERIFY(!m_ui.isShown(u"catalogBrowser"_s));
        QQuickItem *pane = m_ui.item(u"playbackPane"_s);
        QVERIFY(pane->isVisible());
        QVERIFY(m_ui.item(u"catalogPlayer"_s)->isAncestorOf(pane));
        QCOMPARE(m_ui.text(u"backToCatalog"_s), u"Torna al catàleg"_s);
        QVERIFY(m_ui.saveScreenshot(u"catalog-player"_s));

        m_ui.click(u"backToCatalog"_s);
        QTRY_VERIFY(!m_model->showsCatalogPlayer());
        QVERIFY(!m_model->currentChannel().has_value());
        QTRY_VERIFY(m_ui.isShown(u"catalogBrowser"_s));
        QVERIFY(!m_ui.isShown(u"catalogPlayer"_s));
        // Back where the user was: the movie's page.
        QVERIFY(m_ui.isShown(u"detailPage"_s));
        QCOMPARE(m_ui.text(u"detailName"_s), name);

        // The live view takes the one player back.
        m_model->selectSection(u"live"_s);
        QTRY_VERIFY(m_ui.isShown(u"liveView"_s));
        QVERIFY(m_ui.item(u"liveView"_s)->isAncestorOf(pane) && pane->isVisible());
    }

    // A series' seasons and episodes, each episode marked from its row, and the continue button.
    void aSeriesListsItsSeasonsAndEpisodes()
    {
        const int series = seriesWithSpecials();
        const QString name = provider().seriesName(series);
        QVERIFY(openDemo(u"series"_s));
        chooseCategory(provider().seriesCategoryName(provider().seriesCategory(series)));
        openTitle(name);
        QCOMPARE(m_ui.text(u"detailKind"_s), u"Sèries"_s);
        QVERIFY(!m_ui.isShown(u"playMovieButton"_s));

        const QList<int> seasons = provider().seasons(series);
        int episodes = 0;
        for (const int season : seasons)
            episodes += provider().episodeCount(series, season);
        QStringList entries;
        for (const int season : seasons)
            entries.append(season == 0 ? u"Especials"_s : u"Temporada "_s + QString::number(season));
        QCOMPARE(m_ui.item(u"seasonPicker"_s)->property("model").toStringList(), entries);
        // Nothing watched: the lowest season, the specials.
        QCOMPARE(m_ui.item(u"seasonPicker"_s)->property("currentText").toString(), u"Especials"_s);
        QCOMPARE(m_ui.text(u"episodeSummary"_s), QString::number(episodes) + u" episodis · Vistos: 0"_s);
        QCOMPARE(m_ui.text(u"continueButton"_s), u"Continua · T0 E1"_s);
        QVERIFY(!m_ui.isShown(u"allWatched"_s));
        QTRY_COMPARE(episodeRows().size(), provider().episodeCount(series, 0));

        pick(u"seasonPicker"_s, u"Temporada 1"_s);
        QTRY_COMPARE(episodeRows().size(), provider().episodeCount(series, 1));
        QQuickItem *row = episodeRows().constFirst();
        const QString title = provider().episodeTitle(series, 1, 1);
        QCOMPARE(m_ui.text(u"episodeTitle"_s, row), u"1. "_s + title);
        QCOMPARE(WindowDriver::accessibleName(m_ui.item(u"episodePlayButton"_s, row)),
            u"Reprodueix episodi 1: "_s + title);
        QCOMPARE(WindowDriver::accessibleName(m_ui.item(u"episodeWatchedButton"_s, row)),
            u"Marca com a vist: episodi 1"_s);

        // Part-way through the first episode of season 1.
        m_model->history()->update(
            catalog()->watchKey(u"series"_s, QString::number(provider().episodeID(series, 1, 1))), 125, 1800);
        QTRY_COMPARE(m_ui.text(u"progressLabel"_s, episodeRows().constFirst()), u"En curs · 2:05 de 30 min"_s);
        QVERIFY(m_ui.saveScreenshot(u"catalog-series"_s));

        // Every episode marked watched, season by season, from the rows' buttons.
        for (const int season : seasons) {
            pick(u"seasonPicker"_s, season == 0 ? u"Especials"_s : u"Temporada "_s + QString::number(season));
            QTRY_COMPARE(episodeRows().size(), provider().episodeCount(series, season));
            for (QQuickItem *each : episodeRows())
                click(u"episodeWatchedButton"_s, each);
        }
        QTRY_COMPARE(m_ui.text(u"episodeSummary"_s),
            QString::number(episodes) + u" episodis · Vistos: "_s + QString::number(episodes));
        QVERIFY(m_ui.isShown(u"watchedLabel"_s, episodeRows().constLast()));
        QTRY_VERIFY(m_ui.isShown(u"allWatched"_s));
        QVERIFY(!m_ui.isShown(u"continueButton"_s));
        QVERIFY(m_ui.saveScreenshot(u"catalog-series-all-watched"_s));

        // One unwatched again: the continue button names it.
        click(u"episodeWatchedButton"_s, episodeRows().constLast());
        const int last = seasons.constLast();
        QTRY_COMPARE(m_ui.text(u"continueButton"_s),
            u"Continua · T"_s + QString::number(last) + u" E"_s
                + QString::number(provider().episodeCount(series, last)));
        QVERIFY(!m_ui.isShown(u"allWatched"_s));

        // From another season, the continue button plays that episode and its season is shown.
        if (!m_demo.provider.mediaProblem().isEmpty())
            QSKIP(qPrintable(m_demo.provider.mediaProblem()));
        pick(u"seasonPicker"_s, u"Especials"_s);
        click(u"continueButton"_s);
        QTRY_VERIFY(m_model->showsCatalogPlayer());
        QCOMPARE(catalog()->selectedSeason(), std::optional<qint64>(last));
        const qint64 lastEpisode = provider().episodeID(series, last, provider().episodeCount(series, last));
        QCOMPARE(
            m_model->currentChannel()->id(), catalog()->episode(QString::number(lastEpisode))->channel.id());
        QTRY_VERIFY(m_ui.isShown(u"catalogPlayer"_s));
        m_ui.click(u"backToCatalog"_s);
        QTRY_VERIFY(m_ui.isShown(u"detailPage"_s));
        QCOMPARE(m_ui.item(u"seasonPicker"_s)->property("currentText").toString(),
            u"Temporada "_s + QString::number(last));
    }
};

QTEST_MAIN(tst_CatalogBrowser)
#include "tst_catalog_browser.moc"
