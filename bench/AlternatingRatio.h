#pragma once
// Compares two jobs on a shared, noisy machine: they run in turns (A, B, A, B, ...), so that a
// slow stretch of the machine falls on both, and each side's median time per call is kept. Only
// the ratio taken in one run means anything.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace bench {

struct Ratio {
  double medianMsA;
  double medianMsB;
  double aOverB;
};

inline double MedianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Times `a` and `b` alternately `rounds` times each (one call per turn, after one untimed call of
// each to warm caches and allocators). `untimed`, when given, runs after every call of either, out
// of the clock (say, the event-loop turn that publishes what a call changed).
inline Ratio CompareInTurns(const std::function<void()>& a, const std::function<void()>& b, int rounds = 15,
                            const std::function<void()>& untimed = {}) {
  using Clock = std::chrono::steady_clock;
  const auto timeOne = [&untimed](const std::function<void()>& job) {
    const Clock::time_point start = Clock::now();
    job();
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (untimed) untimed();
    return ms;
  };
  timeOne(a);
  timeOne(b);
  std::vector<double> timesA, timesB;
  for (int round = 0; round < rounds; ++round) {
    timesA.push_back(timeOne(a));
    timesB.push_back(timeOne(b));
  }
  const double medianA = MedianOf(timesA);
  const double medianB = MedianOf(timesB);
  return Ratio{medianA, medianB, medianA / medianB};
}

// Prints the two medians and then `name=<ratio>` on a line of its own, for scripts to pick up.
inline void PrintRatio(const char* name, const char* whatA, const char* whatB, const Ratio& ratio) {
  std::printf("%s: median %.3f ms; %s: median %.3f ms\n%s=%.2f\n", whatA, ratio.medianMsA, whatB, ratio.medianMsB, name,
              ratio.aOverB);
}

}  // namespace bench
