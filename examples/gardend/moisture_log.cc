// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "moisture_log.h"

namespace gardend {

void CMoistureLog::add(int permille, int day) {
    if (m_count == 0 || day != m_day) {
        *this = CMoistureLog();
        m_day = day;
        m_lowest = permille;
        m_highest = permille;
    }
    ++m_count;
    m_sum += permille;
    m_lowest = permille < m_lowest ? permille : m_lowest;
    m_highest = permille > m_highest ? permille : m_highest;
}

}  // namespace gardend
