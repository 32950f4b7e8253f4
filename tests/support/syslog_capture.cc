// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/syslog_capture.h"

#include <errno.h>
#include <ostream>
#include <stdarg.h>
#include <stdio.h>
#include <string>
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
    std::string line = text;
    const size_t open = line.find('(');
    const size_t close = line.find_first_not_of("0123456789", open + 1);
    if (open != std::string::npos && close > open + 1 && line.compare(close, 3, "): ") == 0) {
        line.replace(open + 1, close - open - 1, "#");
    }
    m_lines.push_back({priority, line});
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
    errno = 0;  // as it may be after writing to a socket
}

void syslog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

// What the C library's headers make of the two where they are told to check arguments.
__attribute__((format(printf, 3, 0))) void __vsyslog_chk(int priority, int flag, const char* format,
                                                         va_list args);
__attribute__((format(printf, 3, 4))) void __syslog_chk(int priority, int flag, const char* format,
                                                        ...);

void __vsyslog_chk(int priority, int, const char* format, va_list args) {
    vsyslog(priority, format, args);
}

void __syslog_chk(int priority, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

}  // extern "C"
