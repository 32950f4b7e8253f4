// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "control_server.h"

#include <new>
#include <string.h>
#include <syslog.h>

namespace gardend {

namespace {

constexpr int kMaxConnections = 16;

void listStatus(const CGarden& garden, CText& out) {
    out.addFormat("zones %d\n", garden.getZones().getCount());
    out.addFormat("open %d\n", garden.getOpenCount());
    out.add("litres ").addDecimal(garden.getMillilitres(), 3).add("\n");
}

void listZones(const CGarden& garden, CText& out) {
    for (const Zone& zone : garden.getZones()) {
        out.add(zone.name.get()).add(zone.open ? " open " : " closed ");
        out.addDecimal(zone.getMoisturePermille(), 1).add(" ");
        out.addDecimal(zone.getMillilitres(), 3).add("\n");
    }
}

class CControlDialog : public CDialog {
  public:
    CControlDialog(CControlServer& server, int fd, zol::CEventLoop& loop, CGarden& garden)
        : CDialog(server, fd), m_loop(loop), m_garden(garden) {}

  protected:
    int take(const char* bytes, int size, CText& answer, bool& last) override;

  private:
    void answerLine(const char* line, CText& answer);
    void moveValve(const char* zone, bool open, CText& answer);

    zol::CEventLoop& m_loop;
    CGarden& m_garden;
    CText m_line;  // as much as has come of the present request
};

int CControlDialog::take(const char* bytes, int size, CText& answer, bool& last) {
    const void* const end = memchr(bytes, '\n', static_cast<size_t>(size));
    const int length =
        end == nullptr ? size : static_cast<int>(static_cast<const char*>(end) - bytes);
    m_line.add(bytes, length);
    if (m_line.getLength() >= kMaxControlLine || !m_line.isWhole()) {
        answer.add(m_line.isWhole() ? "ERROR the line is too long\n" : "ERROR no memory\n");
        last = true;
        return size;
    }
    if (end == nullptr) {
        return size;
    }

    if (memchr(m_line.get(), '\0', static_cast<size_t>(m_line.getLength())) != nullptr) {
        answer.add("ERROR the line is not a text\n");
    } else {
        answerLine(m_line.get(), answer);
    }
    m_line.clear();
    return length + 1;
}

void CControlDialog::answerLine(const char* line, CText& answer) {
    if (strcmp(line, "status") == 0) {
        listStatus(m_garden, answer);
        answer.add("OK\n");
    } else if (strcmp(line, "zones") == 0) {
        listZones(m_garden, answer);
        answer.add("OK\n");
    } else if (strncmp(line, "open ", 5) == 0) {
        moveValve(line + 5, true, answer);
    } else if (strncmp(line, "close ", 6) == 0) {
        moveValve(line + 6, false, answer);
    } else if (strcmp(line, "quit") == 0) {
        // The answer leaves before the loop ends: it finishes its turn.
        syslog(LOG_NOTICE, "asked to quit");
        answer.add(m_loop.exitLoop() == 0 ? "OK\n" : "ERROR the loop does not end\n");
    } else {
        answer.add("ERROR unknown request\n");
    }
}

void CControlDialog::moveValve(const char* zone, bool open, CText& answer) {
    answer.add(m_garden.setValve(zone, open) ? "OK\n" : "ERROR no such zone\n");
}

}  // namespace

CControlServer::CControlServer(zol::CEventLoop& loop, CGarden& garden, const zol::CTime& timeLimit)
    : CDialogServer(loop.getThread(), "control", kMaxConnections, timeLimit),
      m_loop(loop),
      m_garden(garden) {}

zol::CConnection* CControlServer::createConnection(int fd) {
    return new (std::nothrow) CControlDialog(*this, fd, m_loop, m_garden);
}

}  // namespace gardend
