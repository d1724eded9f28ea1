#include "platform/machine.h"

#include <atomic>

namespace orv {

Machine::Machine() : id_(NewId()) {}
Machine::~Machine() = default;

std::uint64_t Machine::NewId() noexcept {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace orv
