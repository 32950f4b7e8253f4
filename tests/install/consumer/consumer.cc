// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <typeinfo>
#include <zol/zol.h>

namespace {

// Derives from the library's classes, casts between them, and is called by its loop.
class Greeter : public zol::CEventCallback {
  public:
    explicit Greeter(zol::CEventLoop& loop) : m_loop(loop) {}
    int onEvent(int, short, zol::CEvent*) override {
        zol::CTab<zol::CStr> words;
        words.append("hello");
        words.append("from C++");
        printf("%s %s\n", words[0].get(), words[1].get());
        return m_loop.exitLoop();
    }

  private:
    zol::CEventLoop& m_loop;
};

}  // namespace

int main() {
    zol::CEventLoop loop;
    Greeter greeter(loop);
    zol::CEventCallback* const callback = &greeter;
    if (dynamic_cast<Greeter*>(callback) == nullptr || typeid(*callback) != typeid(Greeter)) {
        return 1;
    }
    zol::CEvent timer(loop.getThread(), callback, -1, 0);
    timer.add(zol::CTime(1000));
    return loop.loop(0, 0) == 0 ? 0 : 1;
}
