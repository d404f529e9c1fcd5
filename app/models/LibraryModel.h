#pragma once

#include "MediaPlayer.h"
#include "async/RequestSlot.h"
#include "http/HTTPClient.h"
#include "records/CatalogEpisode.h"
#include "records/CatalogItem.h"
#include "records/CatalogKind.h"
#include "records/Channel.h"
#include "records/PersonalCategory.h"
#include "records/PersonalEntry.h"
#include "records/PlaylistSource.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QUuid>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class CatalogFavorites;
class CatalogModel;
class ChannelCategoriesModel;
class ChannelListModel;
class FavoritesModel;
class ProgrammeGuide;
class ConnectionRegistry;
class QTimer;
class PersonalLists;
class PersonalListsModel;
class QSettings;
class WatchHistory;

Q_MOC_INCLUDE("models/CatalogModel.h")
Q_MOC_INCLUDE("models/ChannelCategoriesModel.h")
Q_MOC_INCLUDE("models/ChannelListModel.h")
Q_MOC_INCLUDE("models/ProgrammeGuide.h")
Q_MOC_INCLUDE("models/PersonalListsModel.h")
Q_MOC_INCLUDE("models/FavoritesModel.h")
Q_MOC_INCLUDE("stores/CatalogFavorites.h")
Q_MOC_INCLUDE("stores/PersonalLists.h")
Q_MOC_INCLUDE("stores/WatchHistory.h")

