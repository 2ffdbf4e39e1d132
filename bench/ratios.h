// SPDX-License-Identifier: Apache-2.0
//
// Measurements in pairs: ours and a reference that does the same, in turns within one run.

#ifndef BENCH_RATIOS_H
#define BENCH_RATIOS_H

#include <functional>
#include <string>

/// A pair to measure: one call of each is one unit of work. Kept until RunPairs.
void AddPair(const std::string& what, std::function<void()> ours, std::function<void()> reference);

/// Measures all pairs and prints a line for each: the median time of both over many short rounds,
/// whose order is left to chance so that what else the machine does weighs on both alike, and their
/// ratio (below 1: ours is faster). Options are Google Benchmark's.
/// \return the exit status of a program
int RunPairs(int argc, char** argv);

#endif
