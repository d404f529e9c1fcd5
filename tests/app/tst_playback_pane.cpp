// The playback pane and its full-screen video, shown in a real window against a LibraryModel that
// plays the local provider's generated streams through libVLC. Screenshots of what the user sees
// are saved beside the test executable.

#include "PlayingLibrary.h"
#include "ProviderGuide.h"
#include "VideoSurface.h"
#include "WindowDriver.h"
#include "models/CatalogModel.h"
#include "models/LibraryModel.h"
#include "models/ProgrammeGuide.h"
#include "records/CatalogDetail.h"

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The pane as the main window lays it out, on the window's background.
const QByteArray hostQml = R"(
import QtQuick
import Quenvo

Window {
    id: root
    required property LibraryModel library
    property alias pane: pane
    width: 900
    height: 680
    color: Theme.appBackground

    PlaybackPane {
        id: pane
        objectName: "playbackPane"
        anchors.fill: parent
        anchors.margins: 16
        library: root.library
    }
}
)";

// The share of clearly lit pixels along a horizontal line across `rect`, `height` (0…1) down.
double litShare(const QImage &image, const QRectF &rect, double height)
{
    int lit = 0;
    int samples = 0;
    for (int column = 1; column < 20; ++column) {
        const QPoint point(int(rect.left() + rect.width() * column / 20), int(rect.top() + rect.height() * height));
        if (!image.rect().contains(point))
            continue;
        ++samples;
        if (QColor(image.pixel(point)).lightness() > 40)
            ++lit;
    }
    return samples == 0 ? 0 : double(lit) / samples;
}

} // namespace

class tst_PlaybackPane : public QObject
{
    Q_OBJECT

private:
    PlayingLibrary m_play;
    LibraryModel *m_model = nullptr;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;

    QQuickItem *pane() const { return m_window->findChild<QQuickItem *>(u"playbackPane"_s); }

    template<typename T = QQuickItem> T *paneItem(const QString &name) const
    {
        T *item = m_window->findChild<T *>(name);
        if (!item)
            qWarning("no item %s", qPrintable(name));
        return item;
    }

    QQuickWindow *fullScreenWindow() const
    {
        return qobject_cast<QQuickWindow *>(pane()->property("fullScreenWindow").value<QObject *>());
    }

    Channel liveChannel(ProviderCatalog::LiveKind kind) const { return m_play.liveChannel(kind); }

    // Clicks the middle of a visible, enabled item, in whatever window shows it.
    static bool click(QQuickItem *item)
    {
        if (!item || !item->isVisible() || !item->isEnabled() || !item->window())
            return false;
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
        return true;
    }

    // A picture playing on `surface`, drawn where the surface says: lit from its top to its bottom
    // edge (the generated clips are colour bars over the whole picture), and nothing drawn above it.
    // `toBottom` false leaves out the bottom edge (under the full-screen panel).
    static bool showsPicture(QQuickWindow *window, VideoSurface *surface, bool toBottom = true)
    {
        if (surface->frameCount() < 3 || surface->pictureRect().isEmpty())
            return false;
        const QImage image = window->grabWindow().convertToFormat(QImage::Format_RGB32);
        const QRectF picture = surface->pictureRect().translated(surface->mapToScene(QPointF(0, 0)));
        for (const double height : {0.03, 0.5, 0.97}) {
            if ((height < 0.9 || toBottom) && litShare(image, picture, height) < 0.7)
                return false;
        }
        const QRectF above(picture.left(), picture.top() - 8, picture.width(), 1);
        return picture.top() < 8 || litShare(image, above, 0) == 0;
    }

    QTemporaryDir m_guideCache;

    void save(QQuickWindow *window, const QString &name)
    {
        const QImage image = window->grabWindow();
        QVERIFY(!image.isNull());
        QVERIFY(image.save(QDir(QCoreApplication::applicationDirPath()).filePath(name + u".png"_s)));
    }

