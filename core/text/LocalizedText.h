#pragma once

#include <QCollatorSortKey>
#include <QList>
#include <QString>

// The one place where the program compares and searches names as a person reads them: sorting
// follows the locale, ignores letter case and orders runs of digits by value ("Canal 2" before
// "Canal 10"); searching ignores case and diacritics ("cafe" finds "Café").
namespace LocalizedText {

// Negative, zero or positive, like a file browser orders names.
int compare(QStringView a, QStringView b);
inline bool lessThan(QStringView a, QStringView b) { return compare(a, b) < 0; }
// Precomputed form of `compare` for sorting many names: compare keys with QCollatorSortKey::compare.
QCollatorSortKey sortKey(const QString &text);

// The case-, diacritic- and width-folded form of a text. A name matches a query when the folded
// query is a substring of the folded name; precompute the names' folded forms to search many.
QString folded(QStringView text);
// Case- and diacritic-insensitive containment. An empty needle is contained in nothing.
bool contains(QStringView haystack, QStringView needle);

// User-perceived characters: a letter with its combining accents, or a character outside the basic
// plane, counts once.
qsizetype characterCount(const QString &text);
// The first `count` user-perceived characters of `text`, never cut inside one.
QString leftCharacters(const QString &text, qsizetype count);

} // namespace LocalizedText

// Folded names packed in one buffer, for searching a large list on every keystroke without touching
// per-item objects: one scan of the buffer finds every row whose name contains the query.
class FoldedNameIndex
{
public:
    void reserve(qsizetype names, qsizetype characters);
    void append(QStringView name);
    void clear();
    qsizetype size() const { return m_starts.size(); }
    // Memory held by the index, in bytes.
    qsizetype byteSize() const;

    // Rows whose name contains `query` (case- and diacritic-insensitive), ascending. An empty query
    // matches nothing: callers decide what an empty search shows.
    QList<qsizetype> rowsMatching(QStringView query) const;
    bool rowMatches(qsizetype row, QStringView foldedQuery) const;

private:
    QString m_buffer;            // folded names, each followed by a separator
    QList<qint32> m_starts;      // where each name starts in m_buffer
};
