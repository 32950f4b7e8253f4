// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>
#include <zol/str.h>
#include <zol/tab.h>

struct CLamp {
    zol::CStr name;
    int watts;
};

// Reads lamps from "kitchen 40; hall 15".
static zol::CTab<CLamp> readLamps(const zol::CStr& settings) {
    zol::CTab<CLamp> lamps;
    for (int begin = 0, end = 0; begin < settings.getLength(); begin = end + 1) {
        end = settings.find(";", static_cast<unsigned>(begin));
        if (end == -1) {
            end = settings.getLength();
        }
        const zol::CStr words = zol::CStr(settings.get() + begin, end - begin).trim();
        const int blank = words.findLast(" ");
        if (blank == -1) {
            syslog(LOG_ERR, "a lamp without watts: %s", words.get());
            continue;
        }
        lamps.append({zol::CStr(words.get(), blank), atoi(words.get() + blank)});
    }
    return lamps;
}

int main(int argc, char** argv) {
    openlog("lampd", LOG_PERROR, LOG_DAEMON);  // what the library logs goes the same way

    zol::CTab<CLamp> lamps = readLamps(argc > 1 ? argv[1] : "");
    for (const CLamp& lamp : lamps) {
        printf("%s: %d W\n", lamp.name.get(), lamp.watts);
    }

    const zol::CTab<CLamp> before = lamps;      // one increment: both have the same elements
    if (CLamp* const own = lamps.getTable()) {  // for writing: now lamps has its own
        own[0].watts = 60;
        printf("%s: %d W now, %d W before\n", own[0].name.get(), own[0].watts, before[0].watts);
    }
    return 0;
}
