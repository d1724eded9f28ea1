// Failures on demand: any operation of a simulated machine can be made to fail, the nth time or
// always.
//
// Operations: registry.open_key, registry.create_key, registry.delete_tree, registry.query_value,
// registry.set_value, registry.delete_value, registry.enum_value, registry.enum_key,
// registry.notify, registry.duplicate, registry.save (the
// disk refuses a change, which then answers a write fault whatever status is planned);
// devices.create_enumerator, devices.enumerate, devices.default_endpoint, devices.get_device,
// devices.count, devices.item, device.get_id, device.get_state, device.open_store, device.activate,
// store.count, store.get_at, store.get_value; machine.known_folder, machine.system_directory,
// machine.file_exists, machine.host_path. Registry operations answer system error codes, COM
// operations status codes; those of "machine" answer nothing (or false) whatever status is planned.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/machine_description.h"

namespace orv {

class FaultPlan {
 public:
  // The nth call from now on (1 is the next one) answers `status`, once.
  void FailNth(std::string_view operation, std::uint32_t nth, std::int32_t status);
  void FailAlways(std::string_view operation, std::int32_t status);
  void Clear();  // no more failures; call counts start again
  std::uint32_t Calls(std::string_view operation) const;

  // Asked by the machine at the start of every operation: the status to answer, or nothing to go
  // on.
  std::optional<std::int32_t> Check(std::string_view operation);

  static const std::vector<std::string_view>& Operations();

 private:
  struct Rule {
    std::uint32_t due = 0;  // call number that fails; 0: every call
    std::int32_t status = 0;
  };
  struct Record {
    std::uint32_t calls = 0;
    std::vector<Rule> rules;
  };
  mutable std::mutex lock_;
  std::map<std::string, Record, std::less<>> records_;
};

}  // namespace orv
