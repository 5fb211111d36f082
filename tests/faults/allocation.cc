// operator new is replaced; malloc and realloc are wrapped by the linker (see
// tests/CMakeLists.txt), so what the C library allocates for itself goes its own way.
#include "tests/faults/allocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t t_left = 0;  // allocations until the failing one; 0: none fails
thread_local bool t_happened = false;

bool fails() {
  if (t_left == 0 || --t_left > 0) return false;
  t_happened = true;
  return true;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) { return fails() ? nullptr : __real_malloc(size); }
void* __wrap_realloc(void* block, std::size_t size) {
  return fails() ? nullptr : __real_realloc(block, size);
}
}

void* operator new(std::size_t size) {
  void* block = fails() ? nullptr : __real_malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return fails() ? nullptr : __real_malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
  return operator new(size, nothrow);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

namespace tallowbrook::test {

FailingAllocation::FailingAllocation(std::size_t nth) {
  t_happened = false;
  t_left = nth;
}

FailingAllocation::~FailingAllocation() { t_left = 0; }

bool FailingAllocation::happened() const { return t_happened; }

}  // namespace tallowbrook::test
