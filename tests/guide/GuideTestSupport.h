#pragma once

#include "Listed.h"
#include "ProviderGuide.h"
#include "guide/XmltvParser.h"
#include "guide/XmltvTime.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <zlib.h>

#include <functional>
#include <stdexcept>

// Small XMLTV documents written in the tests, gzip streamed through zlib (a whole document is
// compressed by the local provider's ProviderGuide::gzip), and zlib's own reading of gzip files.
namespace GuideTestSupport {

// Seconds since 1970 of a UTC time written "YYYYMMDDhhmmss".
inline qint64 utc(const char *time)
{
    return *XmltvTime::parse(QByteArrayView(time));
}

inline QByteArray programme(const QByteArray &channel, const QByteArray &start, const QByteArray &stop,
                            const QByteArray &title, const QByteArray &children = {})
{
    QByteArray xml = "<programme start=\"" + start + "\"";
    if (!stop.isNull())
        xml += " stop=\"" + stop + "\"";
    return xml + " channel=\"" + channel + "\"><title lang=\"ca\">" + title + "</title>" + children + "</programme>\n";
}

// The whole guide, whatever the time, up to the usual size.
inline XmltvParser::Options keepAll()
{
    return XmltvParser::Options {GuideWindow::everything(), XmltvParser::defaultMaximumBytes};
}

inline QStringList titles(const QList<GuideProgramme> &programmes)
{
    return listed(programmes, &GuideProgramme::title);
}

inline QByteArray document(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE tv SYSTEM \"xmltv.dtd\">\n<tv>\n" + body + "</tv>\n";
}

// Gzip of the bytes `produce` hands over, piece after piece, until it returns an empty piece.
inline QByteArray gzipStream(const std::function<QByteArray()> &produce, int level = Z_DEFAULT_COMPRESSION)
{
    z_stream stream {};
    if (deflateInit2(&stream, level, Z_DEFLATED, 16 + MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("deflateInit2");
    QByteArray out;
    QByteArray buffer(256 * 1024, Qt::Uninitialized);
    for (;;) {
        QByteArray piece = produce();
        const int flush = piece.isEmpty() ? Z_FINISH : Z_NO_FLUSH;
        stream.next_in = reinterpret_cast<Bytef *>(piece.data());
        stream.avail_in = uInt(piece.size());
        int result = Z_OK;
        do {
            stream.next_out = reinterpret_cast<Bytef *>(buffer.data());
            stream.avail_out = uInt(buffer.size());
            result = deflate(&stream, flush);
            out.append(buffer.constData(), buffer.size() - qsizetype(stream.avail_out));
        } while (stream.avail_out == 0);
        if (flush == Z_FINISH && result == Z_STREAM_END)
            break;
    }
    deflateEnd(&stream);
    return out;
}

// The whole of a gzip file, inflated by zlib on its own (every member), or nothing if it is damaged.
inline QByteArray gunzip(const QByteArray &bytes)
{
    z_stream stream {};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
        return {};
    QByteArray out;
    QByteArray buffer(256 * 1024, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
    stream.avail_in = uInt(bytes.size());
    int result = Z_OK;
    while (result != Z_STREAM_END || stream.avail_in > 0) {
        if (result == Z_STREAM_END)
            inflateReset(&stream);
        stream.next_out = reinterpret_cast<Bytef *>(buffer.data());
        stream.avail_out = uInt(buffer.size());
        result = inflate(&stream, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END) {
            out.clear();
            break;
        }
        out.append(buffer.constData(), buffer.size() - qsizetype(stream.avail_out));
    }
    inflateEnd(&stream);
    return out;
}

} // namespace GuideTestSupport
