#include "ChannelExtras.h"
#include "Channel.h"

void ChannelExtras::reserve(qsizetype channels)
{
    m_ends.reserve(2 * channels);
}

void ChannelExtras::append(QStringView guideID, QStringView logo)
{
    for (const QStringView text : {guideID.trimmed(), logo.trimmed()}) {
        m_text.append(text.toUtf8());
        m_ends.append(quint32(m_text.size()));
    }
}

QString ChannelExtras::field(qsizetype index) const
{
    if (index < 0 || index >= m_ends.size())
        return QString();
    const quint32 start = index == 0 ? 0 : m_ends.at(index - 1);
    return QString::fromUtf8(m_text.constData() + start, qsizetype(m_ends.at(index) - start));
}

void ChannelExtras::addGuideAddresses(QStringView commaSeparated)
{
    for (const QStringView part : commaSeparated.split(u',')) {
        const QString address = part.trimmed().toString();
        if (!address.isEmpty() && !m_guideAddresses.contains(address))
            m_guideAddresses.append(address);
    }
}

qsizetype ChannelExtras::byteSize() const
{
    return m_text.capacity() + m_ends.capacity() * qsizetype(sizeof(quint32));
}