// The application's central model, one for the whole run: the connections and which one is active,
// the live channels of the active connection with their category, favourites and search filters,
// the channel favourites, the top-level section, the navigation into personal lists, and playback.
// It owns the stores and the catalogue model. Views observe its properties and call its operations;
// everything runs on the main thread.
//
// Loads run as coroutines. Only the latest load request's answer is ever applied (RequestSlot), and
// a navigation step that waits for a load runs only if the user has not navigated elsewhere since.
class LibraryModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application creates the one library model.")

    // Connections, as lists of {id, name, kind, address, username, password} for the views.
    Q_PROPERTY(QVariantList sources READ sourcesForViews NOTIFY sourcesChanged FINAL)
    Q_PROPERTY(QVariantList temporarySources READ temporarySourcesForViews NOTIFY temporarySourcesChanged FINAL)
    Q_PROPERTY(bool canSave READ canSave NOTIFY canSaveChanged FINAL)
    // The active connection's id in canonical upper case; empty when none is active.
    Q_PROPERTY(QString activeID READ activeIDText NOTIFY activeIDChanged FINAL)
    Q_PROPERTY(QVariant activeSource READ activeSourceForViews NOTIFY activeSourceChanged FINAL)
    // The number of live channels of the active connection (the list itself is C++ only).
    Q_PROPERTY(int channelCount READ channelCount NOTIFY channelsChanged FINAL)
    Q_PROPERTY(ChannelListModel *filteredChannels READ filteredChannels CONSTANT FINAL)
    Q_PROPERTY(ChannelCategoriesModel *categories READ categories CONSTANT FINAL)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged FINAL)
    // The selected channel group; an undefined value shows every group.
    Q_PROPERTY(QVariant category READ categoryForViews WRITE setCategoryFromViews NOTIFY categoryChanged FINAL)
    Q_PROPERTY(bool favoritesOnly READ favoritesOnly NOTIFY favoritesOnlyChanged FINAL)
    Q_PROPERTY(int favoriteCount READ favoriteCount NOTIFY favoritesChanged FINAL)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged FINAL)
    // True from construction until the saved connections have been read from the keychain: until
    // then nobody knows whether the welcome view is wanted.
    Q_PROPERTY(bool readingConnections READ readingConnections NOTIFY readingConnectionsChanged FINAL)
    // The last message for the user; an empty text when there is none.
    Q_PROPERTY(QString notice READ noticeText NOTIFY noticeChanged FINAL)
    Q_PROPERTY(QVariant editingSource READ editingSourceForViews NOTIFY editingSourceChanged FINAL)
    // "live", "movies" or "series".
    Q_PROPERTY(QString section READ sectionText NOTIFY sectionChanged FINAL)
    Q_PROPERTY(QString favoriteSection READ favoriteSectionText WRITE setFavoriteSectionText NOTIFY
            favoriteSectionChanged FINAL)
    // Canonical upper-case ids; empty when none.
    Q_PROPERTY(QString selectedPersonalListID READ selectedPersonalListIDText NOTIFY selectedPersonalListIDChanged FINAL)
    Q_PROPERTY(QString personalReturnID READ personalReturnIDText NOTIFY personalReturnIDChanged FINAL)
    // The name of the personal list on screen, following renames; empty when none is.
    Q_PROPERTY(QString selectedPersonalListName READ selectedPersonalListName NOTIFY
            selectedPersonalListNameChanged FINAL)

    Q_PROPERTY(CatalogModel *catalog READ catalog CONSTANT FINAL)
    Q_PROPERTY(WatchHistory *history READ history CONSTANT FINAL)
    Q_PROPERTY(CatalogFavorites *catalogFavorites READ catalogFavorites CONSTANT FINAL)
    Q_PROPERTY(PersonalLists *personalLists READ personalLists CONSTANT FINAL)
    // The personal lists' ids and names, and how views create and rename them.
    Q_PROPERTY(PersonalListsModel *personalListsModel READ personalListsModel CONSTANT FINAL)
    // What the favourites browser lists, counts and does.
    Q_PROPERTY(FavoritesModel *favoritesBrowser READ favoritesBrowser CONSTANT FINAL)
    // Logos and the programme guide of the active connection.
    Q_PROPERTY(ProgrammeGuide *guide READ guide CONSTANT FINAL)

    // Playback: the player the video surface draws, what it plays and how it is going.
    Q_PROPERTY(MediaPlayer *player READ player NOTIFY playerChanged FINAL)
    Q_PROPERTY(QVariant currentChannel READ currentChannelForViews NOTIFY currentChannelChanged FINAL)
    Q_PROPERTY(bool isOnDemand READ isOnDemand NOTIFY isOnDemandChanged FINAL)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged FINAL)
    Q_PROPERTY(QString elapsed READ elapsed NOTIFY elapsedChanged FINAL)
    Q_PROPERTY(QString durationLabel READ durationLabel NOTIFY durationLabelChanged FINAL)
    Q_PROPERTY(double playbackPosition READ playbackPosition NOTIFY playbackPositionChanged FINAL)
    Q_PROPERTY(bool seekable READ seekable NOTIFY seekableChanged FINAL)
    Q_PROPERTY(QString diagnostics READ diagnostics NOTIFY diagnosticsChanged FINAL)
    Q_PROPERTY(QString playbackError READ playbackErrorText NOTIFY playbackErrorChanged FINAL)
    Q_PROPERTY(bool waiting READ waiting NOTIFY waitingChanged FINAL)
    Q_PROPERTY(double volume READ volume WRITE setVolume NOTIFY volumeChanged FINAL)
    Q_PROPERTY(bool showsCatalogPlayer READ showsCatalogPlayer NOTIFY showsCatalogPlayerChanged FINAL)
    // The episode after the one playing: {id, season, number, title}; undefined when there is none.
    Q_PROPERTY(QVariant nextEpisode READ nextEpisodeForViews NOTIFY nextEpisodeChanged FINAL)
    // Tracks, as lists of {id, name}.
    Q_PROPERTY(QVariantList subtitleTracks READ subtitleTracksForViews NOTIFY subtitleTracksChanged FINAL)
    Q_PROPERTY(int selectedSubtitle READ selectedSubtitle NOTIFY selectedSubtitleChanged FINAL)
    Q_PROPERTY(double subtitleDelay READ subtitleDelay NOTIFY subtitleDelayChanged FINAL)
    Q_PROPERTY(QString subtitleError READ subtitleErrorText NOTIFY subtitleErrorChanged FINAL)
    Q_PROPERTY(bool subtitleControlsOpen READ subtitleControlsOpen WRITE setSubtitleControlsOpen NOTIFY
            subtitleControlsOpenChanged FINAL)
    Q_PROPERTY(QVariantList audioTracks READ audioTracksForViews NOTIFY audioTracksChanged FINAL)
    Q_PROPERTY(int selectedAudio READ selectedAudio NOTIFY selectedAudioChanged FINAL)
    Q_PROPERTY(bool audioControlsOpen READ audioControlsOpen WRITE setAudioControlsOpen NOTIFY
            audioControlsOpenChanged FINAL)
    Q_PROPERTY(bool videoFullScreen READ videoFullScreen WRITE setVideoFullScreen NOTIFY videoFullScreenChanged FINAL)

