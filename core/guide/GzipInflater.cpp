#include "GzipInflater.h"

#include <QByteArray>

#include <zlib.h>

#include <algorithm>
#include <new>

struct GzipInflater::State
{
    z_stream stream {};
    QByteArray output = QByteArray(pieceBytes, Qt::Uninitialized);
    bool damaged = false;
    bool memberEnded = false; // the last member read reached its end

    State()
    {
        // 16 + window bits: a gzip header and trailer, checked.
        if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
            throw std::bad_alloc();
    }
    ~State() { inflateEnd(&stream); }
};

bool GzipInflater::hasMagic(QByteArrayView bytes)
{
    return bytes.size() >= 2 && quint8(bytes[0]) == 0x1f && quint8(bytes[1]) == 0x8b;
}

GzipInflater::GzipInflater()
    : m_state(std::make_unique<State>())
{
}

GzipInflater::~GzipInflater() = default;

void GzipInflater::inflate(QByteArrayView input, const std::function<void(QByteArrayView)> &sink)
{
    State &state = *m_state;
    z_stream &stream = state.stream;
    while (!input.isEmpty() && !state.damaged) {
        if (state.memberEnded) {
            // Another member may follow; anything else ends the data (padding of zeros is common).
            if (quint8(input[0]) != 0x1f) {
                state.damaged = std::any_of(input.begin(), input.end(), [](char c) { return c != 0; });
                return;
            }
            inflateReset(&stream);
            state.memberEnded = false;
        }
        // zlib counts in 32-bit units: hand it the input a gigabyte at a time.
        const auto chunk = input.first(std::min<qsizetype>(input.size(), 1 << 30));
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(chunk.data()));
        stream.avail_in = uInt(chunk.size());
        int result = Z_OK;
        do {
            stream.next_out = reinterpret_cast<Bytef *>(state.output.data());
            stream.avail_out = uInt(state.output.size());
            result = ::inflate(&stream, Z_NO_FLUSH);
            // What came out before any damage is handed on: a bad checksum at the very end must not
            // cost the last piece, whatever pieces the input came in.
            const qsizetype produced = state.output.size() - qsizetype(stream.avail_out);
            if (produced > 0)
                sink(QByteArrayView(state.output.constData(), produced));
            if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
                state.damaged = true;
                return;
            }
            if (result == Z_STREAM_END) {
                state.memberEnded = true;
                break;
            }
            if (result == Z_BUF_ERROR && produced == 0)
                break; // needs more input than there is

        } while (stream.avail_in > 0 || stream.avail_out == 0);
        input = input.sliced(chunk.size() - qsizetype(stream.avail_in));
    }
}

bool GzipInflater::isDamaged() const
{
    return m_state->damaged;
}

bool GzipInflater::isComplete() const
{
    return m_state->memberEnded && !m_state->damaged;
}
