#pragma once

#include "ProviderOptions.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// One account of the provider's player_api.php.
struct ProviderAccount
{
    QString username;
    QString password;
    QString status; // "Active" or "Expired"
    QStringList outputFormats; // allowed_output_formats
    bool isActive() const;
};

// Everything the provider lists, as pure functions of the options: the same options give the same
// names, ids and categories, so tests compute what to expect from here. Immutable and safe to read
// from any thread.
//
// Indexes run from 0 to count − 1 in list order; ids are what the provider shows. The last five live
// channels are the test channels (LiveKind other than regular), in the last live category.
class ProviderCatalog
{
public:
    enum class LiveKind
    {
        regular, // a looping clip showing the channel's name
        radio, // audio only ("radio_streams")
        hls, // listed in playlists with its HLS address
        stalled, // sends the response head, then nothing
        missing, // answers 404
        shortLived, // a few seconds of media, then the response ends
    };
    // A clip generated for the live channels: the text it shows, its tone and its length.
    struct LiveClip
    {
        QString title;
        int toneHz = 440;
        bool video = true;
        int seconds = 8;
    };
    // Where an episode stands in its series.
    struct EpisodePlace
    {
        int series = 0;
        int season = 0;
        int number = 0;
    };

    static constexpr int testChannelCount = 5;
    static constexpr int posterCount = 4;
    static constexpr int logoCount = 4;
    static constexpr int movieSeconds = 30;

    explicit ProviderCatalog(const ProviderOptions &options);

    static const QList<ProviderAccount> &accounts();
    // The account with this user name and password, if any.
    static std::optional<ProviderAccount> account(QStringView username, QStringView password);
    static QString demoUsername();
    static QString demoPassword();

    // Live channels.
    int liveChannelCount() const { return m_liveChannels; }
    qint64 liveChannelID(int index) const;
    std::optional<int> liveChannelIndex(qint64 id) const;
    int liveChannelIndex(LiveKind kind) const; // the test channel of that kind; the first channel for regular
    LiveKind liveChannelKind(int index) const;
    QString liveChannelName(int index) const;
    QString liveChannelGuideID(int index) const; // tvg-id
    int liveChannelCategory(int index) const; // category index
    int liveChannelLogo(int index) const; // 1 … logoCount
    qint64 liveChannelAdded(int index) const; // seconds since 1970
    // The channel whose M3U entry asks for a custom user agent (#EXTVLCOPT).
    int userAgentChannel() const;
    static QString userAgentChannelAgent();
    int liveCategoryCount() const { return m_categories + 1; }
    QString liveCategoryID(int category) const;
    QString liveCategoryName(int category) const;

    // The clips the live channels play, and which one each channel plays (−1: none).
    QList<LiveClip> liveClips() const;
    int liveClipOf(int index) const;

    // Movies.
    int movieCount() const { return m_movies; }
    qint64 movieID(int index) const;
    std::optional<int> movieIndex(qint64 id) const;
    QString movieName(int index) const;
    int movieCategory(int index) const;
    int movieYear(int index) const;
    QString movieRating(int index) const; // "0.0" … "9.9"
    QString movieExtension(int index) const; // container_extension: "mp4" or "mkv"
    QString moviePlot(int index) const;
    qint64 movieAdded(int index) const;
    int moviePoster(int index) const; // 1 … posterCount
    int vodCategoryCount() const { return m_categories; }
    QString vodCategoryID(int category) const;
    QString vodCategoryName(int category) const;

    // Series and their episodes.
    int seriesCount() const { return m_series; }
    qint64 seriesID(int index) const;
    std::optional<int> seriesIndex(qint64 id) const;
    QString seriesName(int index) const;
    int seriesCategory(int index) const;
    int seriesYear(int index) const;
    QString seriesRating(int index) const;
    QString seriesPlot(int index) const;
    qint64 seriesModified(int index) const;
    int seriesPoster(int index) const;
    QString seriesExtension(int index) const; // of every episode
    // Season numbers, ascending; 0 (specials) comes first on the series that have it.
    QList<int> seasons(int index) const;
    int episodeCount(int index, int season) const;
    // Episodes are numbered from 1 within their season.
    qint64 episodeID(int index, int season, int number) const;
    QString episodeTitle(int index, int season, int number) const;
    std::optional<EpisodePlace> episodePlace(qint64 id) const;
    int seriesCategoryCount() const { return m_categories; }
    QString seriesCategoryID(int category) const;
    QString seriesCategoryName(int category) const;

private:
    quint64 roll(int stream, int index, int salt = 0) const;
    int regularSeasonCount(int index) const;
    bool hasSpecials(int index) const;

    int m_liveChannels;
    int m_movies;
    int m_series;
    int m_categories;
    quint64 m_seed;
};
