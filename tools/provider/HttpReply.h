#pragma once

#include <QByteArray>
#include <QList>

#include <utility>

// What the provider answers to one request: a status, headers, and a body that is either a slice
// of bytes, a live stream fed at a given pace, or nothing ever (a stalled stream).
struct HttpReply
{
    enum class Body
    {
        fixed, // `body` from `offset`, `length` bytes, with Content-Length
        live, // `body` fed at `bytesPerSecond` after `burstBytes`, looping or once; close-delimited
        stalled, // the head, then silence until the client leaves
    };

    int status = 200;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    qint64 offset = 0;
    qint64 length = -1; // −1: to the end of `body`
    Body kind = Body::fixed;
    double bytesPerSecond = 0;
    qint64 burstBytes = 0;
    bool loop = true;
    // The answer is sent after this many milliseconds; the connection waits on a timer meanwhile.
    int delayMs = 0;
    // A picture: counted in ProviderCounters' image answers while it is in progress.
    bool image = false;

    qint64 bodyLength() const { return length < 0 ? body.size() - offset : length; }
    void addHeader(QByteArray name, QByteArray value) { headers.append({std::move(name), std::move(value)}); }

    // A small text answer ("Not Found\n"…), for errors and plain pages.
    static HttpReply text(int status, QByteArray text, QByteArray contentType = "text/plain; charset=utf-8")
    {
        HttpReply reply;
        reply.status = status;
        reply.body = std::move(text);
        reply.addHeader("Content-Type", std::move(contentType));
        return reply;
    }
};
