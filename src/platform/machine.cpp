#include "platform/machine.h"

#include <atomic>

namespace orv {
namespace {

std::uint64_t NextId() noexcept {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

Machine::Machine() : id_(NextId()) {}
Machine::~Machine() = default;

}  // namespace orv
