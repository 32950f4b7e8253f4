// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef MEASURE_H
#define MEASURE_H

#include <benchmark/benchmark.h>
#include <string>

#include "allocations.h"

// A benchmark is named subject/peer/size. Those that differ in the peer alone do the same work,
// and ratios.py compares them. The peer "limit" does by hand what no library can do without.

namespace bench {

/** Registers a function of benchmark::State&. @return the benchmark, for further settings */
template <class Function>
benchmark::internal::Benchmark* add(const std::string& subject, const char* peer, int size,
                                    Function function) {
    const std::string name = subject + "/" + peer + "/" + std::to_string(size);
    return benchmark::RegisterBenchmark(name.c_str(), function);
}

/** Runs `body`, which does `operations` operations, as often as the benchmark wants. */
template <class Body>
void measure(benchmark::State& state, int operations, Body body) {
    const uint64_t before = allocations();
    for ([[maybe_unused]] auto iteration : state) {
        body();
    }
    const auto allocated = static_cast<double>(allocations() - before);
    state.counters["operations"] = operations;
    state.counters["allocations"] =
        allocated / (static_cast<double>(state.iterations()) * operations);
}

/** Numbers without pattern, the same ones in every run. */
class Numbers {
  public:
    /** @return a number from 0 to `limit` - 1 */
    unsigned below(unsigned limit) {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<unsigned>((m_state >> 32) * limit >> 32);
    }

  private:
    uint64_t m_state = 1;
};

/** Allows as many descriptors as the hard limit does. @return their number */
int raiseDescriptorLimit();

}  // namespace bench

#endif
