#include "VideoSurface.h"

#include "MediaPlayer.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGTexture>

#include <memory>

namespace {

// The surface in the scene graph: a black rectangle and, over it, the picture. It owns the
// picture's texture (image nodes do not delete theirs), one per picture shown.
class SurfaceNode : public QSGNode
{
public:
    explicit SurfaceNode(QQuickWindow *window)
        : background(window->createRectangleNode())
    {
        background->setColor(Qt::black);
        appendChildNode(background);
    }
    ~SurfaceNode() override { showNothing(); }

    void show(QQuickWindow *window, const QImage &image, const QRectF &rect)
    {
        std::unique_ptr<QSGTexture> next(window->createTextureFromImage(image));
        if (!picture) {
            // Complete before it joins the tree: the software renderer reads the texture at once.
            picture = window->createImageNode();
            picture->setFiltering(QSGTexture::Linear);
            picture->setTexture(next.get());
            picture->setRect(rect);
            appendChildNode(picture);
        } else {
            picture->setTexture(next.get());
            picture->setRect(rect);
        }
        texture = std::move(next); // the previous texture goes once the node no longer uses it
    }

    void showNothing()
    {
        if (picture) {
            removeChildNode(picture);
            delete picture;
            picture = nullptr;
        }
        texture.reset();
    }

    QSGRectangleNode *const background;
    QSGImageNode *picture = nullptr;
    std::unique_ptr<QSGTexture> texture;
};

} // namespace

VideoSurface::VideoSurface(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

VideoSurface::~VideoSurface() = default;

void VideoSurface::setPlayer(MediaPlayer *player)
{
    if (m_player == player)
        return;
    attach(player);
}

void VideoSurface::attach(MediaPlayer *player)
{
    disconnect(m_frameConnection);
    disconnect(m_destroyedConnection);
    m_player = player;
    const int previousCount = m_frameCount;
    m_frameCount = 0;
    showFrame({});
    if (player) {
        m_frameConnection = connect(player, &MediaPlayer::frameReady, this, &VideoSurface::takeFrame);
        // A player destroyed while shown leaves the surface black, as if it had been unset (the
        // QPointer is already null by then, so setPlayer(nullptr) would see no change).
        m_destroyedConnection = connect(player, &QObject::destroyed, this, [this] { attach(nullptr); });
        if (!player->currentFrame().isNull())
            takeFrame();
    }
    if (m_frameCount != previousCount)
        Q_EMIT frameCountChanged();
    Q_EMIT playerChanged();
}

QRectF VideoSurface::pictureRect() const
{
    const QSizeF picture = m_frame.displaySize;
    if (m_frame.isNull() || picture.isEmpty() || width() <= 0 || height() <= 0)
        return {};
    const QSizeF fitted = picture.scaled(size(), Qt::KeepAspectRatio);
    return QRectF(QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
}

void VideoSurface::takeFrame()
{
    if (!m_player)
        return;
    VideoFrame frame = m_player->currentFrame();
    if (frame.isNull() || frame.serial == m_frame.serial)
        return;
    ++m_frameCount;
    showFrame(std::move(frame));
    Q_EMIT frameCountChanged();
}

void VideoSurface::showFrame(VideoFrame frame)
{
    const bool pictureChanges
        = frame.displaySize != m_frame.displaySize || frame.isNull() != m_frame.isNull();
    m_frame = std::move(frame);
    m_textureDirty = true;
    update();
    if (pictureChanges)
        Q_EMIT pictureChanged();
}

void VideoSurface::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        update();
        if (!m_frame.isNull())
            Q_EMIT pictureChanged();
    }
}

QSGNode *VideoSurface::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    // Render thread, with the main thread blocked: m_frame cannot change meanwhile.
    auto *node = static_cast<SurfaceNode *>(oldNode);
    // The software renderer places a child added to a subtree it has already laid out at the window's
    // origin, not at this item: the first picture gets a subtree of its own.
    if (node && !node->picture && !m_frame.isNull()) {
        delete node;
        node = nullptr;
    }
    if (!node)
        node = new SurfaceNode(window());
    node->background->setRect(boundingRect());

    if (m_frame.isNull()) {
        node->showNothing();
    } else if (!node->picture || m_textureDirty) {
        node->show(window(), m_frame.image, pictureRect());
    } else {
        node->picture->setRect(pictureRect());
    }
    m_textureDirty = false;
    return node;
}
