// How long a job takes.
#pragma once

#include <algorithm>
#include <chrono>

namespace tallowbrook::bench {

template <class Job>
double seconds(Job&& job) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  job();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The quickest of a few rounds: what the machine does besides only ever adds.
template <class Job>
double best(int rounds, Job&& job) {
  double quickest = seconds(job);
  for (int i = 1; i < rounds; ++i) quickest = std::min(quickest, seconds(job));
  return quickest;
}

}  // namespace tallowbrook::bench
