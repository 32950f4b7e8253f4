// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DRIVER_H
#define GARDEND_DRIVER_H

/**
 * @file
 * For those who write drivers: plug-ins (see zol/plugin.h) that move the valves, read the moisture
 * sensors, or do both.
 *
 *     #include "zol/plugin.h"
 *
 *     #include "driver.h"
 *
 *     class CRelays : public zol::CPlugInInstance, public gardend::IValveDriver {
 *         bool setValve(int line, bool open) override { ... }
 *         void onLoad(zol::CDynLib&) override { m_isAttached = gardend::attachValves(*this); }
 *         void onClose(zol::CDynLib&) override { gardend::detachValves(*this); }
 *         int onUpdate(zol::CDynLib&, int* settled) override {
 *             *settled += m_isAttached ? 1 : 0;
 *             return 0;
 *         }
 *         ...
 *     };
 *
 *     zol::CPlugInInstance* zol_getPlugIn() {
 *         static CRelays relays;
 *         return &relays;
 *     }
 *
 * gardend exports the functions below: a driver simply calls them, undeclared to the linker, and
 * cannot be loaded by a program that has none. The driver is the plug-in's instance itself, so that
 * gardend can tell which plug-in drives what.
 *
 * A driver is called on the thread of the loop, and everything else waits for it: it must not. Nor
 * must it throw: that ends gardend, with valves as they are. It is called from its attaching until
 * its detaching; gardend closes drivers when nothing is left that calls them, and has told all
 * valves to close before.
 */

#define GARDEND_API __attribute__((visibility("default")))

namespace gardend {

/** Each zone has a line of its own, below this: that of its valve, and of its sensor. */
constexpr int kLineCount = 8;

/** Slot order is part of the interface. */
class GARDEND_API IValveDriver {
  public:
    /**
     * Opens or closes a valve. When a zone gets its line the valve is told to close, whatever it
     * was; then it is told only what changes something. One that does not close is told again at
     * every tick.
     *
     * @return false when the valve does not obey: it counts as being as it was
     */
    virtual bool setValve(int line, bool open) = 0;

  protected:
    ~IValveDriver() = default;
};

/** Slot order is part of the interface. */
class GARDEND_API ISensorDriver {
  public:
    /**
     * Asked often: at every tick and every sample, and whenever the valve of the zone is to move.
     * What takes its time is better measured now and then, and answered from memory.
     *
     * @return the moisture, from 0 to 1000; anything else when the sensor does not answer
     */
    virtual int readMoisture(int line) = 0;

  protected:
    ~ISensorDriver() = default;
};

/** Hands a driver to gardend. @return false when there is another one: this is not called then */
GARDEND_API bool attachValves(IValveDriver& driver);
GARDEND_API bool attachSensors(ISensorDriver& driver);

/** Takes a driver back; nothing happens when it is not the one that gardend has. */
GARDEND_API void detachValves(IValveDriver& driver);
GARDEND_API void detachSensors(ISensorDriver& driver);

}  // namespace gardend

#endif
