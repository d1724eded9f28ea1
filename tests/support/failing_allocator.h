// Makes allocations fail, for programs linked with orv_failing_allocator.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstddef>

namespace orv {

// While it lives, one allocation of this thread fails: the nth from now (1 is the next one).
// Throwing forms of operator new throw std::bad_alloc, the others give null. One at a time on a
// thread; other threads are not affected.
class FailingAllocations : boost::noncopyable {
 public:
  // With 0 nothing fails; allocations are only counted.
  explicit FailingAllocations(std::size_t nth) noexcept;
  ~FailingAllocations();

  std::size_t count() const noexcept;  // allocations asked for so far, failed ones included
  bool failed() const noexcept;        // whether one of them did fail
};

}  // namespace orv
