// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DIALOG_H
#define GARDEND_DIALOG_H

#include "zol/event.h"
#include "zol/server.h"
#include "zol/time.h"

#include "text.h"

namespace gardend {

class CDialogServer;

/**
 * A connection on which requests and answers take turns, whatever the protocol.
 *
 * It never makes the loop wait: what the client does not take at once is kept and sent when there
 * is room. It is bounded in all directions: the next request is looked at only when the answer
 * before has left, so at most one answer is kept; and every exchange, from the wait for a request
 * to the last byte of its answer, has to end in the server's time limit, so a client that sends or
 * reads drop by drop does not hold the connection for ever.
 *
 * After the last answer the connection says that no more will come, and waits for the client to
 * close. Closing at once would reset the connection if bytes of the client were still on their
 * way, and the client might lose the answer.
 */
class CDialog : public zol::CEventDest<CDialog, void>, public zol::CConnection {
  public:
    CDialog(CDialogServer& server, int fd);

    /** Data waits: reads it and answers. The connection may be gone afterwards. */
    void receive();

  protected:
    /**
     * Takes bytes of the client, none behind the end of a request.
     *
     * @param answer  empty; receives the answer to the request, once that is complete
     * @param last    to be set where the connection ends with this answer
     * @return        how many bytes; all of them while the request is not complete
     */
    virtual int take(const char* bytes, int size, CText& answer, bool& last) = 0;

    /** The answer has left, and takes no memory any more. */
    virtual void onSent() {}

  private:
    enum Phase { kListening, kAnswering, kLeaving };

    bool readBytes();
    bool answerRequests();
    bool sendAnswer();
    bool changeTo(Phase phase);
    void dropUnless(bool alive);
    void onWritable(int);
    void onTimeUp(int);

    Phase m_phase = kListening;
    char m_input[2048];
    int m_inputTaken = 0;  // bytes of m_input that have been looked at
    int m_inputSize = 0;   // bytes in m_input
    CText m_answer;
    int m_answerSent = 0;
    bool m_last = false;

    zol::CTime m_timeLimit;
    zol::CEventTimer<CDialog, int> m_timeUp{this, &CDialog::onTimeUp, 0};
    zol::CEventMsg<CDialog, int> m_whenWritable{this, &CDialog::onWritable, 0};
    zol::CEvent m_writable;
};

/** A server whose connections are dialogs. Supply createConnection(). */
class CDialogServer : public zol::CServer {
  public:
    /**
     * @param name            for the log; must live as long as the server
     * @param maxConnections  further ones are hung up on
     * @param timeLimit       of one exchange
     */
    CDialogServer(evlp_thread_str* thread, const char* name, int maxConnections,
                  const zol::CTime& timeLimit)
        : CServer(thread, name), m_maxConnections(maxConnections), m_timeLimit(timeLimit) {}

    /** @return whether there is no room for a further connection */
    virtual bool isFull() const { return xlist_get_count(&getConnections()) >= m_maxConnections; }

    const zol::CTime& getTimeLimit() const { return m_timeLimit; }

    void onReceiveData(zol::CConnection& connection) override;

  private:
    int m_maxConnections;
    zol::CTime m_timeLimit;
};

}  // namespace gardend

#endif
