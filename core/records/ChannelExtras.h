#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

// What a playlist or an Xtream account says about its channels beyond what a Channel holds: per
// channel, in the channel list's order, the programme guide's id for it ("tvg-id", "epg_channel_id")
// and its logo's address ("tvg-logo", "stream_icon"); per list, the guide addresses its header names
// ("url-tvg", "x-tvg-url"). Kept apart from the channels, whose identity these never touch, and
// compactly: one UTF-8 buffer and two offsets per channel.
class ChannelExtras
{
public:
    void reserve(qsizetype channels);
    // The next channel's fields; empty texts when the source gives none.
    void append(QStringView guideID, QStringView logo);

    qsizetype size() const { return m_ends.size() / 2; }
    QString guideID(qsizetype channel) const { return field(2 * channel); }
    QString logo(qsizetype channel) const { return field(2 * channel + 1); }

    // Every address of the header's attributes, in order, each once ("url-tvg" and "x-tvg-url" may
    // list several, separated by commas).
    const QStringList &guideAddresses() const { return m_guideAddresses; }
    void addGuideAddresses(QStringView commaSeparated);
    void setGuideAddresses(QStringList addresses) { m_guideAddresses = std::move(addresses); }

    // Gives back what growing left unused, once the list is complete.
    void squeeze()
    {
        m_text.squeeze();
        m_ends.squeeze();
    }
    qsizetype byteSize() const;

    friend bool operator==(const ChannelExtras &, const ChannelExtras &) = default;

private:
    QString field(qsizetype index) const;

    QByteArray m_text;
    QList<quint32> m_ends;
    QStringList m_guideAddresses;
};

// A list of live channels with what its source said beside them.
struct ChannelListing
{
    QList<class Channel> channels;
    ChannelExtras extras;
};
