// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "status_page.h"

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
h1 { font-weight: 500; color: #2d6a3e; }
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
<tr><th>Zone</th><th>Valve</th><th>Moisture</th><th class="number">Delivered</th></tr>
)";

void addRow(const Zone& zone, CText& out) {
    out.add("<tr><td>").addHtml(zone.name.get());
    out.add(zone.open ? "</td><td class=\"open\">open" : "</td><td>closed");
    out.add("</td><td><meter max=\"100\" value=\"");
    out.addDecimal(zone.getMoisturePermille(), 1).add("\"></meter> ");
    out.addDecimal(zone.getMoisturePermille(), 1).add(" %</td><td class=\"number\">");
    out.addDecimal(zone.getMillilitres(), 3).add(" l</td></tr>\n");
}

void addObject(const Zone& zone, CText& out) {
    out.add("{\"name\":\"").addJson(zone.name.get());
    out.add(zone.open ? "\",\"open\":true" : "\",\"open\":false");
    out.add(",\"moisturePercent\":").addDecimal(zone.getMoisturePermille(), 1);
    out.add(",\"litres\":").addDecimal(zone.getMillilitres(), 3).add("}");
}

}  // namespace

void writeStatusPage(const CGarden& garden, CText& out) {
    out.add(kPageHead);
    for (const Zone& zone : garden.getZones()) {
        addRow(zone, out);
    }
    out.addFormat("</table>\n<footer>%d of %d valves open · ", garden.getOpenCount(),
                  garden.getZones().getCount());
    out.addDecimal(garden.getMillilitres(), 3).add(" l delivered</footer>\n</body>\n</html>\n");
}

void writeStatusJson(const CGarden& garden, CText& out) {
    const char* separator = "";
    out.add("{\"zones\":[");
    for (const Zone& zone : garden.getZones()) {
        out.add(separator);
        addObject(zone, out);
        separator = ",";
    }
    out.add("]}\n");
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
        writeStatusPage(m_garden, answer.body);
    } else {
        answer.contentType = "application/json";
        writeStatusJson(m_garden, answer.body);
    }
}

}  // namespace gardend