public:
    enum class Section { live, movies, series };
    Q_ENUM(Section)

    // A subtitle or audio track the player offers.
    struct SubtitleTrack
    {
        qint32 id = -1;
        QString name;
        friend bool operator==(const SubtitleTrack &, const SubtitleTrack &) = default;
    };

    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    // Where the model keeps and fetches things. The application uses the standard preferences, the
    // application's keychain item and the network; tests give a preferences file and a keychain
    // service of their own.
    struct Environment
    {
        QSettings *preferences = nullptr; // not owned; must outlive the model
        QString keychainService;
        HTTPClient::Fetch fetch = HTTPClient::defaultFetch();
        // What the playback rules measure time with (the start watchdog, resume attempts, saves).
        Clock clock = [] { return std::chrono::steady_clock::now(); };
        // Whether a 0.5-second timer drives the playback tick; tests drive it with tick().
        // Where downloaded programme guides are kept between runs; empty: the user's cache folder.
        QString guideCacheFolder {};
        bool pollPlayback = true;
    };

    // Start-up, in this order: the stores and the catalogue model, the channel favourites, the saved
    // connections (a keychain that cannot be read gives a notice and disables saving for the run),
    // then the start connection ("activeSource", else the first saved one) loaded without saving.
    // The keychain is read asynchronously: `startedUp` is emitted once the start connection's load
    // has been requested (or there is none).
    explicit LibraryModel(QObject *parent = nullptr);
    LibraryModel(Environment environment, QObject *parent = nullptr);
    ~LibraryModel() override;

    static QString favoritesKey();
    static QString rawValue(Section section);
    static std::optional<Section> sectionFromRawValue(QStringView raw);

    // The user-facing Catalan text for any failure: an IPTVError's own message, a fixed sentence
    // per kind of transport failure, and one general sentence for everything else.
    static QString safeError(const std::exception_ptr &error);

    // --- connections ---------------------------------------------------------------------------
    const QList<PlaylistSource> &sources() const;
    const QList<PlaylistSource> &temporarySources() const;
    // `sources` followed by `temporarySources`.
    QList<PlaylistSource> allSources() const;
    bool canSave() const;
    const std::optional<QUuid> &activeID() const { return m_activeID; }
    std::optional<PlaylistSource> activeSource() const;
    const std::optional<PlaylistSource> &editingSource() const { return m_editingSource; }
    void setEditingSource(const std::optional<PlaylistSource> &source);

    // Loads `source`'s channels and, on success, makes it the active connection; `save` writes it to
    // the keychain, `temporary` keeps it for this run. `whenLoaded` runs after a successful load.
    // A newer request (or cancelLoad) drops this one's answer and message.
    void load(const PlaylistSource &source, bool save, bool temporary, std::function<void()> whenLoaded = {});
    // Repeats the latest load request (without its `whenLoaded`).
    Q_INVOKABLE void retry();
    // Leaves any personal list and loads `source` without saving it.
    void selectSource(const PlaylistSource &source);
    Q_INVOKABLE void selectSource(const QString &id);
    Q_INVOKABLE void cancelLoad();
    // Deletes a connection, its channel and catalogue favourites; if it was active, the first
    // remaining connection is loaded.
    void remove(const PlaylistSource &source);
    Q_INVOKABLE void remove(const QString &id);
    // The connection editor: a fresh connection (new id, empty texts, M3U) to add, or a copy of an
    // existing one to edit. The editor is shown while `editingSource` is set.
    Q_INVOKABLE void addSource();
    Q_INVOKABLE void editSource(const QString &id);
    // The editor's primary button: trims the name and address, validates the connection and, when it
    // is valid, loads it (saved to the keychain with `save`, kept for the session otherwise); a
    // successful load closes the editor. Returns the validation message, or an empty text when the
    // load has started.
    Q_INVOKABLE QString connectEditedSource(const QString &kind, const QString &name, const QString &address,
                                            const QString &username, const QString &password, bool save);
    // The editor's Cancel: abandons a test in progress and closes the editor, storing nothing.
    Q_INVOKABLE void closeEditor();

    // --- channels --------------------------------------------------------------------------------
    const QList<Channel> &channels() const;
    int channelCount() const;
    ChannelListModel *filteredChannels() const { return m_channelList; }
    ChannelCategoriesModel *categories() const;
    QString search() const;
    void setSearch(const QString &search);
    const std::optional<QString> &category() const;
    void setCategory(const std::optional<QString> &category);
    bool favoritesOnly() const;

    // --- channel favourites ------------------------------------------------------------------------
    const QSet<QString> &favorites() const { return m_favorites; }
    int favoriteCount() const { return int(m_favorites.size()); }
    bool isFavorite(const Channel &channel) const;
    void toggleFavorite(const Channel &channel);
    // The same for the channel shown at a row of `filteredChannels`.
    Q_INVOKABLE bool isFavoriteAt(int row) const;
    Q_INVOKABLE void toggleFavoriteAt(int row);
    // What "Afegeix a una llista…" offers for the channel shown at a row of `filteredChannels`
    // (a PersonalListContent); empty content without an active connection.
    Q_INVOKABLE QVariant personalContentForChannelAt(int row) const;
    // The same for the channels chosen in the channel list, and for every channel of the selected
    // category.
    Q_INVOKABLE QVariant personalContentForSelectedChannels() const;
    Q_INVOKABLE QVariant personalContentForCategoryChannels() const;

    // --- sections and navigation -------------------------------------------------------------------
    Section section() const { return m_section; }
    Section favoriteSection() const { return m_favoriteSection; }
    void setFavoriteSection(Section section);
    const std::optional<QUuid> &selectedPersonalListID() const { return m_selectedPersonalListID; }
    const std::optional<QUuid> &personalReturnID() const { return m_personalReturnID; }
    const QString &selectedPersonalListName() const { return m_selectedPersonalListName; }

    void selectSection(Section section);
    Q_INVOKABLE void selectSection(const QString &section);
    Q_INVOKABLE void showFavorites();
    // Reloads whatever is on screen: the personal list, the catalogue, or the channel list.
    Q_INVOKABLE void refreshCurrentView();
    void openPersonalList(const QUuid &id);
    Q_INVOKABLE void openPersonalList(const QString &id);
    // Plays a personal list's channel or shows its title, loading its connection first if needed.
    void openPersonalEntry(const PersonalEntry &entry);
    // Opens a personal list's movie or series group in the catalogue.
    void openPersonalCategory(const PersonalCategory &category);
    // Shows a catalogue title in its section.
    void openFavorite(const CatalogItem &item);

    CatalogModel *catalog() const { return m_catalog; }
    WatchHistory *history() const { return m_history; }
    CatalogFavorites *catalogFavorites() const { return m_catalogFavorites; }
    PersonalLists *personalLists() const { return m_personalLists; }
    PersonalListsModel *personalListsModel() const { return m_personalListsModel; }
    FavoritesModel *favoritesBrowser() const { return m_favoritesBrowser; }
    ProgrammeGuide *guide() const { return m_guide; }

    // --- playback ----------------------------------------------------------------------------------
    // Plays a channel; `onDemand` for movies and episodes. Every start goes through stop(), so every
    // start has a fresh player and its own 35-second window to show a picture or play a sound.
    void play(const Channel &channel, bool onDemand);
    // Plays the channel shown at a row of `filteredChannels`.
    Q_INVOKABLE void playAt(int row);
    // Ends playback (saving the position of a movie or episode) and prepares a fresh player.
    Q_INVOKABLE void stop();
    // Pauses or resumes; ignored while a start is pending or after a failure.
    Q_INVOKABLE void togglePlayback();
    // Jumps to a fraction of the length (on-demand media the player can seek only).
    Q_INVOKABLE void seek(double fraction);
    Q_INVOKABLE void retryPlayback();
    // Plays a movie's or episode's stream and resumes it where it was left.
    void playCatalog(const Channel &channel);
    // The same for the open title's movie, one of its episodes, and the episode after the current one.
    Q_INVOKABLE void playMovie();
    Q_INVOKABLE void playEpisode(const QString &episodeID);
    Q_INVOKABLE void playNextEpisode();
    // Stores the on-demand position in the watch history when the rules allow it.
    void saveProgress();
    // One playback poll: what the 0.5-second timer runs.
    void tick();

    Q_INVOKABLE void selectSubtitle(int id);
    Q_INVOKABLE void selectAudio(int id);
    // Seconds, clamped to −60…60; positive shows subtitles later.
    Q_INVOKABLE void setSubtitleDelay(double seconds);
    // Adds a subtitle file (a local file address) to the running stream.
    Q_INVOKABLE void loadSubtitleFile(const QUrl &url);
    // Whether `player` is still the model's player (a file chosen for an earlier stream is ignored).
    Q_INVOKABLE bool isCurrentPlayer(QObject *player) const;

    MediaPlayer *player() const { return m_player.get(); }
    const std::optional<Channel> &currentChannel() const { return m_currentChannel; }
    bool isOnDemand() const { return m_isOnDemand; }
    bool isPlaying() const { return m_isPlaying; }
    const QString &elapsed() const { return m_elapsed; }
    const QString &durationLabel() const { return m_durationLabel; }
    double playbackPosition() const { return m_playbackPosition; }
    bool seekable() const { return m_seekable; }
    const QString &diagnostics() const { return m_diagnostics; }
    const std::optional<QString> &playbackError() const { return m_playbackError; }
    bool waiting() const { return m_waiting; }
    double volume() const { return m_volume; }
    void setVolume(double volume);
    bool showsCatalogPlayer() const { return m_showsCatalogPlayer; }
    std::optional<CatalogEpisode> nextEpisode() const;
    const std::optional<QString> &historyKey() const { return m_historyKey; }
    double pendingResume() const { return m_pendingResume; }
    // Players stopped but not yet reported stopped.
    int retiringPlayerCount() const { return int(m_retiringPlayers.size()); }

    const QList<SubtitleTrack> &subtitleTracks() const { return m_subtitleTracks; }
    int selectedSubtitle() const { return m_selectedSubtitle; }
    double subtitleDelay() const { return m_subtitleDelay; }
    const std::optional<QString> &subtitleError() const { return m_subtitleError; }
    bool subtitleControlsOpen() const { return m_subtitleControlsOpen; }
    void setSubtitleControlsOpen(bool open);
    const QList<SubtitleTrack> &audioTracks() const { return m_audioTracks; }
    int selectedAudio() const { return m_selectedAudio; }
    bool audioControlsOpen() const { return m_audioControlsOpen; }
    void setAudioControlsOpen(bool open);
    bool videoFullScreen() const { return m_videoFullScreen; }
    void setVideoFullScreen(bool fullScreen);

    // The tracks a player lists, as the model publishes them: disabled entries dropped, unnamed
    // ones called "Pista <id>".
    static QList<SubtitleTrack> selectableTracks(const QList<MediaPlayer::Track> &tracks);

    const std::optional<QString> &notice() const { return m_notice; }
    bool isLoading() const { return m_isLoading; }
    bool readingConnections() const { return m_readingConnections; }

