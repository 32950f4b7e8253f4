// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A plug-in with a table of records of its own.

#include "zol/plugin.h"

namespace {

class CReadings : public zol::CPlugInInstance {
  public:
    int onUpdate(zol::CDynLib&, int* settled) override;
};

}  // namespace

// Not in the unnamed namespace, where nobody else could have the same table.
struct Reading {
    long when;
    int moisture;
};

int CReadings::onUpdate(zol::CDynLib&, int* settled) {
    zol::CTab<Reading> readings;
    *settled += readings.append({1, 40});
    return 0;
}

zol::CPlugInInstance* zol_getPlugIn() {
    static CReadings instance;
    return &instance;
}
