/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_SERVER_H
#define ZOL_SERVER_H

/**
 * @file zol/server.h
 * Stream servers and clients on the event loop.
 *
 *     class CEcho : public zol::CServer {
 *       public:
 *         using CServer::CServer;
 *         void onReceiveData(zol::CConnection& connection) override {
 *             char bytes[512];
 *             ssize_t n = read(connection.getFd(), bytes, sizeof bytes);
 *             if (n > 0) (void)write(connection.getFd(), bytes, n);
 *         }
 *     };
 *     CEcho echo(loop.getThread(), "echo");
 *     echo.openIPv4Socket(INADDR_LOOPBACK, 7777, 1);
 *
 * The classes notice that data waits or that the peer has gone; they neither read nor write.
 * Everything happens on the loop's thread.
 *
 * Bursts of connections: the system queues 16 connections (30 before the first one was
 * accepted) while the loop is busy, see zol/sock.h. A server accepts one in each turn of its
 * loop, so keep callbacks short, and let clients that come in crowds spread out or try again.
 * When the process or the system runs out of descriptors or memory, or when the listening socket
 * has been shut down, a server stops accepting and looks ten times a second whether it can go on;
 * connections wait in the queue meanwhile.
 */

#ifdef __cplusplus

#include "zol/event.h"
#include "zol/list.h"
#include "zol/str.h"

namespace zol {

class CConnection;

/**
 * Listens, accepts, and owns the accepted connections. Slot order is part of the binary
 * interface. What will bite: do not destroy a server inside its own callbacks or those of its
 * connections.
 */
class ZOL_API CServer : public CEventCallback {
  public:
    /**
     * @param thread  the loop; must live longer than the server
     * @param name    for the log; not copied, must live as long as the server
     */
    CServer(evlp_thread_str* thread, const char* name);

    /** Closes all connections, in the order of their acceptance, and the listening socket. */
    ~CServer() override;
    CServer(const CServer&) = delete;
    CServer& operator=(const CServer&) = delete;

    /**
     * Listens on a path, see xsock_open_unix_server(), and opens the server on that socket.
     *
     * @param nonblock  better 1: a client that leaves before it is accepted blocks the loop else
     * @return          false when there is no socket; that it could be watched is not looked at
     */
    bool openUnixSocket(const char* path, int nonblock);

    /** The same on a TCP port, address and port in host byte order, see
     *  xsock_open_inet_server(). */
    bool openIPv4Socket(unsigned int addr, unsigned short port, int nonblock);

    /** Not supported: @return false */
    bool openIPv6Socket(unsigned short port, int nonblock);

    /**
     * Accepts connections from a listening socket, which the server owns from now on; closes the
     * one it had before. Logs "Open server" at priority 7. @return 0; -1 when it cannot be watched
     */
    int open(int fd);

    /** A client has connected: accepts it, logs "On connect" at priority 7. An `fd` of -1 ends a
     *  pause after exhausted descriptors. @return what failed accepting returned; else not 0
     *  exactly when a connection was made */
    int onEvent(int fd, short events, CEvent* event) override;

    /** Makes a connection of a connected socket and appends it to the list.
     *  @return what createConnection() returned */
    CConnection* addConnection(int fd);

    /** Makes the connection object for an accepted socket, with `new`. Override it for a class
     *  of your own. @return the connection, owned by the server; null when there is no memory:
     *  the server closes the socket then */
    virtual CConnection* createConnection(int fd);

    /**
     * Data waits on the connection: override this and read. What is not read is reported again.
     * The connection may be deleted here, but not by `delete`: use deleteConnection().
     */
    virtual void onReceiveData(CConnection& connection);

    /** The peer has gone or reading failed. Unless overridden: deleteConnection(). Who overrides
     *  it deletes the connection or closes it: it is reported again in every turn else. */
    virtual void onConnectionClosed(CConnection& connection);

    /** Takes the connection out of the list and destroys it. @return 0; -1 for one that is not in
     *  the list, which is not touched */
    int deleteConnection(CConnection& connection);

