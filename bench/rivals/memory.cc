// The allocation functions are this program's own: they count, and pass on to the C library's.
#include "bench/rivals/memory.h"

#include <malloc.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

thread_local std::size_t t_allocations = 0;

}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) {
  ++t_allocations;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  ++t_allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  ++t_allocations;
  return __libc_realloc(block, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
  ++t_allocations;
  return __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}
}

namespace tallowbrook::bench {
namespace {

// A line of /proc/self/status, in bytes.
std::size_t status_value(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::stoul(line.substr(std::strlen(name))) * 1024;
  }
  return 0;
}

}  // namespace

std::size_t allocations_of(const std::function<void()>& job) {
  const std::size_t before = t_allocations;
  job();
  return t_allocations - before;
}

std::size_t peak_of(const std::function<void()>& job) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << '5';  // the high-water mark starts anew
  const std::size_t before = status_value("VmRSS:");
  job();
  const std::size_t peak = status_value("VmHWM:");
  return peak > before ? peak - before : 0;
}

}  // namespace tallowbrook::bench
