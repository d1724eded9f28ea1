// Makes allocations fail, for programs linked with orv_failing_allocator.
#pragma once

#include <cstddef>

namespace orv {

// While it lives, allocations of this thread fail: the nth from now (1 is the next one), or that
// one and all after it. Throwing forms of operator new throw std::bad_alloc, the others give null.
// One at a time on a thread; other threads are not affected.
class FailingAllocations {
 public:
  enum class Span { Once, FromThenOn };

  // With 0 nothing fails; allocations are only counted.
  explicit FailingAllocations(std::size_t nth, Span span = Span::Once) noexcept;
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;

  std::size_t count() const noexcept;  // allocations asked for so far, failed ones included
  bool failed() const noexcept;        // whether one of them did fail
};

}  // namespace orv