    // Plays the regular live channel: false when its picture does not show in the pane.
    bool playAndWaitForPicture()
    {
        m_model->play(liveChannel(ProviderCatalog::LiveKind::regular), false);
        auto *surface = paneItem<VideoSurface>(u"videoSurface"_s);
        return surface && QTest::qWaitFor([&] { return !m_model->waiting() && m_model->isPlaying(); }, 20000)
            && QTest::qWaitFor([&] { return showsPicture(m_window.get(), surface); }, 10000);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (qgetenv("QUENVO_SECRET_SERVICE") != "unlocked")
            QSKIP("run through scripts/with-secret-service.sh (a throw-away keyring)");
        ProviderOptions options;
        options.liveChannels = 8;
        options.movies = 2;
        options.series = 0;
        options.categories = 1;
        QVERIFY2(m_play.startProvider(options), qPrintable(m_play.provider.server().errorString()));
        if (!m_play.provider.mediaProblem().isEmpty())
            QSKIP(qPrintable(m_play.provider.mediaProblem()));
    }

    void init()
    {
        LibraryModel::Environment environment;
        environment.keychainService = u"test.quenvo.pane"_s;
        environment.guideCacheFolder = m_guideCache.path();
        QVERIFY(m_play.connect(environment));
        m_model = m_play.model.get();

        m_engine = std::make_unique<QQmlEngine>();
        m_engine->addImportPath(u"qrc:/"_s);
        QQmlComponent component(m_engine.get());
        component.setData(hostQml, QUrl(u"qrc:/tst_playback_pane/Host.qml"_s));
        QVERIFY2(component.isReady(), qPrintable(component.errorString()));
        QObject *object = component.createWithInitialProperties({{u"library"_s, QVariant::fromValue(m_model)}});
        QVERIFY2(object, qPrintable(component.errorString()));
        m_window.reset(qobject_cast<QQuickWindow *>(object));
        QVERIFY(m_window);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }

    void cleanup()
    {
        if (m_model)
            m_model->stop();
        m_window.reset();
        m_engine.reset();
        m_play.finish();
        m_model = nullptr;
    }

    // The pane idle, playing with its schedule, controls and state, waiting for a stream that does
    // not start, and offering a retry for one that fails.
    void idleTextsUntilAChannelPlays()
    {
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->guide()->loading(), 20000);
        QVERIFY(paneItem(u"idleView"_s)->isVisible());
        QVERIFY(!paneItem(u"videoStage"_s)->isVisible());
        save(m_window.get(), u"playback-pane-idle"_s);

        QVERIFY(playAndWaitForPicture());
        QVERIFY(!paneItem(u"idleView"_s)->isVisible());
        QVERIFY(paneItem(u"videoStage"_s)->isVisible());
        QVERIFY(!paneItem(u"waitingIndicator"_s)->isVisible());
        QVERIFY(!paneItem(u"playbackErrorOverlay"_s)->isVisible());
        save(m_window.get(), u"playback-pane-playing"_s);

        // The schedule of the channel playing.
        const ProviderCatalog &catalog = m_play.provider.server().catalog();
        const QString onNow = ProviderGuide(catalog)
                                  .programmeAt(catalog.liveChannelIndex(ProviderCatalog::LiveKind::regular),
                                      QDateTime::currentSecsSinceEpoch())
                                  .title;
        auto *schedule = paneItem(u"programmeSchedule"_s);
        QVERIFY(schedule);
        QTRY_VERIFY(schedule->isVisible());
        // The delegates hang from the list's visual tree, not its object tree.
        const auto titles = [schedule] {
            QStringList found;
            QList<QQuickItem *> pending {schedule};
            while (!pending.isEmpty()) {
                QQuickItem *item = pending.takeFirst();
                if (item->objectName() == u"programmeTitle"_s)
                    found.append(item->property("text").toString());
                pending.append(item->childItems());
            }
            return found;
        };
        QTRY_VERIFY(!titles().isEmpty());
        QVERIFY2(titles().contains(onNow), qPrintable(titles().join(u", "_s)));
        save(m_window.get(), u"programme-schedule"_s);

