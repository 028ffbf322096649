// Kept in a translation unit of its own, so the compiler never pairs an inlined free with the
// replaced operator new.
#include "allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> gAllocations{0};
thread_local size_t tAllocations = 0;

}  // namespace

void* operator new(size_t size) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  ++tAllocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, size_t /*size*/) noexcept {
  std::free(memory);
}

namespace cpd::bench {

size_t AllocationCount() {
  return gAllocations.load(std::memory_order_relaxed);
}

size_t ThisThreadAllocationCount() {
  return tAllocations;
}

}  // namespace cpd::bench
