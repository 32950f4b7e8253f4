/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_ZOL_H
#define ZOL_ZOL_H

/**
 * @file zol/zol.h
 * All of the library's headers.
 *
 * @section compiling Compiling and linking
 *
 * pkg-config knows what compilers need, as the module `zol`; the services of which programs call
 * functions themselves are the modules `evlp` and `xexec`, and `evlp_sim`, the loop on a virtual
 * clock, comes before all others. In CMake find_package(zol) makes the targets `zol::zol`,
 * `zol::evlp`, `zol::xexec`, `zol::evlp_sim` and, for plug-ins, `zol::plugin`.
 *
 * @section examples Examples
 *
 * A string in C, hello.c:
 * @verbatim
#include <stdio.h>
#include <zol/str.h>

int main(int argc, char** argv) {
    xstr text;
    xstr_init(&text);
    xstr_format(&text, "hello, %s", argc > 1 ? argv[1] : "world");
    puts(text);
    xstr_free(&text);
    return 0;
}
@endverbatim
 * It is compiled, linked and started by
 * @verbatim
$ cc -std=c99 hello.c -o hello $(pkg-config --cflags --libs zol)
$ ./hello garden
hello, garden
@endverbatim
 *
 * An event loop with a timer in C++, ticks.cc:
 * @verbatim
#include <stdio.h>
#include <zol/event.h>

class CTicks : public zol::CEventDest<CTicks, void> {
  public:
    explicit CTicks(zol::CEventLoop& loop) : m_loop(loop) {
        m_timer.open(loop.getThread());
        wait();
    }

  private:
    void wait() { m_timer.add(zol::CTime(100000)); }  // microseconds
    void tick(int) {
        printf("tick %d\n", ++m_count);
        m_count < 3 ? wait() : (void)m_loop.exitLoop();
    }

    zol::CEventLoop& m_loop;
    zol::CEventTimer<CTicks, int> m_timer{this, &CTicks::tick, 0};
    int m_count = 0;
};

int main() {
    zol::CEventLoop loop;
    CTicks ticks(loop);
    return loop.loop(0, 0) == 0 ? 0 : 1;
}
@endverbatim
 * It is compiled, linked and started by
 * @verbatim
$ c++ -std=c++17 ticks.cc -o ticks $(pkg-config --cflags --libs zol)
$ ./ticks
tick 1
tick 2
tick 3
@endverbatim
 */

#include "zol/alloc.h"
#include "zol/buffer.h"
#include "zol/cat.h"
#include "zol/cond.h"
#include "zol/digest.h"
#include "zol/event.h"
#include "zol/export.h"
#include "zol/file.h"
#include "zol/list.h"
#include "zol/log.h"
#include "zol/lyctx.h"
#include "zol/plugin.h"
#include "zol/process.h"
#include "zol/sbuf.h"
#include "zol/sched.h"
#include "zol/server.h"
#include "zol/sock.h"
#include "zol/str.h"
#include "zol/tab.h"
#include "zol/time.h"
#include "zol/timer.h"
#include "zol/version.h"

#endif
