// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <evlp/sim.h>
#include <zol/zol.h>

class CLamp : public zol::CEventDest<CLamp, void> {
  public:
    explicit CLamp(zol::CEventLoop& loop) { m_timer.open(loop.getThread()); }
    void turnOn() { m_isOn = m_timer.add(zol::CTime(60 * 1000000)) == 0; }
    bool isOn() const { return m_isOn; }

  private:
    void turnOff(int) { m_isOn = false; }
    zol::CEventTimer<CLamp, int> m_timer{this, &CLamp::turnOff, 0};
    bool m_isOn = false;
};

int main() {
    zol::CEventLoop loop;
    CLamp lamp(loop);
    lamp.turnOn();
    evlp_sim_advance(59 * 1000000);
    const bool wasOn = lamp.isOn();
    evlp_sim_advance(1 * 1000000);
    return wasOn && !lamp.isOn() ? 0 : 1;
}
