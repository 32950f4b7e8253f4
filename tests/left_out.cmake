# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Which target this is, and what cannot be tested on it: left_out_PROGRAM lists the cases, with the
# reasons. Everything else runs everywhere.
include(CheckSymbolExists)
check_symbol_exists(__GLIBC__ features.h ZOL_LIKE_GLIBC)  # defined by uClibc, too
set(zol_is_emulated OFF)
if(CMAKE_CROSSCOMPILING_EMULATOR MATCHES "^(.*/)?qemu-")
    set(zol_is_emulated ON)
endif()

if(zol_is_emulated)
    # Ten thousand children take five minutes and more where each has to be emulated.
    list(APPEND left_out_xexec_test *TenThousand*)
    # The emulator needs the last real-time signals itself.
    list(APPEND left_out_evlp_test SignalOpen.AcceptsRealTimeSignals
         SignalOpen.AcceptsTheLastSignalThereIs
    )
endif()

if(NOT ZOL_LIKE_GLIBC)
    # musl never takes a library out of the process, and keeps what it allocated for it.
    list(APPEND left_out_plugin_test UnloadablePlugIn.*)
    list(APPEND left_out_alloc_faults_test PlugInExceptionFaults.*)
endif()

if(ZOL_UCLIBC)
    # strptime(3) fills in nothing where it fails.
    list(APPEND left_out_event_time_test
         Time.ReadFromTextKeepsTheFieldsThatWereReadWhenParsingFails
    )
    # dlclose(3) takes away what others still use by its symbols alone; and symbols that are unique
    # in the process are not found by dlopen(3).
    list(APPEND left_out_plugin_test
         Dependencies.StayInTheProcessAsLongAsTheirSymbolsAreUsed
         UnloadablePlugIn.StaysWhenItsTablesAreUniqueInTheProcess
    )
    # setvbuf(3) is refused once a stream has been read.
    list(APPEND left_out_alloc_faults_test CatalogFaults.AnOpenFileHoldsNoBuffer)
    # pthread_cancel(3) aborts where there is no libgcc_s.so.1, as in the toolchain that we make.
    list(APPEND left_out_xexec_test
         XexecStart.AThreadThatIsBeingCancelledStartsItsChildFirst
    )
    # The clock has 32 bits and does not reach that far.
    list(APPEND left_out_evlp_test TimerStart.WithADelayBeyondTheEndOfTimeNeverFires)
endif()
