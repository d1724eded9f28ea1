#include "cli/client/key_watch.h"

#include "cli/show/failure.h"
#include "platform/text.h"

namespace orv::cli {

void KeyWatch::Arm() {
  RegStatus status = key_ != nullptr ? TryArm() : kRegKeyDeleted;
  if (status != kRegOk) {
    key_.reset();
    status = registry_.OpenKey(RegRoot::LocalMachine, WideFromUtf8(path_),
                               kKeyQueryValue | kKeyNotify | kKeyWow64_64, key_);
    if (status == kRegOk) status = TryArm();
  }
  if (status != kRegOk)
    ComponentFailure("watching HKEY_LOCAL_MACHINE\\" + path_,
                     orv_apo::StatusOfSystemError(static_cast<DWORD>(status)),
                     "What examines the key: " + CommandLine("doctor"));
}

}  // namespace orv::cli
