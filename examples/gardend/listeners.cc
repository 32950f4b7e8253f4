// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "listeners.h"

#include <arpa/inet.h>
#include <errno.h>
#include <new>
#include <string.h>

#include "zol/sock.h"

namespace gardend {

bool CListeners::isOpen(const ListenAddress& address) const {
    for (int i = 0; i < m_count; ++i) {
        if (m_listeners[i].address == address) {
            return true;
        }
    }
    return false;
}

bool CListeners::open(const zol::CTab<ListenAddress>& addresses, CText& reason) {
    const int before = m_count;
    for (const ListenAddress& address : addresses) {
        if (isOpen(address)) {
            continue;
        }
        errno = ENOMEM;
        std::unique_ptr<CHttpServer> server(new (std::nothrow)
                                                CHttpServer(m_thread, m_site, m_timeLimit, m_load));
        const bool hasRoom = m_count < before + kMost && m_count < 2 * kMost;
        if (!hasRoom || server == nullptr ||
            !server->openIPv4Socket(address.address, address.port, 1)) {
            reason.add("cannot listen on ").add(describe(address).get()).add(": ");
            reason.add(hasRoom ? strerror(errno) : "too many addresses");
            removeFrom(before);
            return false;
        }
        m_listeners[m_count] = {address, std::move(server)};
        ++m_count;
    }
    return true;
}

void CListeners::keep(const zol::CTab<ListenAddress>& addresses) {
    int kept = 0;
    for (int i = 0; i < m_count; ++i) {
        for (const ListenAddress& address : addresses) {
            if (m_listeners[i].address == address) {
                std::swap(m_listeners[kept], m_listeners[i]);
                ++kept;
                break;
            }
        }
    }
    removeFrom(kept);
}

void CListeners::removeFrom(int index) {
    while (m_count > index) {
        --m_count;
        m_listeners[m_count].server.reset();
    }
}

void CListeners::list(CText& out) const {
    for (int i = 0; i < m_count; ++i) {
        uint16_t family = 0;
        uint16_t portNet = 0;
        uint16_t peerPortNet = 0;
        zol::CStr address;
        zol::CStr peer;
        (void)xsock_get_info(m_listeners[i].server->getFd(), &family, address.handle(), &portNet,
                             peer.handle(), &peerPortNet);
        out.add("http://").add(address.get()).addFormat(":%d/ ", ntohs(portNet));
    }
}

}  // namespace gardend
