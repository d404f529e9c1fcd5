#pragma once

#include <QDBusAbstractAdaptor>
#include <QStringList>

class Mpris;

// org.mpris.MediaPlayer2: who the player is and what the desktop may ask of its window.
// D-Bus properties: they never change while the program runs.
class MprisRootAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ canQuit CONSTANT FINAL)
    Q_PROPERTY(bool CanRaise READ canRaise CONSTANT FINAL)
    Q_PROPERTY(bool HasTrackList READ hasTrackList CONSTANT FINAL)
    Q_PROPERTY(QString Identity READ identity CONSTANT FINAL)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry CONSTANT FINAL)
    Q_PROPERTY(QStringList SupportedUriSchemes READ supportedUriSchemes CONSTANT FINAL)
    Q_PROPERTY(QStringList SupportedMimeTypes READ supportedMimeTypes CONSTANT FINAL)

public:
    explicit MprisRootAdaptor(Mpris *mpris);

    bool canQuit() const { return true; }
    bool canRaise() const { return true; }
    bool hasTrackList() const { return false; }
    QString identity() const;
    QString desktopEntry() const;
    QStringList supportedUriSchemes() const;
    QStringList supportedMimeTypes() const;

public Q_SLOTS:
    void Raise();
    void Quit();

private:
    Mpris *m_mpris;
};
