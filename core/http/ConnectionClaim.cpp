#include "ConnectionClaim.h"

#include <QHostAddress>
#include <QLoggingCategory>
#include <QMutex>
#include <QMutexLocker>

#ifdef Q_OS_LINUX
#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <cstdlib>
#include <cstring>
#include <optional>

Q_DECLARE_LOGGING_CATEGORY(lcHttp)

namespace {

// Connections held by some download, process-wide: no two downloads hold the same one.
QMutex heldMutex;
QSet<quint64> heldEverywhere;

int defaultPort(const QUrl &url)
{
    return url.port(url.scheme().compare(QLatin1String("https"), Qt::CaseInsensitive) == 0 ? 443 : 80);
}

#ifdef Q_OS_LINUX

struct OpenSocket
{
    int descriptor;
    quint64 inode;
};

// The process's sockets, from /proc/self/fd ("socket:[inode]").
QList<OpenSocket> openSockets()
{
    QList<OpenSocket> sockets;
    DIR *directory = opendir("/proc/self/fd");
    if (!directory)
        return sockets;
    const int own = dirfd(directory);
    while (const dirent *entry = readdir(directory)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9')
            continue;
        const int descriptor = std::atoi(entry->d_name);
        if (descriptor == own)
            continue;
        char target[64] = {};
        const ssize_t length = readlinkat(own, entry->d_name, target, sizeof target - 1);
        if (length <= 0 || std::strncmp(target, "socket:[", 8) != 0)
            continue;
        sockets.append({descriptor, std::strtoull(target + 8, nullptr, 10)});
    }
    closedir(directory);
    return sockets;
}

// A connected TCP socket whose peer is the host and port of `url` (any address when the host is a name).
bool leadsTo(int descriptor, const QUrl &url)
{
    int type = 0;
    socklen_t typeLength = sizeof type;
    if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &typeLength) != 0 || type != SOCK_STREAM)
        return false;
    sockaddr_storage peer {};
    socklen_t peerLength = sizeof peer;
    if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &peerLength) != 0)
        return false;
    if (peer.ss_family != AF_INET && peer.ss_family != AF_INET6)
        return false;
    const QHostAddress address(reinterpret_cast<const sockaddr *>(&peer));
    const QHostAddress host(url.host());
    if (!host.isNull() && !host.isEqual(address, QHostAddress::ConvertV4MappedToIPv4))
        return false;
    const quint16 port = peer.ss_family == AF_INET ? ntohs(reinterpret_cast<const sockaddr_in &>(peer).sin_port)
                                                   : ntohs(reinterpret_cast<const sockaddr_in6 &>(peer).sin6_port);
    return port == defaultPort(url);
}

#endif

} // namespace

ConnectionClaim::~ConnectionClaim()
{
    release();
}

void ConnectionClaim::expect(const QUrl &url)
{
    m_url = url;
    m_existing.clear();
#ifdef Q_OS_LINUX
    for (const OpenSocket &socket : openSockets())
        m_existing.insert(socket.inode);
#endif
}

void ConnectionClaim::claim()
{
#ifdef Q_OS_LINUX
    if (m_url.isEmpty())
        return;
    const QMutexLocker lock(&heldMutex);
    std::optional<OpenSocket> found;
    for (const OpenSocket &socket : openSockets()) {
        if (m_existing.contains(socket.inode) || heldEverywhere.contains(socket.inode) || !leadsTo(socket.descriptor, m_url))
            continue;
        if (found) {
            qCDebug(lcHttp) << "two new connections to the same server: none held";
            m_url.clear();
            return;
        }
        found = socket;
    }
    m_url.clear();
    if (!found)
        return; // the request went out on a connection that was already open (and is held, if ours)
    const int duplicate = fcntl(found->descriptor, F_DUPFD_CLOEXEC, 0);
    if (duplicate < 0)
        return;
    // The descriptor may have been closed and reused since the listing: keep it only if it is the same socket.
    struct stat status {};
    if (fstat(duplicate, &status) != 0 || quint64(status.st_ino) != found->inode) {
        close(duplicate);
        return;
    }
    heldEverywhere.insert(found->inode);
    m_held.append({duplicate, found->inode});
#endif
}

void ConnectionClaim::cut()
{
#ifdef Q_OS_LINUX
    for (const Held &held : std::as_const(m_held)) {
        // Without unread bytes Qt's thread is not held by this connection: its abort closes it.
        int waiting = 0;
        if (ioctl(held.descriptor, FIONREAD, &waiting) != 0 || waiting <= 0)
            continue;
        // No lingering: the last close sends a reset, so the server learns at once even if it ignores our FIN.
        const linger abortive {1, 0};
        setsockopt(held.descriptor, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
        shutdown(held.descriptor, SHUT_RDWR);
    }
#endif
    release();
}

void ConnectionClaim::release()
{
    m_url.clear();
    if (m_held.isEmpty())
        return;
#ifdef Q_OS_LINUX
    const QMutexLocker lock(&heldMutex);
    for (const Held &held : std::as_const(m_held)) {
        heldEverywhere.remove(held.inode);
        close(held.descriptor);
    }
#endif
    m_held.clear();
}
