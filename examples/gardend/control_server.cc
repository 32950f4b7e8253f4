// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "control_server.h"

#include <new>
#include <string.h>
#include <syslog.h>

#include "control_request.h"
#include "words.h"

namespace gardend {

namespace {

constexpr int kMaxConnections = 16;
constexpr char kNoZone[] = "no such zone";
constexpr char kNoMemory[] = "no memory";

void listStatus(const CGarden& garden, const CWateringPlan& plan, CText& out) {
    const bool clockIsRight = zol::CTime::synchronized != 0;
    out.addFormat("zones %d\n", CGarden::kZoneCount);
    out.addFormat("open %d\n", garden.getOpenCount());
    out.add("litres ").addDecimal(garden.getMillilitres(), 3).add("\n");
    out.add(clockIsRight ? "clock synchronized\n" : "clock unsynchronized\n");
    out.addFormat("schedules %d\n", plan.getSchedules().getCount());

    const NextWatering next = plan.findNext();
    if (!clockIsRight || next.schedule == nullptr) {
        out.add("next none\n");
    } else {
        out.add("next ").add(next.schedule->zone->getName());
        out.addFormat(" %s %02d:%02d\n", nameOfDay(next.day), next.schedule->hour,
                      next.schedule->minute);
    }
}

void listZones(const CGarden& garden, CText& out) {
    for (const CZone& zone : garden.getZones()) {
        out.add(zone.getName()).add(zone.isOpen() ? " open " : " closed ");
        out.addDecimal(zone.getMoisturePermille(), 1).add(" ");
        out.addDecimal(zone.getMillilitres(), 3);
        if (zone.getSecondsLeft() > 0) {
            out.addFormat(" %d", zone.getSecondsLeft());
        }
        out.add("\n");
    }
}

void listMoisture(const CGarden& garden, CText& out) {
    for (const CZone& zone : garden.getZones()) {
        const CMoistureLog& log = zone.getMoistureLog();
        out.add(zone.getName()).addFormat(" %d ", log.getCount());
        out.addDecimal(log.getLowest(), 1).add(" ").addDecimal(log.getMean(), 1).add(" ");
        out.addDecimal(log.getHighest(), 1).add("\n");
    }
}

void listSchedules(const CWateringPlan& plan, CText& out) {
    for (const Schedule& schedule : plan.getSchedules()) {
        char days[kDaysSize];
        writeDays(schedule.days, days);
        out.addFormat("%d ", schedule.number).add(schedule.zone->getName());
        out.addFormat(" %s %02d:%02d %d\n", days, schedule.hour, schedule.minute,
                      schedule.runMinutes);
    }
}

class CControlDialog : public CDialog {
  public:
    CControlDialog(CControlServer& server, int fd, zol::CEventLoop& loop, CGarden& garden,
                   CWateringPlan& plan)
        : CDialog(server, fd), m_loop(loop), m_garden(garden), m_plan(plan) {}

  protected:
    int take(const char* bytes, int size, CText& answer, bool& last) override;

  private:
    const char* answerLine(const char* line, CText& answer);
    const char* openValve(const ControlRequest& request);
    const char* closeValve(const ControlRequest& request);
    const char* addSchedule(const ControlRequest& request, CText& answer);
    const char* trustClock();
    const char* quit();

    zol::CEventLoop& m_loop;
    CGarden& m_garden;
    CWateringPlan& m_plan;
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

    const char* error = "the line is not a text";
    if (memchr(m_line.get(), '\0', static_cast<size_t>(m_line.getLength())) == nullptr) {
        error = answerLine(m_line.get(), answer);
    }
    if (error == nullptr) {
        answer.add("OK\n");
    } else {
        answer.add("ERROR ").add(error).add("\n");
    }
    m_line.clear();
    return length + 1;
}

// This and what it calls: @return null; else a sentence that says what is wrong
const char* CControlDialog::answerLine(const char* line, CText& answer) {
    ControlRequest request;
    const char* const error = readRequest(line, request);
    if (error != nullptr) {
        return error;
    }
    switch (request.kind) {
        case ControlRequest::kStatus:
            listStatus(m_garden, m_plan, answer);
            return nullptr;
        case ControlRequest::kZones:
            listZones(m_garden, answer);
            return nullptr;
        case ControlRequest::kMoisture:
            listMoisture(m_garden, answer);
            return nullptr;
        case ControlRequest::kOpen:
            return openValve(request);
        case ControlRequest::kClose:
            return closeValve(request);
        case ControlRequest::kAddSchedule:
            return addSchedule(request, answer);
        case ControlRequest::kListSchedules:
            listSchedules(m_plan, answer);
            return nullptr;
        case ControlRequest::kRemoveSchedule:
            return m_plan.remove(request.number) ? nullptr : "no such schedule";
        case ControlRequest::kClockSynchronized:
            return trustClock();
        case ControlRequest::kQuit:
            return quit();
    }
    return "unknown request";
}

const char* CControlDialog::openValve(const ControlRequest& request) {
    CZone* const zone = m_garden.findZone(request.zone);
    if (zone == nullptr) {
        return kNoZone;
    }
    if (request.runMinutes == 0) {
        zone->open();
        return nullptr;
    }
    return zone->openFor(minutesOf(request.runMinutes)) ? nullptr : "no timer";
}

const char* CControlDialog::closeValve(const ControlRequest& request) {
    CZone* const zone = m_garden.findZone(request.zone);
    if (zone == nullptr) {
        return kNoZone;
    }
    zone->close();
    return nullptr;
}

const char* CControlDialog::addSchedule(const ControlRequest& request, CText& answer) {
    CZone* const zone = m_garden.findZone(request.zone);
    if (zone == nullptr) {
        return kNoZone;
    }
    Schedule schedule;
    schedule.zone = zone;
    schedule.days = request.days;
    schedule.hour = request.hour;
    schedule.minute = request.minute;
    schedule.runMinutes = request.runMinutes;
    const int number = m_plan.add(schedule);
    if (number < 0) {
        return number == CWateringPlan::kFull ? "there are too many schedules" : kNoMemory;
    }
    answer.addFormat("%d\n", number);
    return nullptr;
}

// The plan looks at once: what is next may come within the minute.
const char* CControlDialog::trustClock() {
    syslog(LOG_NOTICE, "the clock is right");
    zol::CTime::synchronized = 1;
    return m_plan.start() ? nullptr : kNoMemory;
}

// The answer leaves before the loop ends: it finishes its turn.
const char* CControlDialog::quit() {
    syslog(LOG_NOTICE, "asked to quit");
    return m_loop.exitLoop() == 0 ? nullptr : "the loop does not end";
}

}  // namespace

CControlServer::CControlServer(zol::CEventLoop& loop, CGarden& garden, CWateringPlan& plan,
                               const zol::CTime& timeLimit)
    : CDialogServer(loop.getThread(), "control", kMaxConnections, timeLimit),
      m_loop(loop),
      m_garden(garden),
      m_plan(plan) {}

zol::CConnection* CControlServer::createConnection(int fd) {
    return new (std::nothrow) CControlDialog(*this, fd, m_loop, m_garden, m_plan);
}

}  // namespace gardend
