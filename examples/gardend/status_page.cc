// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "status_page.h"

#include "words.h"

namespace gardend {

namespace {

// Nothing is fetched from elsewhere, and no script runs, should a name ever smuggle one in.
constexpr char kPageFields[] =
    "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n";

constexpr char kPageHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="refresh" content="5">
<title>The garden</title>
<style>
body { font: 1rem/1.5 system-ui, sans-serif; color: #233; background: #eef4ea; margin: 2rem auto; max-width: 40rem; padding: 0 1rem; }
h1, h2 { font-weight: 500; color: #2d6a3e; }
h2 { font-size: 1.1rem; }
table { width: 100%; border-collapse: collapse; background: #fff; border-radius: .5rem; overflow: hidden; box-shadow: 0 1px 4px #0002; }
th, td { padding: .6rem .9rem; text-align: left; border-bottom: 1px solid #e3ebe0; }
th { background: #2d6a3e; color: #fff; font-weight: 500; }
.number { text-align: right; font-variant-numeric: tabular-nums; }
.open { color: #1767a8; font-weight: 600; }
meter { width: 6rem; vertical-align: middle; }
footer { margin-top: 1rem; color: #678; }
</style>
</head>
<body>
<h1>The garden 🌱</h1>
<table>
<tr><th>Zone</th><th>Valve</th><th>Moisture</th><th>Moisture today</th><th class="number">Delivered</th></tr>
)";

constexpr char kScheduleHead[] = R"(<h2>Every week</h2>
<table>
<tr><th>Zone</th><th>Days</th><th>Time</th><th class="number">Minutes</th></tr>
)";

void addValve(const CZone& zone, CText& out) {
    if (!zone.isOpen()) {
        out.add("<td>closed</td>");
        return;
    }
    out.add("<td class=\"open\">open");
    const int left = zone.getSecondsLeft();
    if (left > 0) {
        out.addFormat(" for %d:%02d", left / 60, left % 60);
    }
    out.add("</td>");
}

void addRow(const CZone& zone, CText& out) {
    const CMoistureLog& log = zone.getMoistureLog();
    out.add("<tr><td>").addHtml(zone.getName()).add("</td>");
    addValve(zone, out);
    out.add("<td><meter max=\"100\" value=\"");
    out.addDecimal(zone.getMoisturePermille(), 1).add("\"></meter> ");
    out.addDecimal(zone.getMoisturePermille(), 1).add(" %</td><td>");
    out.addDecimal(log.getLowest(), 1).add(" – ");
    out.addDecimal(log.getHighest(), 1).add(" %</td><td class=\"number\">");
    out.addDecimal(zone.getMillilitres(), 3).add(" l</td></tr>\n");
}

void addRow(const Schedule& schedule, CText& out) {
    char days[kDaysSize];
    writeDays(schedule.days, days);
    out.add("<tr><td>").addHtml(schedule.zone->getName());
    out.addFormat("</td><td>%s</td><td>%02d:%02d</td>", days, schedule.hour, schedule.minute);
    out.addFormat("<td class=\"number\">%d</td></tr>\n", schedule.runMinutes);
}

void addNext(const CWateringPlan& plan, CText& out) {
    const NextWatering next = plan.findNext();
    if (zol::CTime::synchronized == 0) {
        out.add("the clock is not set");
    } else if (next.schedule == nullptr) {
        out.add("nothing is scheduled");
    } else {
        out.add("next: ").addHtml(next.schedule->zone->getName());
        out.addFormat(" on %s at %02d:%02d", nameOfDay(next.day), next.schedule->hour,
                      next.schedule->minute);
    }
}

void addObject(const CZone& zone, CText& out) {
    const CMoistureLog& log = zone.getMoistureLog();
    out.add("{\"name\":\"").addJson(zone.getName());
    out.add(zone.isOpen() ? "\",\"open\":true" : "\",\"open\":false");
    out.addFormat(",\"secondsLeft\":%d", zone.getSecondsLeft());
    out.add(",\"moisturePercent\":").addDecimal(zone.getMoisturePermille(), 1);
    out.add(",\"lowestPercent\":").addDecimal(log.getLowest(), 1);
    out.add(",\"meanPercent\":").addDecimal(log.getMean(), 1);
    out.add(",\"highestPercent\":").addDecimal(log.getHighest(), 1);
    out.add(",\"litres\":").addDecimal(zone.getMillilitres(), 3).add("}");
}

void addObject(const Schedule& schedule, CText& out) {
    char days[kDaysSize];
    writeDays(schedule.days, days);
    out.addFormat("{\"number\":%d,\"zone\":\"", schedule.number);
    out.addJson(schedule.zone->getName());
    out.addFormat("\",\"days\":\"%s\",\"time\":\"%02d:%02d\",\"minutes\":%d}", days, schedule.hour,
                  schedule.minute, schedule.runMinutes);
}

}  // namespace

void writeStatusPage(const CGarden& garden, const CWateringPlan& plan, CText& out) {
    out.add(kPageHead);
    for (const CZone& zone : garden.getZones()) {
        addRow(zone, out);
    }
    out.add("</table>\n");
    if (!plan.getSchedules().isEmpty()) {
        out.add(kScheduleHead);
        for (const Schedule& schedule : plan.getSchedules()) {
            addRow(schedule, out);
        }
        out.add("</table>\n");
    }
    out.addFormat("<footer>%d of %d valves open · ", garden.getOpenCount(), CGarden::kZoneCount);
    out.addDecimal(garden.getMillilitres(), 3).add(" l delivered · ");
    addNext(plan, out);
    out.add("</footer>\n</body>\n</html>\n");
}

void writeStatusJson(const CGarden& garden, const CWateringPlan& plan, CText& out) {
    const char* separator = "";
    out.add("{\"zones\":[");
    for (const CZone& zone : garden.getZones()) {
        out.add(separator);
        addObject(zone, out);
        separator = ",";
    }
    separator = "";
    out.add("],\"schedules\":[");
    for (const Schedule& schedule : plan.getSchedules()) {
        out.add(separator);
        addObject(schedule, out);
        separator = ",";
    }
    out.add("],\"clockSynchronized\":");
    out.add(zol::CTime::synchronized != 0 ? "true}\n" : "false}\n");
}

void CStatusSite::answer(const HttpRequest& request, HttpAnswer& answer) {
    const bool isPage = request.path == "/";
    if (!isPage && request.path != "/status.json") {
        makeError(404, answer);
    } else if (request.method != "GET" && request.method != "HEAD") {
        makeError(405, answer);
        answer.fields = "Allow: GET, HEAD\r\n";
    } else if (isPage) {
        answer.contentType = "text/html; charset=utf-8";
        answer.fields = kPageFields;
        writeStatusPage(m_garden, m_plan, answer.body);
    } else {
        answer.contentType = "application/json";
        writeStatusJson(m_garden, m_plan, answer.body);
    }
}

}  // namespace gardend
