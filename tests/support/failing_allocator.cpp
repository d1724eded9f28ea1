#include "support/failing_allocator.h"

#include <boost/align/aligned_alloc.hpp>
#include <cstdlib>
#include <new>

namespace orv {
namespace {

struct Plan {
  bool active = false;
  std::size_t nth = 0;
  std::size_t count = 0;
  bool failed = false;
};

constinit thread_local Plan plan;

// Whether the allocation asked for now is to fail.
bool Due() noexcept {
  if (!plan.active) return false;
  ++plan.count;
  const bool due = plan.count == plan.nth;
  plan.failed = plan.failed || due;
  return due;
}

void* Allocate(std::size_t size) noexcept {
  return Due() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* Allocate(std::size_t size, std::align_val_t alignment) noexcept {
  const auto align = static_cast<std::size_t>(alignment);
  return Due() ? nullptr : boost::alignment::aligned_alloc(align, size != 0 ? size : 1);
}

void FreeAligned(void* memory) noexcept { boost::alignment::aligned_free(memory); }

void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

FailingAllocations::FailingAllocations(std::size_t nth) noexcept { plan = {true, nth, 0, false}; }
FailingAllocations::~FailingAllocations() { plan = {}; }
std::size_t FailingAllocations::count() const noexcept { return plan.count; }
bool FailingAllocations::failed() const noexcept { return plan.failed; }

}  // namespace orv

// The array, sized and nothrow forms of the standard library call these, but those of a sanitizer's
// library do not: so all forms but aligned arrays, which no test uses, are here.
using orv::Allocate;
using orv::FreeAligned;
using orv::OrThrow;

void* operator new(std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new[](std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t align) {
  return OrThrow(Allocate(size, align));
}
void* operator new(std::size_t size, std::align_val_t align, const std::nothrow_t&) noexcept {
  return Allocate(size, align);
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  FreeAligned(memory);
}