Q_SIGNALS:
    void startedUp();
    void sourcesChanged();
    void temporarySourcesChanged();
    void canSaveChanged();
    void activeIDChanged();
    void activeSourceChanged();
    void channelsChanged();
    void searchChanged();
    void categoryChanged();
    void favoritesOnlyChanged();
    void favoritesChanged();
    void isLoadingChanged();
    void readingConnectionsChanged();
    void noticeChanged();
    void editingSourceChanged();
    void sectionChanged();
    void favoriteSectionChanged();
    void selectedPersonalListIDChanged();
    void personalReturnIDChanged();
    void selectedPersonalListNameChanged();
    void playerChanged();
    void currentChannelChanged();
    void isOnDemandChanged();
    void isPlayingChanged();
    void elapsedChanged();
    void durationLabelChanged();
    void playbackPositionChanged();
    void seekableChanged();
    void diagnosticsChanged();
    void playbackErrorChanged();
    void waitingChanged();
    void volumeChanged();
    void showsCatalogPlayerChanged();
    void nextEpisodeChanged();
    void subtitleTracksChanged();
    void selectedSubtitleChanged();
    void subtitleDelayChanged();
    void subtitleErrorChanged();
    void subtitleControlsOpenChanged();
    void audioTracksChanged();
    void selectedAudioChanged();
    void audioControlsOpenChanged();
    void videoFullScreenChanged();