        // The play/pause button and a click on the picture both pause and resume.
        QQuickItem *playPause = paneItem(u"playPauseButton"_s);
        QCOMPARE(WindowDriver::accessibleName(playPause), u"Pausa"_s);
        QVERIFY(click(playPause));
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isPlaying(), 5000);
        QCOMPARE(WindowDriver::accessibleName(playPause), u"Reprodueix"_s);
        QVERIFY(click(paneItem(u"videoStage"_s)));
        QTRY_VERIFY_WITH_TIMEOUT(m_model->isPlaying(), 5000);

        // The volume slider shows the model's volume and sets it.
        QQuickItem *volume = paneItem(u"volumeSlider"_s);
        QCOMPARE(volume->property("value").toDouble(), m_model->volume());
        QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier,
                          volume->mapToScene(QPointF(7 + (volume->width() - 14) * 0.25, volume->height() / 2)).toPoint());
        QVERIFY2(qAbs(m_model->volume() - 25) < 3, qPrintable(QString::number(m_model->volume())));
        m_model->setVolume(60);
        QCOMPARE(volume->property("value").toDouble(), 60.0);

        // The playback state, folded until asked for.
        QQuickItem *status = paneItem(u"playbackStatusText"_s);
        QVERIFY(!status->isVisible());
        QVERIFY(click(paneItem(u"playbackStatusToggle"_s)));
        QVERIFY(status->isVisible());
        QTRY_COMPARE(status->property("text").toString(), m_model->diagnostics());
        QVERIFY(m_model->diagnostics().startsWith(u"Vídeo: "_s));
        save(m_window.get(), u"playback-pane-status"_s);
        QVERIFY(click(paneItem(u"playbackStatusToggle"_s)));
        QVERIFY(!status->isVisible());

        // Stop returns to the idle texts.
        QVERIFY(click(paneItem(u"stopButton"_s)));
        QCOMPARE(m_model->currentChannel(), std::nullopt);
        QTRY_VERIFY(paneItem(u"idleView"_s)->isVisible());

        // A stream that does not start shows the waiting indicator.
        m_model->play(liveChannel(ProviderCatalog::LiveKind::stalled), false);
        QVERIFY(m_model->waiting());
        QVERIFY(paneItem(u"waitingIndicator"_s)->isVisible());
        QVERIFY(paneItem(u"videoStage"_s)->isVisible());
        QVERIFY(!paneItem(u"playbackErrorOverlay"_s)->isVisible());
        save(m_window.get(), u"playback-pane-waiting"_s);
        m_model->stop();
        QVERIFY(!paneItem(u"waitingIndicator"_s)->isVisible());

        // A channel that fails offers a retry.
        m_model->play(liveChannel(ProviderCatalog::LiveKind::missing), false);
        QQuickItem *overlay = paneItem(u"playbackErrorOverlay"_s);
        QTRY_VERIFY_WITH_TIMEOUT(overlay->isVisible(), 10000);
        QVERIFY(m_model->playbackError().has_value());
        QCOMPARE(paneItem(u"playbackErrorText"_s)->property("text").toString(), *m_model->playbackError());
        save(m_window.get(), u"playback-pane-error"_s);

        QSignalSpy errors(m_model, &LibraryModel::playbackErrorChanged);
        QVERIFY(click(paneItem(u"retryButton"_s)));
        // The retry clears the message and starts again; the server still answers 404.
        QVERIFY(!errors.isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(overlay->isVisible(), 10000);
        QVERIFY(errors.size() >= 2);
    }

    void fullScreenShowsTheVideoAloneUntilLeft_data()
    {
        QTest::addColumn<QString>("way");
        QTest::newRow("Esc") << u"Esc"_s;
        QTest::newRow("Ctrl+Meta+F") << u"Ctrl+Meta+F"_s;
        QTest::newRow("panel button") << u"button"_s;
        QTest::newRow("stop") << u"stop"_s;
    }

    void fullScreenShowsTheVideoAloneUntilLeft()
    {
        QFETCH(QString, way);
        QVERIFY(playAndWaitForPicture());
        QCOMPARE(fullScreenWindow(), nullptr);

        QVERIFY(click(paneItem(u"fullScreenButton"_s)));
        QVERIFY(m_model->videoFullScreen());
        QQuickWindow *window = fullScreenWindow();
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QCOMPARE(window->visibility(), QWindow::FullScreen);
        QVERIFY(window->flags().testFlag(Qt::FramelessWindowHint));
        auto *surface = window->findChild<VideoSurface *>(u"fullScreenVideoSurface"_s);
        QVERIFY(surface);
        QCOMPARE(surface->player(), m_model->player());
        QCOMPARE(paneItem<VideoSurface>(u"videoSurface"_s)->player(), nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(showsPicture(window, surface, false), 10000);
        save(window, u"full-screen-"_s + QString(way).replace(u'+', u'-').replace(u' ', u'-'));

        QTRY_VERIFY(QGuiApplication::focusWindow() == window);
        if (way == u"Esc"_s) {
            QTest::keyClick(window, Qt::Key_Escape);
        } else if (way == u"Ctrl+Meta+F"_s) {
            QTest::keyClick(window, Qt::Key_F, Qt::ControlModifier | Qt::MetaModifier);
        } else if (way == u"button"_s) {
            QVERIFY(click(window->findChild<QQuickItem *>(u"leaveFullScreenButton"_s)));
        } else {
            m_model->stop();
        }
        QVERIFY(!m_model->videoFullScreen());
        QTRY_COMPARE(fullScreenWindow(), nullptr);
        // Back in the window, the pane shows the picture again (the same player, unless stopped).
        auto *paneSurface = paneItem<VideoSurface>(u"videoSurface"_s);
        if (way == u"stop"_s) {
            QVERIFY(paneItem(u"idleView"_s)->isVisible());
        } else {
            QCOMPARE(paneSurface->player(), m_model->player());
            QTRY_VERIFY_WITH_TIMEOUT(showsPicture(m_window.get(), paneSurface), 10000);
        }
    }

    // Keys and clicks in full screen; then the panel, which hides unless something keeps it.
    void keysClicksAndThePanelInFullScreen()
    {
        QVERIFY(playAndWaitForPicture());
        m_model->setVideoFullScreen(true);
        QQuickWindow *window = fullScreenWindow();
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_VERIFY(QGuiApplication::focusWindow() == window);

        // Space pauses and resumes, with Shift or Alt held too; other keys leave full screen alone.
        QTest::keyClick(window, Qt::Key_Space, Qt::ShiftModifier);
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isPlaying(), 5000);
        QTest::keyClick(window, Qt::Key_A);
        QTest::keyClick(window, Qt::Key_F, Qt::ControlModifier);
        QVERIFY(m_model->videoFullScreen());
        QTest::keyClick(window, Qt::Key_Space, Qt::AltModifier);
        QTRY_VERIFY_WITH_TIMEOUT(m_model->isPlaying(), 5000);
        QTest::keyClick(window, Qt::Key_Space);
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isPlaying(), 5000);
        // The menu commands reach the model from here too.
        QTest::keyClick(window, Qt::Key_P, Qt::ControlModifier);
        QTRY_VERIFY_WITH_TIMEOUT(m_model->isPlaying(), 5000);
        QVERIFY(m_model->videoFullScreen());

        // A click on the picture (above the panel) pauses; a click on the panel's empty part does not.
        auto *controls = window->findChild<QQuickItem *>(u"fullScreenControls"_s);
        QVERIFY(controls->isVisible());
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, QPoint(window->width() / 2, 40));
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isPlaying(), 5000);
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, QPoint(window->width() / 2, 40));
        QTRY_VERIFY_WITH_TIMEOUT(m_model->isPlaying(), 5000);
        const QPoint panelEmpty = controls->mapToScene(QPointF(controls->width() * 0.45, 10)).toPoint();
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, panelEmpty);
        QTest::qWait(1500); // several playback ticks
        QVERIFY(m_model->isPlaying());

        // The panel: 124 high for live TV, 24 above the bottom edge and on each side, up to 780 wide,
        // centred.
        window->resize(100, 400);
        QTRY_COMPARE(controls->width(), 52.0);
        QCOMPARE(controls->x(), 24.0);
        window->resize(2000, 900);
        QTRY_COMPARE(controls->width(), 780.0);
        QCOMPARE(controls->x(), 610.0);
        QCOMPARE(controls->y(), 900.0 - 24 - 124);
        QTest::keyClick(window, Qt::Key_Escape);
        QTRY_VERIFY(!m_model->videoFullScreen());

        // With a short hide delay: going full screen closes a track panel that was open in the window.
        pane()->setProperty("fullScreenHideDelay", 250);
        QVERIFY(click(paneItem(u"subtitleControls"_s)));
        QVERIFY(m_model->subtitleControlsOpen());
        m_model->setVideoFullScreen(true);
        QVERIFY(!m_model->subtitleControlsOpen());
        window = fullScreenWindow();
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        controls = window->findChild<QQuickItem *>(u"fullScreenControls"_s);
        QVERIFY(controls->isVisible());

        // Playing, pointer away: it hides; a movement brings it back.
        QTRY_VERIFY_WITH_TIMEOUT(!controls->isVisible(), 5000);
        QTest::mouseMove(window, QPoint(window->width() / 2, 50));
        QTest::mouseMove(window, QPoint(window->width() / 2 + 10, 60));
        QVERIFY(controls->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!controls->isVisible(), 5000);

        // An open subtitle panel keeps it, over many hide delays, until the panel closes.
        QTest::mouseMove(window, QPoint(window->width() / 2, 50));
        QVERIFY(controls->isVisible());
        // (The pointer is moved off the panel after each click: resting on the panel keeps it too.)
        const QPoint away(40, 40);
        QVERIFY(click(window->findChild<QQuickItem *>(u"fullScreenSubtitleControls"_s)));
        QVERIFY(m_model->subtitleControlsOpen());
        QTest::mouseMove(window, away);
        save(window, u"full-screen-subtitle-panel"_s);
        QTest::qWait(1500);
        QVERIFY(controls->isVisible());
        QVERIFY(click(window->findChild<QQuickItem *>(u"fullScreenSubtitleControls"_s)));
        QVERIFY(!m_model->subtitleControlsOpen());
        QTest::mouseMove(window, away);
        QTRY_VERIFY_WITH_TIMEOUT(!controls->isVisible(), 5000);

        // Esc closes an open track panel first, and stays in full screen; the next Esc leaves.
        QTest::mouseMove(window, QPoint(window->width() / 2, 50));
        QVERIFY(click(window->findChild<QQuickItem *>(u"fullScreenSubtitleControls"_s)));
        QVERIFY(m_model->subtitleControlsOpen());
        QTest::keyClick(window, Qt::Key_Escape);
        QTRY_VERIFY(!m_model->subtitleControlsOpen());
        QVERIFY(m_model->videoFullScreen());
        QTest::keyClick(window, Qt::Key_Escape);
        QTRY_VERIFY(!m_model->videoFullScreen());
        m_model->setVideoFullScreen(true);
        window = fullScreenWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        controls = window->findChild<QQuickItem *>(u"fullScreenControls"_s);
        QTest::mouseMove(window, away);
        QTRY_VERIFY_WITH_TIMEOUT(!controls->isVisible(), 5000);

        // The same for the pointer resting on the panel.
        QTest::mouseMove(window, controls->mapToScene(QPointF(controls->width() / 2, 10)).toPoint());
        QVERIFY(controls->isVisible());
        QTest::qWait(1500);
        QVERIFY(controls->isVisible());
        QTest::mouseMove(window, away);
        QTRY_VERIFY_WITH_TIMEOUT(!controls->isVisible(), 5000);

        // Paused, it stays. (The pause is seen at the next playback tick, which may come after this
        // short hide delay: a movement shows the panel again once it is.)
        QTest::keyClick(window, Qt::Key_Space);
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->isPlaying(), 5000);
        QTest::mouseMove(window, away + QPoint(10, 10));
        QVERIFY(controls->isVisible());
        QTest::qWait(1500);
        QVERIFY(controls->isVisible());
    }

    void theTimelineSeeksWhenTheDragEnds()
    {
        QVERIFY(m_play.openFirstMovie());
        m_model->playMovie();
        QTRY_VERIFY_WITH_TIMEOUT(m_model->seekable() && !m_model->waiting() && m_model->isPlaying(), 20000);
        auto *slider = paneItem(u"timelineSlider"_s);
        QVERIFY(slider->isVisible());
        QVERIFY(slider->isEnabled());
        QTRY_VERIFY(m_model->playbackPosition() > 0);
        QVERIFY(m_model->playbackPosition() < 0.3);

        // Press on the handle and drag it to the middle.
        const auto at = [&](double fraction) {
            return slider->mapToScene(QPointF(7 + (slider->width() - 14) * fraction, slider->height() / 2)).toPoint();
        };
        QTest::mousePress(m_window.get(), Qt::LeftButton, Qt::NoModifier, at(m_model->playbackPosition()));
        for (int step = 1; step <= 10; ++step)
            QTest::mouseMove(m_window.get(), at(m_model->playbackPosition() + (0.5 - m_model->playbackPosition()) * step / 10));
        QTest::mouseMove(m_window.get(), at(0.5));
        const double held = slider->property("value").toDouble();
        QVERIFY2(qAbs(held - 0.5) < 0.02, qPrintable(QString::number(held)));
        save(m_window.get(), u"playback-pane-timeline-drag"_s);

        // While held, the slider stays where it was dragged and the player goes on from where it was.
        QTest::qWait(1200);
        QCOMPARE(slider->property("value").toDouble(), held);
        QVERIFY(m_model->playbackPosition() < 0.3);

        QTest::mouseRelease(m_window.get(), Qt::LeftButton, Qt::NoModifier, at(0.5));
        QTRY_VERIFY_WITH_TIMEOUT(qAbs(m_model->playbackPosition() - 0.5) < 0.08, 10000);
        // Back to following playback.
        QTRY_VERIFY_WITH_TIMEOUT(slider->property("value").toDouble() != held, 5000);

        // The movie's two audio tracks in the audio panel.
        QTRY_VERIFY_WITH_TIMEOUT(m_model->audioTracks().size() == 2, 10000);
        QVERIFY(click(paneItem(u"audioControls"_s)));
        QVERIFY(m_model->audioControlsOpen());
        save(m_window.get(), u"audio-panel"_s);
    }

    // A subtitle file goes to the stream it was chosen for; the delay buttons shift it.
    void subtitleFilesAndTheirDelay()
    {
        QVERIFY(playAndWaitForPicture());
        QTemporaryDir scratch;
        QFile file(scratch.filePath(u"captions.srt"_s));
        QVERIFY(
            file.open(QIODevice::WriteOnly) && file.write("1\n00:00:00,000 --> 00:10:00,000\nBon dia\n") > 0);
        file.close();
        const QUrl address = QUrl::fromLocalFile(file.fileName());

        QVERIFY(click(paneItem(u"subtitleControls"_s)));
        QVERIFY(m_model->subtitleControlsOpen());
        auto *later = paneItem(u"subtitleLaterButton"_s);
        auto *earlier = paneItem(u"subtitleEarlierButton"_s);
        auto *text = paneItem(u"subtitleDelayText"_s);
        QTRY_VERIFY(later->isVisible());
        // No subtitle track chosen: nothing to shift.
        QCOMPARE(m_model->selectedSubtitle(), -1);
        QVERIFY(!later->isEnabled());
        QCOMPARE(text->property("text").toString(), u"+0.0 s"_s);
        save(m_window.get(), u"subtitle-panel-empty"_s);

        QObject *dialog = m_window->findChild<QObject *>(u"subtitleFileDialog"_s);
        QVERIFY(dialog);
        QCOMPARE(dialog->property("title").toString(), u"Carrega subtítols"_s);
        const QStringList filters = dialog->property("nameFilters").toStringList();
        QCOMPARE(filters.size(), 1);
        for (const QString &extension : {u"*.srt"_s, u"*.vtt"_s, u"*.ass"_s, u"*.ssa"_s})
            QVERIFY2(filters.constFirst().contains(extension), qPrintable(extension));

        // The dialog opens on the file, as if the user had picked it.
        const auto choose = [&] {
            QVERIFY(dialog->setProperty("currentFolder", QUrl::fromLocalFile(scratch.path())));
            QVERIFY(dialog->setProperty("selectedFile", address));
            QVERIFY(click(paneItem(u"loadSubtitleFileButton"_s)));
            QTRY_VERIFY(dialog->property("visible").toBool());
            QTRY_COMPARE(dialog->property("selectedFile").toUrl(), address);
        };

        // Chosen while another stream started: ignored.
        choose();
        if (QTest::currentTestFailed())
            return;
        save(m_window.get(), u"subtitle-file-dialog"_s);
        m_model->play(liveChannel(ProviderCatalog::LiveKind::hls), false);
        QTRY_VERIFY_WITH_TIMEOUT(!m_model->waiting() && m_model->isPlaying(), 20000);
        QVERIFY(QMetaObject::invokeMethod(dialog, "accept"));
        QTest::qWait(1500); // several playback ticks
        QCOMPARE(m_model->selectedSubtitle(), -1);
        QVERIFY(m_model->subtitleTracks().isEmpty());

        // Chosen for the stream that still plays: loaded and shown. (The panel stayed open, and the
        // model still knows it, across the change of stream.)
        QVERIFY(m_model->subtitleControlsOpen());
        choose();
        if (QTest::currentTestFailed())
            return;
        QVERIFY(QMetaObject::invokeMethod(dialog, "accept"));
        QTRY_VERIFY_WITH_TIMEOUT(m_model->selectedSubtitle() != -1, 10000);
        QCOMPARE(m_model->subtitleTracks().size(), 1);
        QTRY_VERIFY(later->isEnabled());

        QVERIFY(click(later));
        QCOMPARE(m_model->subtitleDelay(), 0.5);
        QCOMPARE(m_model->player()->subtitleDelay(), 500'000);
        QCOMPARE(text->property("text").toString(), u"+0.5 s"_s);
        QVERIFY(click(earlier));
        QVERIFY(click(earlier));
        QVERIFY(click(earlier));
        QCOMPARE(m_model->subtitleDelay(), -1.0);
        QCOMPARE(text->property("text").toString(), u"-1.0 s"_s);
        save(m_window.get(), u"subtitle-panel-delay"_s);
        QVERIFY(click(paneItem(u"subtitleResetButton"_s)));
        QCOMPARE(m_model->subtitleDelay(), 0.0);
        QCOMPARE(m_model->player()->subtitleDelay(), 0);

        // The button closes the panel again.
        QVERIFY(click(paneItem(u"subtitleControls"_s)));
        QVERIFY(!m_model->subtitleControlsOpen());
    }
};

QTEST_MAIN(tst_PlaybackPane)
#include "tst_playback_pane.moc"
