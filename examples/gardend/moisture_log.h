// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_MOISTURE_LOG_H
#define GARDEND_MOISTURE_LOG_H

#include <stdint.h>

namespace gardend {

/** The lowest, the mean and the highest of the moisture samples of one day. */
class CMoistureLog {
  public:
    CMoistureLog() = default;

    /** As an earlier log was, of at least one sample. */
    CMoistureLog(int day, int count, int64_t sum, int lowest, int highest)
        : m_day(day), m_count(count), m_sum(sum), m_lowest(lowest), m_highest(highest) {}

    /**
     * Adds a sample. The first one of another day begins a new log.
     *
     * @param day  any number that is different on different days
     */
    void add(int permille, int day);

    int getDay() const { return m_day; }
    int getCount() const { return m_count; }
    int64_t getSum() const { return m_sum; }

    // Each 0 as long as there is no sample.
    int getLowest() const { return m_lowest; }
    int getHighest() const { return m_highest; }
    int getMean() const { return m_count == 0 ? 0 : static_cast<int>(m_sum / m_count); }

  private:
    int m_day = 0;
    int m_count = 0;
    int64_t m_sum = 0;
    int m_lowest = 0;
    int m_highest = 0;
};

}  // namespace gardend

#endif