    /** @return the name that was given, for the log */
    const char* getName() const { return m_name; }
    /** @return the listening socket; -1 when there is none */
    int getFd() const { return m_fd; }
    /** @return the loop */
    evlp_thread_str* getThread() const { return m_thread; }
    /** @return the connections, for CConnection::first() and next() */
    const xlist& getConnections() const { return m_connections; }

  private:
    ZOL_LOCAL int listenForConnections();
    ZOL_LOCAL void pauseAccepting();
    ZOL_LOCAL void resumeAccepting();

    const char* m_name;
    int m_fd;
    xlist m_connections;
    CEvent m_event;
    evlp_thread_str* m_thread;
};

/** One accepted connection. Slot order is part of the binary interface. */
class ZOL_API CConnection : public CListElem<CConnection>, public CEventCallback {
  public:
    /**
     * Watches a connected socket for the server.
     *
     * @param server  must live longer than the connection
     * @param fd      owned from now on
     *
     * An IPv6 socket whose local address begins with "::ffff:" counts as IPv4. Logs "New ...
     * connection" at priority 6. A socket that cannot be watched, for want of memory, is not
     * noticed here: give a connection that matters a timer.
     */
    CConnection(CServer& server, int fd);

    /** close(); the connection must not be in its server's list any more. */
    ~CConnection() override;
    CConnection(const CConnection&) = delete;
    CConnection& operator=(const CConnection&) = delete;

    /** The socket is ready: tells the server that data waits or that the peer has gone. */
    int onEvent(int fd, short events, CEvent* event) override;

    /** Shuts the socket down and closes it; the object stays in the server's list. May be called
     *  again. Logs "Close ... connection" at priority 6. */
    virtual void close();

    /** @return the server that owns the connection */
    CServer& getServer() const { return m_server; }
    /** @return a number that no other connection of the process has, counted from 0 */
    int getId() const { return m_id; }
    /** @return the socket; -1 once closed */
    int getFd() const { return m_fd; }
    /** @return AF_UNIX, AF_INET or AF_INET6 */
    unsigned short getFamily() const { return m_family; }
    /** @return as xsock_get_info(); good as long as the connection */
    const char* getLocalAddr() const { return m_localAddr; }
    /** @return network byte order */
    unsigned short getLocalPort() const { return m_localPort; }
    /** @return as xsock_get_info(); good as long as the connection */
    const char* getPeerAddr() const { return m_peerAddr; }
    /** @return network byte order */
    unsigned short getPeerPort() const { return m_peerPort; }

  protected:
    /** @return what watches the socket */
    CEvent& getEvent() { return m_event; }

  private:
    CServer& m_server;
    int m_id;
    int m_fd;
    CEvent m_event;
    uint16_t m_family;
    xstr m_localAddr;
    uint16_t m_localPort;
    xstr m_peerAddr;
    uint16_t m_peerPort;
};

/**
 * A connected socket that calls back when data waits: derive from it and supply onEvent(), which
 * reads, and calls close() at the end of the stream.
 */
class ZOL_API CClient : public CEventCallback {
  public:
    /** @param thread  the loop; must live longer than the client */
    explicit CClient(evlp_thread_str* thread);
    /** Closes the socket if it is open. */
    ~CClient() override;
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    /** Connects to a path, see xsock_open_unix_client(), and opens the client on that socket.
     *  @return false when there is no connection; that it is watched is not looked at */
    bool openUnix(const char* path, int nonblock);

    /** The same to a TCP port, host byte order, see xsock_open_inet_client(). */
    bool openIPv4(const char* host, unsigned short port, int nonblock);

    /** Watches a connected socket, owned from now on; closes the one it had before.
     *  @return 0; -1 when it cannot be watched */
    int open(int fd);

    /** Ends the watching and closes the socket. @return close(2): -1 also for a client that is
     *  not open */
    int close();

    /** @return the socket; -1 when closed */
    int getFd() const { return m_fd; }

  private:
    int m_fd;
    CEvent m_event;
    evlp_thread_str* m_thread;
};

}  // namespace zol

#endif
#endif
