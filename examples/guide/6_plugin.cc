// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <zol/plugin.h>

// What drivers call. They find it by its name, so the program has to export it.
extern "C" __attribute__((visibility("default"))) void lampd_useDriver(void (*set)(int isOn));

static void (*setLamp)(int isOn);

void lampd_useDriver(void (*set)(int isOn)) {
    setLamp = set;
}

int main(int argc, char** argv) {
    zol::CPlugIns drivers;
    drivers.addPatterns(argc > 1 ? argv[1] : "");
    printf("%d loaded\n", drivers.getPlugIns().getCount());
    if (setLamp == nullptr) {
        return 1;
    }
    setLamp(1);
    setLamp(0);
    return 0;  // the manager closes its plug-ins
}
