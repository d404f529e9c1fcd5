#pragma once

#include <QImage>
#include <QMutex>
#include <QQuickImageResponse>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>

// One picture an Image asked the artwork provider for. It is created on the engine's image thread,
// answered once (a picture, or nothing for a failure) from whichever thread has the answer, and
// deleted by the engine after `finished()`, which is always emitted in the response's own thread.
// A response the engine no longer wants (its delegate went away) is answered at once, with nothing.
class ArtworkResponse : public QQuickImageResponse
{
    Q_OBJECT

public:
    // The answering side, shared with the loader: it stays safe to use after the response is gone.
    class Reply
    {
    public:
        explicit Reply(QUrl url) : m_url(std::move(url)) {}

        const QUrl &url() const { return m_url; }
        // Any thread. The first answer counts; later ones, and answers to a response that no longer
        // exists, are ignored. A null picture answers a failure.
        void answer(const QImage &picture);

    private:
        friend class ArtworkResponse;
        const QUrl m_url;
        QMutex m_mutex;
        ArtworkResponse *m_response = nullptr; // guarded by m_mutex
        bool m_answered = false; // guarded by m_mutex
    };

    // `withdraw` is called, on the thread that cancels, when the engine no longer wants the picture.
    ArtworkResponse(QUrl url, std::function<void(std::shared_ptr<Reply>)> withdraw);
    ~ArtworkResponse() override;

    std::shared_ptr<Reply> reply() const { return m_reply; }
    // How many responses exist: the engine deletes each one after its answer. For tests, which
    // wait for none before they destroy an engine, and diagnostics.
    static int liveResponses() { return s_live; }

    QQuickTextureFactory *textureFactory() const override;
    QString errorString() const override;
    void cancel() override;

private:
    std::shared_ptr<Reply> m_reply;
    std::function<void(std::shared_ptr<Reply>)> m_withdraw;
    QImage m_picture; // written before finished() is posted, read by the engine after it
    static inline std::atomic<int> s_live{0};
};
