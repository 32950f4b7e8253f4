// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The parser of gardend's configuration: any bytes are read, what is wrong with them is said in
// clean lines, and what is accepted can be followed.
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <syslog.h>

#include "zol/buffer.h"

#include "configuration.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Complaints go to the log, too: with their arguments, and from there nowhere.
extern "C" void vsyslog(int, const char* format, va_list arguments) {
    char line[1000];
    vsnprintf(line, sizeof line, format, arguments);
}

extern "C" void syslog(int, const char*, ...) {}

namespace {

class NoDrivers : public gardend::IValveDriver, public gardend::ISensorDriver {
  public:
    bool setValve(int, bool) override { return true; }
    int readMoisture(int line) override { return line * 100; }
};

void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}

void checkComplaints(const char* complaints) {
    const std::string all = complaints;
    for (size_t begin = 0; begin < all.size();) {
        const size_t end = all.find('\n', begin);
        check(end != std::string::npos, "complaints are lines");
        check(gardend::isLine(all.substr(begin, end - begin).c_str()), "they are clean text");
        begin = end + 1;
    }
}

void follow(const gardend::Configuration& configuration) {
    NoDrivers drivers;
    gardend::CGarden garden({drivers, drivers});
    gardend::CWateringPlan plan(nullptr);
    check(configuration.zones.getCount() > 0, "there is a zone");
    check(garden.add(configuration.zones), "there is room for the zones");
    check(plan.configure(configuration.schedules, garden) == 0, "and for the schedules");
    for (const gardend::CZone& zone : garden.getZones()) {
        for (int hour = 0; hour < 24; ++hour) {
            tm now = {};
            now.tm_hour = hour;
            now.tm_wday = hour % 7;
            (void)configuration.rules.allow({garden, zone, now});
        }
    }
}

std::unique_ptr<gardend::Configuration> parse(const std::string& text, gardend::CText& complaints) {
    xbuffer bytes = nullptr;
    xbuffer_set(&bytes, text.data(), static_cast<int>(text.size()));
    FILE* const stream = xbuffer_fopen(&bytes, "r");
    auto configuration = gardend::parseConfiguration(stream, "file", complaints);
    fclose(stream);
    xsbuf_free(&bytes);
    return configuration;
}

int countComplaints(const gardend::CText& complaints) {
    const std::string all = complaints.get();
    int count = 0;
    for (size_t begin = 0; begin < all.size(); begin = all.find('\n', begin) + 1) {
        count += all.compare(begin, 5, "file:") == 0 ? 1 : 0;
    }
    return count;
}

// What has been wrong before silences nothing that follows, but where the parser gives up, and
// where enough has been said. The line between the two ends what is unfinished.
void checkThatMoreIsSeen(const std::string& text) {
    constexpr int kMaxComplaints = 20;
    gardend::CText before;
    gardend::CText after;
    (void)parse(text + "\n;\n", before);
    (void)parse(text + "\n;\nhook \"\";\n", after);
    const int count = countComplaints(before);
    const bool hasGivenUp = strstr(before.get(), ": this is nested too deep\n") != nullptr;
    check(hasGivenUp || count >= kMaxComplaints || countComplaints(after) > count,
          "a further fault is seen");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    gardend::CText complaints;
    const auto configuration = parse(text, complaints);

    check(complaints.isWhole(), "there is memory");
    check((configuration == nullptr) == !complaints.isEmpty(), "a refusal says why");
    checkComplaints(complaints.get());
    if (configuration != nullptr) {
        follow(*configuration);
    } else {
        checkThatMoreIsSeen(text);
    }
    return 0;
}
