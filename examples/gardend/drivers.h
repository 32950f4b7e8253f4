// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DRIVERS_H
#define GARDEND_DRIVERS_H

#include "zol/plugin.h"
#include "zol/str.h"

#include "driver.h"
#include "text.h"

namespace gardend {

/**
 * The plug-ins, and the drivers that they have attached, see driver.h. One object a process, which
 * must live longer than whatever calls drivers: its end closes them.
 */
class CDrivers {
  public:
    /** Loads plug-ins. What cannot be loaded is logged, and missed.
     *  @param patterns  of glob(7), with ":" between them */
    explicit CDrivers(const char* patterns);

    // Each null as long as there is none.
    IValveDriver* getValves() const;
    ISensorDriver* getSensors() const;

    /** Adds a line for each plug-in, in the order in which they were loaded: those that others
     *  depend on come first. See control_protocol.h. */
    void list(CText& out) const;

  private:
    zol::CPlugIns m_plugIns;
};

/**
 * Finds the drivers of this program: in "drivers" beside it, or where both were installed.
 *
 * @return their pattern; empty when that folder has a ":" in its path, which would separate
 *         patterns, and when there is no memory
 */
zol::CStr findDrivers();

}  // namespace gardend

#endif