private:
    struct Attempt
    {
        PlaylistSource source;
        bool save = false;
        bool temporary = false;
    };

    QCoro::Task<> startUp();
    QCoro::Task<> runLoad(PlaylistSource source, bool save, bool temporary, std::function<void()> whenLoaded,
                          RequestSlot::Ticket ticket);
    QCoro::Task<> runRemove(PlaylistSource source);
    void finishRemove(const PlaylistSource &source);
    // Starts a navigation step: leaves the personal list and replaces the navigation identifier,
    // which abandons any step still waiting for a load.
    RequestSlot::Ticket navigate();
    // Runs `step` once `source` is the active connection (loading it first if needed), provided the
    // user has not navigated elsewhere meanwhile.
    void whenActive(const PlaylistSource &source, RequestSlot::Ticket navigation, std::function<void()> step);
    void openCatalog(Section section, const std::optional<CatalogItem> &item,
                     const std::optional<QString> &category);
    void persistFavorites();

    void setActiveID(const std::optional<QUuid> &id);
    void clearChannels();
    void setFavoritesOnly(bool favoritesOnly);
    void setIsLoading(bool isLoading);
    void setNotice(const std::optional<QString> &notice);
    void setSection(Section section);
    void setSelectedPersonalListID(const std::optional<QUuid> &id);
    void setPersonalReturnID(const std::optional<QUuid> &id);
    void updateSelectedPersonalListName();
    // Playback internals.
    void makePlayer();
    void retirePlayer();
    void startPendingChannel();
    void playerStateChanged(MediaPlayer *player, int state);
    void updateTracks();
    void resumeStep();
    void checkSubtitleFile();
    void resetResume();
    bool secondsPassed(const std::optional<std::chrono::steady_clock::time_point> &since, double seconds) const;

    void setCurrentChannel(const std::optional<Channel> &channel);
    void setIsOnDemand(bool isOnDemand);
    void setIsPlaying(bool isPlaying);
    void setElapsed(const QString &elapsed);
    void setDurationLabel(const QString &label);
    void setPlaybackPosition(double position);
    void setSeekable(bool seekable);
    void setDiagnostics(const QString &diagnostics);
    void setPlaybackError(const std::optional<QString> &error);
    void setWaiting(bool waiting);
    void setShowsCatalogPlayer(bool shows);
    void setSubtitleTracks(const QList<SubtitleTrack> &tracks);
    void setSelectedSubtitle(int id);
    void setSubtitleError(const std::optional<QString> &error);
    void setAudioTracks(const QList<SubtitleTrack> &tracks);
    void setSelectedAudio(int id);

    QVariantList sourcesForViews() const;
    QVariantList temporarySourcesForViews() const;
    QVariant activeSourceForViews() const;
    QVariant editingSourceForViews() const;
    QVariant categoryForViews() const;
    void setCategoryFromViews(const QVariant &category);
    QString activeIDText() const;
    QString noticeText() const { return m_notice.value_or(QString()); }
    QString sectionText() const { return rawValue(m_section); }
    QString favoriteSectionText() const { return rawValue(m_favoriteSection); }
    void setFavoriteSectionText(const QString &section);
    QString selectedPersonalListIDText() const;
    QString personalReturnIDText() const;
    QVariant currentChannelForViews() const;
    QString playbackErrorText() const { return m_playbackError.value_or(QString()); }
    QVariant nextEpisodeForViews() const;
    QVariantList subtitleTracksForViews() const;
    QVariantList audioTracksForViews() const;
    QString subtitleErrorText() const { return m_subtitleError.value_or(QString()); }

    std::unique_ptr<QSettings> m_ownedPreferences;
    QSettings &m_preferences;
    HTTPClient::Fetch m_fetch;

    CatalogFavorites *m_catalogFavorites = nullptr;
    PersonalLists *m_personalLists = nullptr;
    PersonalListsModel *m_personalListsModel = nullptr;
    WatchHistory *m_history = nullptr;
    CatalogModel *m_catalog = nullptr;
    ConnectionRegistry *m_connections = nullptr;
    ChannelListModel *m_channelList = nullptr;
    FavoritesModel *m_favoritesBrowser = nullptr;
    ProgrammeGuide *m_guide = nullptr;

    RequestSlot m_load;               // the channel load in flight
    RequestSlot m_navigation;         // the latest navigation, for steps that wait for a load
    std::optional<Attempt> m_lastAttempt;

    std::optional<QUuid> m_activeID;
    QSet<QString> m_favorites;
    bool m_isLoading = false;
    bool m_readingConnections = true;
    // Counts the notices shown, so that start-up can tell whether one came while the keychain was read.
    quint64 m_noticesShown = 0;
    std::optional<QString> m_notice;
    std::optional<PlaylistSource> m_editingSource;
    Section m_section = Section::live;
    Section m_favoriteSection = Section::live;
    std::optional<QUuid> m_selectedPersonalListID;
    std::optional<QUuid> m_personalReturnID;
    QString m_selectedPersonalListName;

    // Playback.
    using TimePoint = std::chrono::steady_clock::time_point;
    Clock m_clock;
    bool m_pollPlayback = true;
    std::unique_ptr<MediaPlayer> m_player;
    std::vector<std::unique_ptr<MediaPlayer>> m_retiringPlayers; // stopped, not yet reported stopped
    std::optional<Channel> m_pendingChannel;
    bool m_hasStarted = false;
    bool m_receivedMedia = false;
    QTimer *m_playbackTimer = nullptr;
    std::optional<TimePoint> m_playbackStarted;

    std::optional<Channel> m_currentChannel;
    bool m_isOnDemand = false;
    bool m_isPlaying = false;
    QString m_elapsed;
    QString m_durationLabel;
    double m_playbackPosition = 0;
    bool m_seekable = false;
    QString m_diagnostics;
    std::optional<QString> m_playbackError;
    bool m_waiting = false;
    double m_volume = 80;
    bool m_showsCatalogPlayer = false;

    // Resume and progress of a movie or episode.
    std::optional<QString> m_historyKey;
    double m_pendingResume = 0;
    int m_resumeAttempts = 0;
    std::optional<TimePoint> m_lastResumeAttempt;     // none: the distant past
    double m_resumeSaveFloor = 0;
    std::optional<TimePoint> m_lastHistorySave;       // none: the distant past

    QList<SubtitleTrack> m_subtitleTracks;
    int m_selectedSubtitle = -1;
    double m_subtitleDelay = 0;
    std::optional<QString> m_subtitleError;
    // A subtitle file handed to the player, until one of its tracks appears or the time is up.
    struct SubtitleFileCheck
    {
        QList<int> tracksBefore;
        TimePoint deadline;
    };
    std::optional<SubtitleFileCheck> m_subtitleFileCheck;
    bool m_subtitleControlsOpen = false;
    QList<SubtitleTrack> m_audioTracks;
    int m_selectedAudio = -1;
    bool m_audioControlsOpen = false;
    bool m_videoFullScreen = false;
};
