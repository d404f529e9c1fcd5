#include "MprisRootAdaptor.h"

#include "Mpris.h"

using namespace Qt::StringLiterals;

MprisRootAdaptor::MprisRootAdaptor(Mpris *mpris)
    : QDBusAbstractAdaptor(mpris)
    , m_mpris(mpris)
{
}

QString MprisRootAdaptor::identity() const
{
    return u"Quenvo"_s;
}

QString MprisRootAdaptor::desktopEntry() const
{
    return u"app.quenvo.Quenvo"_s;
}

// What OpenUri takes: playlists, on the web or on this computer.
QStringList MprisRootAdaptor::supportedUriSchemes() const
{
    return {u"http"_s, u"https"_s, u"file"_s};
}

QStringList MprisRootAdaptor::supportedMimeTypes() const
{
    return {u"audio/x-mpegurl"_s, u"application/x-mpegurl"_s, u"application/vnd.apple.mpegurl"_s,
            u"audio/mpegurl"_s};
}

void MprisRootAdaptor::Raise()
{
    Q_EMIT m_mpris->raiseRequested();
}

void MprisRootAdaptor::Quit()
{
    Q_EMIT m_mpris->quitRequested();
}
