// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "dialog.h"

#include <errno.h>
#include <sys/socket.h>

namespace gardend {

namespace {

// How long a client may take to close after the last answer.
constexpr zol::CTime kLeaveLimit(2000000);

// Bytes that the kernel keeps for a client that does not take them. Left alone it would keep
// megabytes, which is more than a small device has for all its clients.
constexpr int kSendBuffer = 16384;

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

}  // namespace

CDialog::CDialog(CDialogServer& server, int fd)
    : CConnection(server, fd), m_timeLimit(server.getTimeLimit()) {
    (void)setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof(kSendBuffer));
    const bool watched =
        m_timeUp.open(server.getThread()) != 0 && m_timeUp.add(m_timeLimit) == 0 &&
        m_writable.set(server.getThread(), &m_whenWritable, fd, zol::CEvent::kWrite, 8) != 0;
    if (!watched || server.isFull()) {
        // The loop finds the stream at its end and deletes the connection.
        (void)shutdown(fd, SHUT_RDWR);
    }
}

void CDialog::receive() {
    dropUnless(readBytes() && answerRequests());
}

void CDialog::onWritable(int) {
    dropUnless(sendAnswer() && answerRequests());
}

void CDialog::onTimeUp(int) {
    dropUnless(false);
}

// Comes last: nothing of the connection may be touched after it.
void CDialog::dropUnless(bool alive) {
    if (!alive) {
        (void)getServer().deleteConnection(*this);
    }
}

// Reads into m_input, all of which has been taken. @return false when the connection is dead
bool CDialog::readBytes() {
    m_inputTaken = 0;
    m_inputSize = 0;
    const ssize_t count = recv(getFd(), m_input, sizeof(m_input), 0);
    if (count < 0) {
        return wouldBlock();
    }
    m_inputSize = static_cast<int>(count);
    return count > 0;
}

// Goes through the requests in m_input, as far as their answers leave at once.
bool CDialog::answerRequests() {
    while (m_phase == kListening && m_inputTaken < m_inputSize) {
        m_inputTaken += take(m_input + m_inputTaken, m_inputSize - m_inputTaken, m_answer, m_last);
        if (!m_answer.isWhole() || (!m_answer.isEmpty() && !sendAnswer())) {
            return false;
        }
    }
    return true;
}

// Sends as much of the answer as the client takes. @return false when the connection is dead
bool CDialog::sendAnswer() {
    const int left = m_answer.getLength() - m_answerSent;
    const ssize_t sent =
        send(getFd(), m_answer.get() + m_answerSent, static_cast<size_t>(left), MSG_NOSIGNAL);
    if (sent < 0 && !wouldBlock()) {
        return false;
    }
    m_answerSent += sent > 0 ? static_cast<int>(sent) : 0;
    if (m_answerSent < m_answer.getLength()) {
        return changeTo(kAnswering);
    }

    m_answer.clear();
    m_answerSent = 0;
    onSent();
    return changeTo(m_last ? kLeaving : kListening);
}

// Watches for room to write while an answer waits for it, else for what the client sends.
// @return false when the loop cannot do that
bool CDialog::changeTo(Phase phase) {
    if ((phase == kAnswering) != (m_phase == kAnswering)) {
        zol::CEvent& past = phase == kAnswering ? getEvent() : m_writable;
        zol::CEvent& next = phase == kAnswering ? m_writable : getEvent();
        (void)past.remove();
        if (next.add(zol::CTime::infinite) != 0) {
            return false;
        }
    }
    m_phase = phase;
    if (phase == kAnswering) {
        return true;  // the time of this exchange runs on
    }
    if (phase == kLeaving) {
        (void)shutdown(getFd(), SHUT_WR);
    }
    return m_timeUp.add(phase == kLeaving ? kLeaveLimit : m_timeLimit) == 0;
}

void CDialogServer::onReceiveData(zol::CConnection& connection) {
    static_cast<CDialog&>(connection).receive();
}

}  // namespace gardend
