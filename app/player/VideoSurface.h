#pragma once

#include "MediaPlayer.h"
#include "VideoFrame.h"

#include <QMetaObject>
#include <QPointer>
#include <QQuickItem>
#include <QRectF>
#include <QSize>

// Draws the pictures of a MediaPlayer in Qt Quick: the picture keeps its aspect ratio, centred on
// black. A plain texture item rather than Qt Multimedia's VideoOutput, which stays black on the
// software scene graph (offscreen platform).
//
// In QML: VideoSurface { player: … } (module "Quenvo", see PlayerQmlTypes.h).
//
// It holds a copy of the last picture (never libVLC's buffer), so a player may be switched, stopped
// or destroyed at any moment; the last picture stays on screen while its player lives, and the
// surface turns black when it is given another player or none.
class VideoSurface : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(MediaPlayer *player READ player WRITE setPlayer NOTIFY playerChanged FINAL)
    Q_PROPERTY(int frameCount READ frameCount NOTIFY frameCountChanged FINAL)
    Q_PROPERTY(QSize pictureSize READ pictureSize NOTIFY pictureChanged FINAL)
    Q_PROPERTY(QRectF pictureRect READ pictureRect NOTIFY pictureChanged FINAL)

public:
    explicit VideoSurface(QQuickItem *parent = nullptr);
    ~VideoSurface() override;

    MediaPlayer *player() const { return m_player; }
    void setPlayer(MediaPlayer *player);

    // Pictures received from the current player.
    int frameCount() const { return m_frameCount; }
    // The size the current picture is shown at before scaling (its aspect ratio); empty when black.
    QSize pictureSize() const { return m_frame.displaySize; }
    // Where the picture is drawn, in item coordinates; empty when black.
    QRectF pictureRect() const;
    // The picture shown; null when black.
    const VideoFrame &frame() const { return m_frame; }

Q_SIGNALS:
    void playerChanged();
    void frameCountChanged();
    void pictureChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    void attach(MediaPlayer *player);
    void takeFrame();
    void showFrame(VideoFrame frame);

    QPointer<MediaPlayer> m_player;
    QMetaObject::Connection m_frameConnection;
    QMetaObject::Connection m_destroyedConnection;
    VideoFrame m_frame;
    int m_frameCount = 0;
    bool m_textureDirty = false;
};
