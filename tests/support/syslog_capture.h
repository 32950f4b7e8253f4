// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_SYSLOG_CAPTURE_H
#define TESTS_SUPPORT_SYSLOG_CAPTURE_H

#include <string>
#include <vector>

// What the code under test reports to the system log while an object of this class lives. The test
// program defines syslog() and vsyslog() itself, see syslog_capture.cc.
class SyslogCapture {
  public:
    struct Line {
        int priority;
        std::string text;  // with the line number replaced: " function(#): ..."
        bool operator==(const Line& other) const {
            return priority == other.priority && text == other.text;
        }
    };

    SyslogCapture();
    ~SyslogCapture();
    SyslogCapture(const SyslogCapture&) = delete;
    SyslogCapture& operator=(const SyslogCapture&) = delete;

    const std::vector<Line>& lines() const { return m_lines; }
    void clear() { m_lines.clear(); }
    void add(int priority, const std::string& text);

  private:
    std::vector<Line> m_lines;
};

void PrintTo(const SyslogCapture::Line& line, std::ostream* out);

#endif
