// SPDX-License-Identifier: MIT
#include "tests/support/allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local long allocations = 0;

}  // namespace

long AllocationsOfThisThread() {
  return allocations;
}

void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
