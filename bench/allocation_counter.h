// Every heap allocation of the bench process, counted by a replaced global operator new.
#pragma once

#include <cstddef>

namespace cpd::bench {

size_t AllocationCount();
// The allocations the calling thread made.
size_t ThisThreadAllocationCount();

}  // namespace cpd::bench
