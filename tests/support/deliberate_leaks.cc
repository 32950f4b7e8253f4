// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What leaks on purpose, for the address sanitizer; valgrind.supp says the same to valgrind.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions() {
    // Withdrawn schedules: a walk may stand on them, see CScheduleHandler::delSchedules().
    return "leak:zol::CScheduleHandler::addSchedule\n"
           // The timer of a scheduler that is destroyed while it runs: its owner has not stopped
           // it.
           "leak:destroyWhileRunning\n"
           // The lists that an exception passes on its way out of a dependency or of a match: see
           // CPlugIns.
           "leak:zol::CPlugIns::addDependencies\n"
           "leak:zol::CPlugIns::addPatterns\n"
           // The loader's own list of libraries: not seen to be the loader's where the program
           // defines malloc().
           "leak:ld-linux\n";
}
