#pragma once

#include "MediaPlayer.h"
#include "VideoSurface.h"

#include <QtQml/qqmlregistration.h>

// The player types as the QML module "Quenvo" knows them. They live in the QuenvoPlayer library,
// which is not a QML module of its own, so the module's target registers them from here.

struct VideoSurfaceForeign
{
    Q_GADGET
    QML_FOREIGN(VideoSurface)
    QML_NAMED_ELEMENT(VideoSurface)
};

struct MediaPlayerForeign
{
    Q_GADGET
    QML_FOREIGN(MediaPlayer)
    QML_NAMED_ELEMENT(MediaPlayer)
    QML_UNCREATABLE("Players are made by the library model.")
};
