#pragma once

#include <QJsonObject>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <optional>

// One connection the user has configured: an M3U playlist address, or an Xtream Codes account.
// A mutable value; equal when all six fields are equal.
struct PlaylistSource
{
    enum class Kind { m3u, xtream };

    QUuid id;
    QString name;
    QString address; // stored as typed; trimmed at use
    QString username;
    QString password;
    Kind kind = Kind::m3u;

    PlaylistSource(QUuid id, QString name, QString address, QString username, QString password, Kind kind);

    // The check run before any network access and by the connection editor; throws IPTVError.
    QUrl validatedURL() const;
    // The same check; the address's absolute string as written (see acceptedEncodedURL).
    QByteArray validatedAddress() const;

    // Parses `text` as an absolute URL and accepts it only when it is http or https, has a host and
    // carries no user information; throws IPTVError otherwise. The single URL rule of the program:
    // user input, playlist entries, Xtream addresses and redirect targets all go through it.
    static QUrl httpURL(QStringView text);
    // The same rule applied to an address that has already been parsed.
    static bool isAcceptedHttpURL(const QUrl &url);
    // How the program parses address text everywhere (absolute or relative references).
    static QUrl parseURL(QStringView text);
    // The absolute string of an address that `httpURL(text)` accepts, or an empty array where it
    // would refuse. Text that is already in encoded form is kept exactly as written (no lower-casing,
    // no rewriting of escapes, ports or dot segments): two spellings of one address stay two
    // addresses. Text that needs encoding (blanks, letters outside ASCII) gets QUrl's encoded form.
    // Plain addresses — the vast majority in real playlists — are recognised without building a QUrl.
    static QByteArray acceptedEncodedURL(QStringView text);
    // Whether `text` is an http(s) address written so plainly that httpURL accepts it and QUrl writes it
    // back unchanged, which is decided without a QUrl.
    static bool isPlainHttpURL(QStringView text);
    // For such an address, where its authority ends (where its path or its query begins); -1 for any
    // other text.
    static qsizetype plainHttpAuthorityEnd(QStringView text);
    // The same, throwing httpURL's IPTVError where it would refuse.
    static QByteArray encodedHttpURL(QStringView text);

    // The address trimmed, without trailing slashes: the start of every Xtream URL.
    QString base() const;
    // "username=…&password=…", both percent-encoded.
    QString credentials() const;
    // Percent-encodes every UTF-8 byte except A–Z a–z 0–9 - . _ ~
    static QString encoded(QStringView text);

    QJsonObject toJson() const;
    // Throws JsonError when a key is missing, has the wrong type, or holds a bad UUID or kind.
    static PlaylistSource fromJson(const QJsonObject &object);

    static QString rawValue(Kind kind);
    static std::optional<Kind> kindFromRawValue(QStringView raw);
    static constexpr Kind allKinds[] = {Kind::m3u, Kind::xtream};

    friend bool operator==(const PlaylistSource &, const PlaylistSource &) = default;
};
