#include "GuideMatcher.h"
#include "text/LocalizedText.h"

namespace {

// Blanks collapsed and trimmed; `text` is returned as it is when it has nothing to collapse.
QString collapsed(const QString &text)
{
    bool simple = !text.isEmpty() && !text.front().isSpace() && !text.back().isSpace();
    for (qsizetype i = 1; simple && i < text.size(); ++i)
        simple = !(text[i].isSpace() && (text[i - 1].isSpace() || text[i] != u' '));
    return simple ? text : text.simplified();
}

} // namespace

GuideMatcher::GuideMatcher(const GuideData &guide)
{
    m_ids.reserve(guide.channelCount());
    m_foldedIds.reserve(guide.channelCount());
    m_names.reserve(guide.channelCount());
    for (qsizetype channel = 0; channel < guide.channelCount(); ++channel) {
        const QString &id = guide.channelId(channel);
        m_ids.insert(id, channel); // ids are unique in a GuideData
        const QString foldedId = id.toCaseFolded();
        if (!m_foldedIds.contains(foldedId))
            m_foldedIds.insert(foldedId, channel);
        for (const QString &name : guide.displayNames(channel)) {
            const QString key = comparable(name);
            if (!key.isEmpty() && !m_names.contains(key))
                m_names.insert(key, channel);
        }
    }
}

QString GuideMatcher::comparable(QStringView name)
{
    return collapsed(LocalizedText::folded(name));
}

qsizetype GuideMatcher::match(const Subject &subject) const
{
    if (!subject.guideId.isEmpty()) {
        if (auto found = m_ids.constFind(subject.guideId); found != m_ids.constEnd())
            return *found;
        if (auto found = m_foldedIds.constFind(subject.guideId.toCaseFolded()); found != m_foldedIds.constEnd())
            return *found;
    }
    if (!subject.foldedName.isEmpty()) {
        if (auto found = m_names.constFind(collapsed(subject.foldedName)); found != m_names.constEnd())
            return *found;
    }
    return noMatch;
}

QList<qsizetype> GuideMatcher::match(const QList<Subject> &subjects) const
{
    QList<qsizetype> matches;
    matches.reserve(subjects.size());
    for (const Subject &subject : subjects)
        matches.append(match(subject));
    return matches;
}
