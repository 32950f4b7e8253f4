// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_MOISTURE_FILES_H
#define GARDEND_MOISTURE_FILES_H

#include "zol/str.h"

#include "text.h"
#include "zone.h"

namespace gardend {

/**
 * Writes all samples of the moisture to files, of which there are some generations: "moisture.log"
 * goes on, and becomes "moisture.log.1" when it is full, as that becomes "moisture.log.2" and so
 * on. A line is "2026-11-16T06:30:00Z roses 31.0"; as long as the clock is not set it begins with
 * the seconds since the start of the system, "+90". Where it cannot be renamed it begins anew.
 */
class CMoistureFiles : public ISampleWatcher {
  public:
    static constexpr int kGenerations = 4;

    /** @param maxSize  of a file in bytes, by about a line */
    explicit CMoistureFiles(int maxSize = 65536) : m_maxSize(maxSize) {}

    /** @param folder  ""; nothing is written */
    void setFolder(const zol::CStr& folder);

    void onSample(const char* zone, int permille) override;

  private:
    bool append(const char* path, const CText& line);

    zol::CStr m_folder;
    int m_maxSize;
    // As far as is known.
    bool m_isWritable = true;
    bool m_isRotatable = true;
};

}  // namespace gardend

#endif
