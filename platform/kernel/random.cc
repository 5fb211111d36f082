#include "platform/kernel/random.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace tallowbrook::platform {
namespace {

constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;

constinit std::atomic<std::uint64_t> counter{0};  // 0: not seeded

std::uint64_t mix(std::uint64_t value) {
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
  return value ^ (value >> 31);
}

}  // namespace

void SeedRandom() {
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const auto process = static_cast<std::uint64_t>(getpid());
  counter.store(mix(static_cast<std::uint64_t>(now) ^ (process << 40)) | 1,
                std::memory_order_relaxed);
}

int NextRandom() {
  if (counter.load(std::memory_order_relaxed) == 0) SeedRandom();
  const std::uint64_t drawn = mix(counter.fetch_add(kStep, std::memory_order_relaxed));
  return static_cast<int>(drawn >> 49);
}

}  // namespace tallowbrook::platform
