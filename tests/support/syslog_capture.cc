// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/syslog_capture.h"

#include <ostream>
#include <regex>
#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>

namespace {
SyslogCapture* current = nullptr;
}

SyslogCapture::SyslogCapture() {
    current = this;
}

SyslogCapture::~SyslogCapture() {
    current = nullptr;
}

void SyslogCapture::add(int priority, const std::string& text) {
    static const std::regex lineNumber("^( [A-Za-z_]+)\\([1-9][0-9]*\\): ");
    m_lines.push_back({priority, std::regex_replace(text, lineNumber, "$1(#): ")});
}

void PrintTo(const SyslogCapture::Line& line, std::ostream* out) {
    *out << line.priority << " \"" << line.text << '"';
}

// The executable's definitions win over those of the C library.
extern "C" {

void vsyslog(int priority, const char* format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    if (current != nullptr) {
        current->add(priority, text);
    }
}

void syslog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

}  // extern "C"
