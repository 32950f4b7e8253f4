// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <sys/wait.h>
#include <typeinfo>
#include <zol/zol.h>

namespace {

// Derives from the library's classes, casts between them, is called by its loop, and told of the
// end of its child.
class Greeter : public zol::CEventCallback, public zol::IProcTermHandler {
  public:
    explicit Greeter(zol::CEventLoop& loop) : m_loop(loop) {}
    int onEvent(int, short, zol::CEvent*) override {
        zol::CTab<zol::CStr> words;
        words.append("hello");
        words.append("from C++");
        printf("%s %s\n", words[0].get(), words[1].get());
        return m_child.start("exit 3", XEXEC_PLAIN);
    }
    void onProcTerm(zol::CProcess*, int status) override {
        m_isTold = WIFEXITED(status) && WEXITSTATUS(status) == 3;
        (void)m_loop.exitLoop();
    }
    bool isTold() const { return m_isTold; }

  private:
    zol::CEventLoop& m_loop;
    zol::CProcess m_child{this, m_loop.getThread(), 8};
    bool m_isTold = false;
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
    return loop.loop(0, 0) == 0 && greeter.isTold() ? 0 : 1;
}
