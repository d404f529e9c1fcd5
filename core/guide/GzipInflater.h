#pragma once

#include <QByteArrayView>

#include <functional>
#include <memory>

// Inflates gzip data as it arrives, handing the output on in pieces of at most `pieceBytes`, so that
// a compressed guide is never held whole once inflated. Several gzip members one after the other
// (as `cat a.gz b.gz` makes) read as one stream.
class GzipInflater
{
public:
    static constexpr qsizetype pieceBytes = 256 * 1024;

    // Whether `bytes` starts with the gzip magic (1f 8b).
    static bool hasMagic(QByteArrayView bytes);

    GzipInflater();
    ~GzipInflater();
    GzipInflater(const GzipInflater &) = delete;
    GzipInflater &operator=(const GzipInflater &) = delete;

    // Inflates `input` into `sink`. Once the data turns out damaged (or something that is not gzip
    // follows a member) the inflater stops: this and later calls hand on nothing more. Exceptions
    // thrown by `sink` pass through.
    void inflate(QByteArrayView input, const std::function<void(QByteArrayView)> &sink);

    // The data was damaged.
    bool isDamaged() const;
    // The last member ended where the input ended (false for data cut short).
    bool isComplete() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
