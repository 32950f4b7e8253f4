// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "status_page.h"

#include <time.h>

#include "display.h"
#include "monotonic_time.h"
#include "summary.h"
#include "words.h"

namespace gardend {

namespace {

// Nothing is fetched from elsewhere, and no script runs, should a name ever smuggle one in.
constexpr char kPageFields[] =
    "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n";

constexpr char kStyle[] = R"(<style>
body { font: 1rem/1.5 system-ui, sans-serif; color: #233; background: #eef4ea; margin: 2rem auto; max-width: 40rem; padding: 0 1rem; }
h1, h2 { font-weight: 500; color: #2d6a3e; }
h2 { font-size: 1.1rem; }
table { width: 100%; border-collapse: collapse; background: #fff; border-radius: .5rem; overflow: hidden; box-shadow: 0 1px 4px #0002; }
th, td { padding: .6rem .9rem; text-align: left; border-bottom: 1px solid #e3ebe0; }
th { background: #2d6a3e; color: #fff; font-weight: 500; }
.number { text-align: right; font-variant-numeric: tabular-nums; }
.open { color: #1767a8; font-weight: 600; }
meter { width: 6rem; vertical-align: middle; }
pre { display: inline-block; padding: .5rem .9rem; background: #243; color: #cf9; border-radius: .5rem; }
footer { margin-top: 1rem; color: #678; }
</style>
)";

/** A page as it is written: what is markup, and what is text in the language of the reader. */
class CPage {
  public:
    CPage(const CPhrases& phrases, CText& out) : m_phrases(phrases), m_out(out) {}

    CPage& markup(const char* bytes) {
        m_out.add(bytes);
        return *this;
    }

    CPage& say(unsigned id, std::initializer_list<Value> values = {}) {
        CText text;
        m_phrases.add(text, id, values);
        return plain(text);
    }

    CPage& plain(const Value& text) {
        m_out.addHtml(text);
        return *this;
    }

    /** Begins a table with its head. What the last column holds are numbers. */
    CPage& beginTable(std::initializer_list<unsigned> columns);

    CShort decimal(int64_t number, int decimals) const {
        return m_phrases.decimal(number, decimals);
    }

  private:
    const CPhrases& m_phrases;
    CText& m_out;
};

CPage& CPage::beginTable(std::initializer_list<unsigned> columns) {
    markup("<table>\n<tr>");
    for (const unsigned& column : columns) {
        markup(&column + 1 == columns.end() ? "<th class=\"number\">" : "<th>");
        say(column).markup("</th>");
    }
    return markup("</tr>\n");
}

void addHead(const CPhrases& phrases, CPage& page) {
    page.markup("<!DOCTYPE html>\n<html lang=\"").markup(phrases.getLanguage());
    page.markup(
        "\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta http-equiv=\"refresh\" content=\"5\">\n<title>");
    page.say(GARDEND_TITLE).markup("</title>\n").markup(kStyle);
    page.markup("</head>\n<body>\n<h1>").say(GARDEND_TITLE).markup(" 🌱</h1>\n");
}

void addValve(const CZone& zone, CPage& page) {
    const int left = zone.getSecondsLeft();
    if (!zone.isOpen()) {
        page.markup("<td>").say(GARDEND_CLOSED);
    } else if (left == 0) {
        page.markup("<td class=\"open\">").say(GARDEND_OPEN);
    } else {
        page.markup("<td class=\"open\">");
        page.say(GARDEND_OPEN_FOR, {CShort("%d:%02d", left / 60, left % 60)});
    }
    page.markup("</td>");
}

void addZone(const CZone& zone, CPage& page) {
    const CMoistureLog& log = zone.getMoistureLog();
    const int moisture = zone.getMoisturePermille();
    page.markup("<tr><td>").plain(zone.getName()).markup("</td>");
    addValve(zone, page);
    page.markup("<td><meter max=\"100\" value=\"").plain(makeDecimal(moisture, 1));
    page.markup("\"></meter> ").say(GARDEND_PERCENT, {page.decimal(moisture, 1)});
    page.markup("</td><td>");
    page.say(GARDEND_RANGE, {page.decimal(log.getLowest(), 1), page.decimal(log.getHighest(), 1)});
    page.markup("</td><td class=\"number\">");
    page.say(GARDEND_LITRES, {page.decimal(zone.getMillilitres(), 3)}).markup("</td></tr>\n");
}

void addDays(uint8_t days, CPage& page) {
    if (days == kDaily) {
        page.say(GARDEND_DAILY);
        return;
    }
    bool isFirst = true;
    for (unsigned i = 1; i <= 7; ++i) {
        const unsigned day = i % 7;  // from Monday to Sunday
        if ((days >> day & 1U) != 0) {
            if (!isFirst) {
                page.say(GARDEND_DAY_SEPARATOR);
            }
            page.say(GARDEND_SUNDAY + day);
            isFirst = false;
        }
    }
}

void addSchedule(const Schedule& schedule, CPage& page) {
    page.markup("<tr><td>").plain(schedule.zone->getName()).markup("</td><td>");
    addDays(schedule.days, page);
    page.markup("</td><td>").plain(CShort("%02d:%02d", schedule.hour, schedule.minute));
    page.markup("</td><td class=\"number\">").plain(CShort("%d", schedule.runMinutes));
    page.markup("</td></tr>\n");
}

// Each with an address that is good from now on for some minutes.
void addLogs(const CDownloads& downloads, CPage& page) {
    const zol::CTab<zol::CStr> names = downloads.list();
    if (names.isEmpty()) {
        return;
    }
    page.markup("<h2>").say(GARDEND_LOGS).markup("</h2>\n<ul>\n");
    for (const zol::CStr& name : names) {
        const zol::CStr address = downloads.makeAddress(name);
        if (address.isEmpty()) {
            continue;  // no memory; a link to nowhere would lead back to the page
        }
        page.markup("<li><a href=\"").plain(address.get()).markup("\">");
        page.plain(name.get()).markup("</a></li>\n");
    }
    page.markup("</ul>\n");
}

void addDisplay(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                CPage& page) {
    Display display;
    writeDisplay(garden, plan, phrases, display);
    page.markup("<pre>").plain(display.lines[0]).markup("\n");
    page.plain(display.lines[1]).markup("</pre>\n");
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

void writeStatusPage(const CGarden& garden, const CWateringPlan& plan, const CDownloads& downloads,
                     const CPhrases& phrases, CText& out) {
    CPage page(phrases, out);
    addHead(phrases, page);
    page.beginTable(
        {GARDEND_ZONE, GARDEND_VALVE, GARDEND_MOISTURE, GARDEND_MOISTURE_TODAY, GARDEND_DELIVERED});
    for (const CZone& zone : garden.getZones()) {
        addZone(zone, page);
    }
    page.markup("</table>\n");
    if (!plan.getSchedules().isEmpty()) {
        page.markup("<h2>").say(GARDEND_EVERY_WEEK).markup("</h2>\n");
        page.beginTable({GARDEND_ZONE, GARDEND_DAYS, GARDEND_TIME, GARDEND_MINUTES});
        for (const Schedule& schedule : plan.getSchedules()) {
            addSchedule(schedule, page);
        }
        page.markup("</table>\n");
    }
    addLogs(downloads, page);
    addDisplay(garden, plan, phrases, page);
    CText summary;
    addSummary(garden, plan, phrases, summary);
    page.markup("<footer>").plain(summary).markup("</footer>\n</body>\n</html>\n");
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
    const bool isDownload = CDownloads::isAddress(request.path);
    if (!isPage && !isDownload && request.path != "/status.json") {
        makeError(404, answer);
        return;
    }
    CText challenge;
    const int refusal = isDownload ? 0 : m_parts.login.check(request, monotonicTime(), challenge);
    if (refusal != 0) {
        makeError(refusal, answer);
        answer.fields.add(challenge);
    } else if (request.method != "GET" && request.method != "HEAD") {
        makeError(405, answer);
        answer.fields.add("Allow: GET, HEAD\r\n");
    } else if (isDownload) {
        m_parts.downloads.answer(request.path, time(nullptr), answer);
    } else if (isPage) {
        answer.contentType = "text/html; charset=utf-8";
        answer.fields.add(kPageFields);
        const CPhrases phrases = m_parts.languages.choose(request.languages.get());
        answer.language = phrases.getLanguage();
        writeStatusPage(m_parts.garden, m_parts.plan, m_parts.downloads, phrases, answer.body);
    } else {
        answer.contentType = "application/json";
        writeStatusJson(m_parts.garden, m_parts.plan, answer.body);
    }
}

}  // namespace gardend
