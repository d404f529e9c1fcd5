#pragma once

#include <QList>
#include <QSet>
#include <QUrl>

// The TCP connection a download's network manager opened, held so that it can be cut from our side.
//
// Qt reads an HTTP/1.1 response head on the manager's own thread one byte per system call, and only
// returns to that thread's events (an abort among them) once the socket runs dry. A server that keeps
// sending header lines faster than that never lets it run dry: aborting the reply does nothing, and
// destroying the manager waits five seconds for the thread and then leaves it reading. Resetting the
// connection from here ends Qt's read at once, whatever that thread is doing.
//
// The connection is recognised as the one new socket to the request's peer between `expect` (before
// the request is handed to the manager) and `claim` (once it has been sent). When two such sockets
// appear in that window (another download from the same server starting at the same moment) nothing
// is claimed, rather than risk cutting a connection that belongs to someone else; a connection
// claimed by one download is never claimed by another. Linux only: elsewhere nothing is claimed.
class ConnectionClaim
{
public:
    ConnectionClaim() = default;
    ~ConnectionClaim(); // releases, without cutting
    ConnectionClaim(const ConnectionClaim &) = delete;
    ConnectionClaim &operator=(const ConnectionClaim &) = delete;

    // Called right before the manager is asked for `url`: notes the sockets that exist already.
    void expect(const QUrl &url);
    // Called once the request went out: holds the connection it went out on, if it can be told apart.
    void claim();
    // Resets every held connection on which the server is ahead of Qt's reading (bytes wait unread): the
    // server sees it close, Qt's reads on it end. Lets go of every held connection; those without
    // waiting bytes are left to the reply's abort, which reaches Qt's thread at once.
    void cut();
    // Lets go of the held connections, leaving them to Qt.
    void release();

    qsizetype claimed() const { return m_held.size(); }

private:
    struct Held
    {
        int descriptor; // our own duplicate: the socket cannot be replaced behind our back
        quint64 inode;
    };

    QUrl m_url;
    QSet<quint64> m_existing;
    QList<Held> m_held;
};
