#pragma once

#include "GuideBuilder.h"
#include "GuideData.h"
#include "GuideWindow.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>

#include <memory>
#include <optional>

class GzipInflater;

// Reads an XMLTV programme guide as its bytes arrive: plain XML, or gzip (told by its first two
// bytes) inflated piece by piece, so that neither the inflated text nor the document is ever held
// whole. Only what GuideData needs is read: each `<channel id>` with its `<display-name>`s, and each
// `<programme start stop channel>` with its first `<title>`, `<sub-title>`, `<desc>` and `<category>`.
// Programmes outside the window are skipped without reading their texts.
//
// A hand-written scanner rather than QXmlStreamReader: it looks only for what it needs and goes
// straight past the rest (bench/guide has the figures). It is no validator, and it never expands an
// entity the document declares itself: "&name;" stays as written, so an entity bomb costs its own
// bytes and nothing more. The five predefined entities and character references are read.
//
// Outcome (finish):
// - a guide that was read to its end gives everything it holds in the window;
// - a guide cut short or broken after at least one programme gives what was complete before the
//   break, without complaint (summary().complete tells);
// - anything else (not XML, not a `<tv>` document, broken before any programme) is refused with
//   invalidMessage().
// Going past `maximumBytes` of XML (inflated, for gzip) stops feed() at once with sizeLimitMessage().
class XmltvParser
{
public:
    static constexpr qint64 defaultMaximumBytes = 200LL * 1024 * 1024;

    struct Options
    {
        GuideWindow window = GuideWindow::everything();
        qint64 maximumBytes = defaultMaximumBytes;
    };

    struct Summary
    {
        qsizetype channels = 0; // <channel> elements with an id
        qsizetype programmes = 0; // <programme> elements with a valid start and a channel, kept or not
        qint64 xmlBytes = 0; // after inflating
        bool compressed = false;
        bool complete = false; // the document was read to its closing </tv>
    };

    XmltvParser();
    explicit XmltvParser(Options options);
    ~XmltvParser();
    XmltvParser(const XmltvParser &) = delete;
    XmltvParser &operator=(const XmltvParser &) = delete;

    // The next bytes of the document. Throws IPTVError past the size limit.
    void feed(QByteArrayView bytes);
    // The end of the document: the guide, or IPTVError (see above). Call once.
    GuideData finish();
    const Summary &summary() const { return m_summary; }

    // feed + finish.
    static GuideData parse(QByteArrayView bytes);
    static GuideData parse(QByteArrayView bytes, Options options);

    static QString invalidMessage();
    static QString sizeLimitMessage(qint64 maximumBytes);

private:
    enum class State
    {
        prologue, // before the root element
        document, // inside <tv>
        ended, // </tv> read
        broken, // malformed after the root started
        notAGuide, // not XML, or another root
    };
    enum class Encoding
    {
        utf8,
        latin1,
        other, // through m_decoder
    };

    void scan(QByteArrayView xml);
    qsizetype process(QByteArrayView data);
    qsizetype processPrologue(QByteArrayView data, qsizetype at);
    void readDeclaration(QByteArrayView declaration);
    void readChannel(QByteArrayView tag, QByteArrayView content);
    void readProgramme(QByteArrayView tag, QByteArrayView content, bool selfClosing);
    // Collects the texts of the children named in `names` (each at most once when `firstOnly`);
    // `found(index)` is called when one is complete, its text in m_texts[index]. Markup broken inside
    // the element ends the reading there and returns false: the element keeps what came before it,
    // and the rest of the guide is read (whether a programme's texts are read at all depends on the
    // window, so a break inside one must not decide how much of the guide is read).
    template<typename Found>
    bool readChildren(QByteArrayView content, const QByteArrayView *names, int count, bool firstOnly, Found found);
    void appendText(QByteArray &out, const char *begin, const char *end);
    void appendRaw(QByteArray &out, const char *begin, const char *end);

    Options m_options;
    Summary m_summary;
    State m_state = State::prologue;
    Encoding m_encoding = Encoding::utf8;
    QStringDecoder m_decoder;
    int m_depth = 0; // inside the root: 1 for its children
    bool m_formatKnown = false;
    QByteArray m_head; // the first byte, while waiting for the second to tell gzip
    std::unique_ptr<GzipInflater> m_inflater;
    QByteArray m_pending; // the start of an element or markup not complete yet
    qsizetype m_rescanAt = 0; // m_pending is read again once it holds this much
    QByteArray m_texts[4];
    GuideBuilder m_builder;
};
