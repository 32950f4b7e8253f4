/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_SOCK_H
#define ZOL_SOCK_H

/**
 * @file zol/sock.h
 * Stream sockets: Unix-domain ones, named by a path, and IPv4 ones.
 *
 * Unless a function says otherwise:
 *  - a function that makes a socket answers its descriptor, which the caller owns, or -1, with
 *    errno as the failed call left it; every socket is close-on-exec;
 *  - `nonblock` not 0 makes it non-blocking (O_NONBLOCK);
 *  - addresses and ports are passed in host byte order, and reported in network byte order;
 *  - any thread; no state is kept.
 *
 * Errors of Unix-domain sockets are logged at priority 3; the IPv4 functions log nothing.
 */

#include "zol/str.h"

ZOL_BEGIN_DECLS

/**
 * Looks at the next byte of a stream without taking it.
 *
 * @return 1 when data waits; 0 when the peer has closed; -1 with errno, EAGAIN when a
 *         non-blocking socket has nothing
 */
ZOL_API int xsock_peek(int fd);

/**
 * Listens on a path of the file system; a file that is there already is removed first.
 *
 * @param path  up to 108 bytes; the socket's name is cut off there. (Of a longer path the whole is
 *              removed, not the name that was cut: listening on it a second time fails.)
 *
 * The backlog is 16: of clients that connect at the same moment, those beyond are made to wait
 * (or refused with EAGAIN when they do not block) until connections have been accepted. Logs
 * "socket error", "bind error" and "listen error".
 */
ZOL_API int xsock_open_unix_server(const char* path, int nonblock);

/**
 * Listens on a TCP port of an IPv4 address.
 *
 * @param addr  host byte order; 0 for all addresses
 * @param port  host byte order; 0 for one that the system chooses
 *
 * The backlog is 30 until the first xsock_accept(), 16 from then on: of clients that connect at
 * the same moment, the system drops the opening packets of those beyond, and the clients try
 * again a second later. Accepted connections get TCP_NODELAY from it.
 */
ZOL_API int xsock_open_inet_server(uint32_t addr, uint16_t port, int nonblock);

/**
 * Accepts a connection.
 *
 * @param fd        listening socket
 * @param nonblock  for the accepted socket
 *
 * Sets the backlog of the listening socket to 16 every time; when that fails, it logs "listen
 * error" and returns the accepted socket all the same.
 */
ZOL_API int xsock_accept(int fd, int nonblock);

/**
 * Connects to a path. A non-blocking socket is non-blocking before it connects, so a connect
 * that cannot end at once is a failure. Logs "socket error" and "connect error".
 */
ZOL_API int xsock_open_unix_client(const char* path, int nonblock);

/**
 * Connects to a TCP port, with TCP_NODELAY.
 *
 * @param host  dotted IPv4 address, or a name for gethostbyname(3), which only one thread at a
 *              time may use
 * @param port  host byte order
 *
 * Blocks until the connection is made or refused; the socket becomes non-blocking after that.
 */
ZOL_API int xsock_open_inet_client(const char* host, uint16_t port, int nonblock);

/**
 * Describes the two ends of a socket.
 *
 * @param family     receives AF_UNIX, AF_INET, AF_INET6, or what else the system reports; never
 *                   null
 * @param localAddr  receives the local address as text: a path, or an IP address. This output and
 *                   those that follow may be null and are skipped then.
 * @param localPort  network byte order; 0 but for IP sockets
 * @param peerAddr   receives the peer's address; empty when there is no peer, or no name for it
 * @param peerPort   network byte order; 0 but for connected IP sockets
 * @return           0; -1, with the outputs as they were, when the socket cannot be queried
 */
ZOL_API int xsock_get_info(int fd, uint16_t* family, xstr* localAddr, uint16_t* localPort,
                           xstr* peerAddr, uint16_t* peerPort);

ZOL_END_DECLS

#endif
