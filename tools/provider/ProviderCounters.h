#pragma once

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QString>

#include <algorithm>
#include <atomic>

// What the server is doing right now, updated by its thread and readable from any other.
struct ProviderCounters
{
    std::atomic<int> connections {0};
    std::atomic<int> streams {0}; // live and stalled responses in progress
    std::atomic<long long> requests {0};

    // Requests under /images/, and the picture answers in progress: from the request to the last
    // byte handed to the socket, a configured delay included.
    std::atomic<long long> imageRequests {0};
    std::atomic<int> imageAnswers {0};
    std::atomic<int> peakImageAnswers {0};

    void countImageRequest(const QString &pathAndQuery)
    {
        ++imageRequests;
        const QMutexLocker locker(&m_mutex);
        ++m_imageRequestsByAddress[pathAndQuery];
    }
    // How many times each "/images/<name>?<query>" was asked for, as sent by the clients.
    QHash<QString, int> imageRequestsByAddress() const
    {
        const QMutexLocker locker(&m_mutex);
        return m_imageRequestsByAddress;
    }
    void imageAnswerStarted()
    {
        const int now = ++imageAnswers;
        int peak = peakImageAnswers.load();
        while (now > peak && !peakImageAnswers.compare_exchange_weak(peak, now)) {
        }
    }
    void imageAnswerEnded() { --imageAnswers; }

private:
    mutable QMutex m_mutex;
    QHash<QString, int> m_imageRequestsByAddress;
};
