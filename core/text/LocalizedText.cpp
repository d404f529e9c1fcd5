#include "LocalizedText.h"

#include <QCollator>
#include <QLocale>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace {

// Names never contain U+0000 once folded, so it separates them in the packed index.
constexpr QChar separator = QChar(u'\0');

QCollator makeCollator()
{
    QLocale locale;
    // The "C" locale has no collation of its own; use the root ordering of the Unicode collation
    // algorithm, which is what a person expects when no language is set.
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setIgnorePunctuation(false);
    return collator;
}

// QCollator is not safe to share between threads; each thread gets its own.
const QCollator &collator()
{
    thread_local const QCollator instance = makeCollator();
    return instance;
}

bool isAscii(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

} // namespace

namespace LocalizedText {

int compare(QStringView a, QStringView b)
{
    return collator().compare(a, b);
}

QCollatorSortKey sortKey(const QString &text)
{
    return collator().sortKey(text);
}

QString folded(QStringView text)
{
    if (isAscii(text)) {
        QString result(text.size(), Qt::Uninitialized);
        QChar *out = result.data();
        for (const QChar c : text) {
            const char16_t u = c.unicode();
            *out++ = QChar(u >= u'A' && u <= u'Z' ? char16_t(u + 32) : (u == 0 ? u' ' : u));
        }
        return result;
    }
    // Compatibility decomposition splits accents from their letters and maps width and ligature
    // variants to their plain forms; the accents are then dropped and the case folded.
    const QString decomposed = text.toString().normalized(QString::NormalizationForm_KD);
    QString result;
    result.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        const QChar::Category category = c.category();
        if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing)
            continue;
        result.append(c.unicode() == 0 ? QChar(u' ') : c);
    }
    return result.toCaseFolded();
}

bool contains(QStringView haystack, QStringView needle)
{
    if (needle.isEmpty())
        return false;
    return folded(haystack).contains(folded(needle));
}

qsizetype characterCount(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QString leftCharacters(const QString &text, qsizetype count)
{
    if (count <= 0)
        return QString();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype taken = 0; taken < count; ++taken) {
        const qsizetype next = finder.toNextBoundary();
        if (next == -1)
            return text;
        end = next;
    }
    return text.left(end);
}

} // namespace LocalizedText

void FoldedNameIndex::reserve(qsizetype names, qsizetype characters)
{
    m_starts.reserve(names);
    m_buffer.reserve(characters + names);
}

void FoldedNameIndex::append(QStringView name)
{
    m_starts.append(qint32(m_buffer.size()));
    m_buffer.append(LocalizedText::folded(name));
    m_buffer.append(separator);
}

void FoldedNameIndex::clear()
{
    m_buffer.clear();
    m_starts.clear();
}

qsizetype FoldedNameIndex::byteSize() const
{
    return m_buffer.capacity() * qsizetype(sizeof(QChar)) + m_starts.capacity() * qsizetype(sizeof(qint32));
}

QList<qsizetype> FoldedNameIndex::rowsMatching(QStringView query) const
{
    QList<qsizetype> rows;
    const QString needle = LocalizedText::folded(query);
    if (needle.isEmpty())
        return rows;
    const QStringView haystack(m_buffer);
    qsizetype from = 0;
    qsizetype row = 0;
    while (true) {
        const qsizetype hit = haystack.indexOf(needle, from);
        if (hit < 0)
            break;
        // The row whose name holds the hit: the last start at or before it. Hits come in order, so
        // walking forward from the previous row costs less than a search per hit.
        while (row + 1 < m_starts.size() && m_starts[row + 1] <= hit)
            ++row;
        rows.append(row);
        // Skip to the next name: one hit per row is enough.
        from = row + 1 < m_starts.size() ? m_starts[row + 1] : m_buffer.size();
    }
    return rows;
}

bool FoldedNameIndex::rowMatches(qsizetype row, QStringView foldedQuery) const
{
    const qsizetype start = m_starts[row];
    const qsizetype end = row + 1 < m_starts.size() ? m_starts[row + 1] - 1 : m_buffer.size() - 1;
    return QStringView(m_buffer).mid(start, end - start).contains(foldedQuery);
}
