// System calls that answer as they do on other systems.
#pragma once

#include <windows.h>

#include <type_traits>
#include <utility>

namespace orv {

// The place through which the whole program makes a system call, and so the tests' way to it.
#define ORV_SYSTEM_CALL(slot, name) extern decltype(&::name) slot __asm__("__imp_" #name)

// Puts another function in the place of a system call while it lives.
template <class Call>
class SubstitutedCall {
 public:
  SubstitutedCall(Call& slot, std::type_identity_t<Call> substitute)
      : slot_(slot), original_(Put(substitute)) {}
  ~SubstitutedCall() { Put(original_); }
  SubstitutedCall(const SubstitutedCall&) = delete;
  SubstitutedCall& operator=(const SubstitutedCall&) = delete;

 private:
  Call Put(Call call) {
    DWORD protection = 0;
    ::VirtualProtect(&slot_, sizeof slot_, PAGE_READWRITE, &protection);
    const Call before = std::exchange(slot_, call);
    ::VirtualProtect(&slot_, sizeof slot_, protection, &protection);
    return before;
  }

  Call& slot_;
  Call original_;
};

}  // namespace orv
