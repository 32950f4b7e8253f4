// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "control_server.h"

#include <new>
#include <string.h>
#include <syslog.h>

#include "control_request.h"
#include "display.h"
#include "summary.h"
#include "words.h"

namespace gardend {

namespace {

constexpr int kMaxConnections = 16;

void listStatus(const CGarden& garden, const CWateringPlan& plan, CText& out) {
    const bool clockIsRight = zol::CTime::synchronized != 0;
    out.addFormat("zones %d\n", garden.getZoneCount());
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

    const SkippedWatering& skipped = plan.getSkipped();
    if (skipped.zone.isEmpty()) {
        out.add("skipped none\n");
    } else {
        out.add("skipped ").add(skipped.zone.get());
        out.addFormat(" %s %02d:%02d\n", nameOfDay(skipped.day), skipped.hour, skipped.minute);
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

void listDisplay(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                 CText& out) {
    Display display;
    writeDisplay(garden, plan, phrases, display);
    for (const char* line : display.lines) {
        out.add(line).add("\n");
    }
}

const char* nameOf(CJob::State state) {
    switch (state) {
        case CJob::kRunning:
            return "running";
        case CJob::kWaiting:
            return "waiting";
        default:
            return "idle";
    }
}

void listJobs(const CJobs& jobs, CText& out) {
    for (int i = 0; i < jobs.getCount(); ++i) {
        const CJob& job = jobs[i];
        const CShort pid = job.getPid() == 0 ? CShort("-") : CShort("%d", job.getPid());
        out.add(job.getName()).addFormat(" %s %s ", nameOf(job.getState()), pid.get());
        out.addFormat("%d %d %s\n", job.getRuns(), job.getFailures(), job.getLast());
    }
}

class CControlDialog : public CDialog {
  public:
    CControlDialog(CControlServer& server, int fd, const Controlled& controlled)
        : CDialog(server, fd), m_controlled(controlled) {}

  protected:
    int take(const char* bytes, int size, CText& answer, bool& last) override;

  private:
    void refuse(unsigned reason, CText& answer);
    unsigned answerLine(const char* line, CText& answer);
    unsigned openValve(const ControlRequest& request);
    unsigned closeValve(const ControlRequest& request);
    unsigned addSchedule(const ControlRequest& request, CText& answer);
    unsigned removeSchedule(const ControlRequest& request);
    unsigned trustClock();
    unsigned changeLanguage(const ControlRequest& request, CText& answer);
    unsigned runJob(const ControlRequest& request);
    unsigned quit();

    const Controlled& m_controlled;
    zol::CStr m_wished;  // languages of the client
    CText m_line;        // as much as has come of the present request
};

int CControlDialog::take(const char* bytes, int size, CText& answer, bool& last) {
    const void* const end = memchr(bytes, '\n', static_cast<size_t>(size));
    const int length =
        end == nullptr ? size : static_cast<int>(static_cast<const char*>(end) - bytes);
    m_line.add(bytes, length);
    if (m_line.getLength() >= kMaxControlLine || !m_line.isWhole()) {
        refuse(m_line.isWhole() ? GARDEND_LINE_TOO_LONG : GARDEND_NO_MEMORY, answer);
        last = true;
        return size;
    }
    if (end == nullptr) {
        return size;
    }

    unsigned refusal = GARDEND_LINE_NOT_TEXT;
    if (memchr(m_line.get(), '\0', static_cast<size_t>(m_line.getLength())) == nullptr) {
        refusal = answerLine(m_line.get(), answer);
    }
    if (refusal == 0) {
        answer.add("OK\n");
    } else {
        refuse(refusal, answer);
    }
    m_line.clear();
    return length + 1;
}

void CControlDialog::refuse(unsigned reason, CText& answer) {
    answer.add("ERROR ");
    m_controlled.languages.choose(m_wished.get()).add(answer, reason);
    answer.add("\n");
}

// This and what it calls: @return 0; else the message that says what is wrong
unsigned CControlDialog::answerLine(const char* line, CText& answer) {
    ControlRequest request;
    const unsigned error = readRequest(line, request);
    if (error != 0) {
        return error;
    }
    switch (request.kind) {
        case ControlRequest::kStatus:
            listStatus(m_controlled.garden, m_controlled.plan, answer);
            return 0;
        case ControlRequest::kZones:
            listZones(m_controlled.garden, answer);
            return 0;
        case ControlRequest::kMoisture:
            listMoisture(m_controlled.garden, answer);
            return 0;
        case ControlRequest::kOpen:
            return openValve(request);
        case ControlRequest::kClose:
            return closeValve(request);
        case ControlRequest::kAddSchedule:
            return addSchedule(request, answer);
        case ControlRequest::kListSchedules:
            listSchedules(m_controlled.plan, answer);
            return 0;
        case ControlRequest::kRemoveSchedule:
            return removeSchedule(request);
        case ControlRequest::kClockSynchronized:
            return trustClock();
        case ControlRequest::kSummary:
            addSummary(m_controlled.garden, m_controlled.plan,
                       m_controlled.languages.choose(m_wished.get()), answer);
            answer.add("\n");
            return 0;
        case ControlRequest::kDisplay:
            listDisplay(m_controlled.garden, m_controlled.plan,
                        m_controlled.languages.choose(m_wished.get()), answer);
            return 0;
        case ControlRequest::kLanguage:
            return changeLanguage(request, answer);
        case ControlRequest::kPlugIns:
            m_controlled.drivers.list(answer);
            return 0;
        case ControlRequest::kJobs:
            listJobs(m_controlled.jobs, answer);
            return 0;
        case ControlRequest::kRun:
            return runJob(request);
        case ControlRequest::kReload:
            return m_controlled.daemon.reload(answer) ? 0 : GARDEND_CONFIGURATION_STAYS;
        case ControlRequest::kQuit:
            return quit();
    }
    return GARDEND_UNKNOWN_REQUEST;
}

unsigned CControlDialog::openValve(const ControlRequest& request) {
    CZone* const zone = m_controlled.garden.findZone(request.zone);
    if (zone == nullptr) {
        return GARDEND_NO_SUCH_ZONE;
    }
    if (request.runMinutes == 0) {
        return zone->open() ? 0 : GARDEND_VALVE_DOES_NOT_MOVE;
    }
    return zone->openFor(minutesOf(request.runMinutes)) ? 0 : GARDEND_VALVE_DOES_NOT_MOVE;
}

unsigned CControlDialog::closeValve(const ControlRequest& request) {
    CZone* const zone = m_controlled.garden.findZone(request.zone);
    if (zone == nullptr) {
        return GARDEND_NO_SUCH_ZONE;
    }
    return zone->close() ? 0 : GARDEND_VALVE_DOES_NOT_MOVE;
}

unsigned CControlDialog::addSchedule(const ControlRequest& request, CText& answer) {
    CZone* const zone = m_controlled.garden.findZone(request.zone);
    if (zone == nullptr) {
        return GARDEND_NO_SUCH_ZONE;
    }
    Schedule schedule;
    schedule.zone = zone;
    schedule.days = request.days;
    schedule.hour = request.hour;
    schedule.minute = request.minute;
    schedule.runMinutes = request.runMinutes;
    const int number = m_controlled.plan.add(schedule);
    if (number < 0) {
        return number == CWateringPlan::kFull ? GARDEND_TOO_MANY_SCHEDULES : GARDEND_NO_MEMORY;
    }
    m_controlled.daemon.onPlanChanged();
    answer.addFormat("%d\n", number);
    return 0;
}

unsigned CControlDialog::removeSchedule(const ControlRequest& request) {
    if (!m_controlled.plan.remove(request.number)) {
        return GARDEND_NO_SUCH_SCHEDULE;
    }
    m_controlled.daemon.onPlanChanged();
    return 0;
}

// The plan looks at once: what is next may come within the minute.
unsigned CControlDialog::trustClock() {
    syslog(LOG_NOTICE, "the clock is right");
    zol::CTime::synchronized = 1;
    return m_controlled.plan.start() ? 0 : GARDEND_NO_MEMORY;
}

unsigned CControlDialog::changeLanguage(const ControlRequest& request, CText& answer) {
    m_wished = request.languages;
    if (m_wished != request.languages) {
        return GARDEND_NO_MEMORY;
    }
    answer.add(m_controlled.languages.choose(m_wished.get()).getLanguage()).add("\n");
    return 0;
}

unsigned CControlDialog::runJob(const ControlRequest& request) {
    CJob* const job = m_controlled.jobs.find(request.job);
    if (job == nullptr) {
        return GARDEND_NO_SUCH_JOB;
    }
    if (job->getState() == CJob::kRunning) {
        return GARDEND_JOB_IS_RUNNING;
    }
    return job->run() ? 0 : GARDEND_JOB_DOES_NOT_START;
}

// The answer leaves before the loop ends: it finishes its turn.
unsigned CControlDialog::quit() {
    syslog(LOG_NOTICE, "asked to quit");
    return m_controlled.loop.exitLoop() == 0 ? 0 : GARDEND_LOOP_DOES_NOT_END;
}

}  // namespace

CControlServer::CControlServer(const Controlled& controlled, const zol::CTime& timeLimit)
    : CDialogServer(controlled.loop.getThread(), "control", kMaxConnections, timeLimit),
      m_controlled(controlled) {}

zol::CConnection* CControlServer::createConnection(int fd) {
    return new (std::nothrow) CControlDialog(*this, fd, m_controlled);
}

}  // namespace gardend
