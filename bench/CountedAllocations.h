#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

// Counts what the program allocates. Included by the one source file of a benchmark, since it replaces the
// global operators. They are never inlined: the compiler would take malloc and delete for a mismatched pair.

inline std::atomic<std::size_t> gAllocations{0};

[[gnu::noinline]] void* operator new(std::size_t size) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
