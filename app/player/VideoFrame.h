#pragma once

#include <QImage>
#include <QSize>

// One decoded picture, as the video surface draws it.
//
// libVLC hands out pictures in a buffer of its own choosing, often a few lines taller than the
// picture (640×386 for a 640×360 stream, 1920×1090 for 1080p) and with the whole picture scaled into
// it, and it does not apply the pixel aspect ratio of anamorphic streams. So `image` holds the whole
// picture, and `displaySize` is the size it must be shown at (the stream's own picture size with its
// pixel aspect applied), which gives the aspect ratio to keep.
struct VideoFrame
{
    QImage image; // Format_RGB32; a copy owned by whoever holds it, never libVLC's buffer
    QSize displaySize;
    quint64 serial = 0; // counts the pictures libVLC displayed, 1 for the first

    bool isNull() const { return image.isNull(); }
};
