#pragma once

#include "GuideData.h"

#include <QHash>
#include <QList>
#include <QString>

// Finds each of our channels in a guide: by the guide identifier the playlist gives it (exactly,
// then ignoring letter case), else by its name against the guide's display names, both folded with
// LocalizedText::folded and their blanks collapsed. When several guide channels fit, the first in
// the guide wins.
class GuideMatcher
{
public:
    static constexpr qsizetype noMatch = -1;

    struct Subject
    {
        QString guideId; // the playlist's guide identifier ("tvg-id"), may be empty
        QString foldedName; // LocalizedText::folded of the channel's name
    };

    explicit GuideMatcher(const GuideData &guide);

    // The guide channel of `subject`, or noMatch.
    qsizetype match(const Subject &subject) const;
    // One answer per subject, in order.
    QList<qsizetype> match(const QList<Subject> &subjects) const;

    // The form names are compared in: LocalizedText::folded, blanks collapsed to one space, trimmed.
    static QString comparable(QStringView name);

private:
    QHash<QString, qsizetype> m_ids;
    QHash<QString, qsizetype> m_foldedIds;
    QHash<QString, qsizetype> m_names;
};
