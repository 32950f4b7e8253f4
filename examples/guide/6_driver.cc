// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <zol/plugin.h>

static void setRelay(int isOn) {
    printf("relay %s\n", isOn != 0 ? "closed" : "open");
}

class CRelay : public zol::CPlugInInstance {
  public:
    void onLoad(zol::CDynLib& host) override { offer(host, setRelay); }
    void onClose(zol::CDynLib& host) override {
        offer(host, nullptr);  // its code will not be there any more
        puts("relay gone");
    }

  private:
    using Set = void (*)(int isOn);

    static void offer(zol::CDynLib& host, Set set) {
        const auto use = reinterpret_cast<void (*)(Set)>(host.getSymbol("lampd_useDriver"));
        if (use != nullptr) {
            use(set);
        }
    }
};

zol::CPlugInInstance* zol_getPlugIn() {
    static CRelay relay;
    return &relay;
}
