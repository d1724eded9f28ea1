// Failures on demand: any operation of a simulated machine can be made to fail, the nth time or
// always.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

namespace orv {

// Statuses: of registry, devices.interfaces, device.open, device.control, event.open and drivers
// operations system error codes; of machine operations any number, since they return nothing (or
// false); of all others status codes.
inline constexpr std::string_view kFaultOperations[] = {
    "registry.open_key", "registry.create_key", "registry.delete_tree", "registry.query_value",
    "registry.set_value", "registry.delete_value", "registry.enum_value", "registry.enum_key",
    "registry.notify", "registry.duplicate",
    // The disk refuses a change, which returns a write fault whatever status is planned.
    "registry.save",
    // Endpoints.
    "devices.create_enumerator", "devices.enumerate", "devices.default_endpoint",
    "devices.get_device", "devices.count", "devices.item", "device.get_id", "device.get_state",
    "device.open_store", "device.activate", "store.count", "store.get_at", "store.get_value",
    "machine.known_folder", "machine.system_directory", "machine.file_exists", "machine.host_path",
    // Drivers; devices.interfaces then finds none, and drivers.save is the disk that refuses to
    // keep what a driver was sent.
    "devices.interfaces", "device.open", "device.control", "event.open", "ks.property",
    "drivers.save",
    // Device topologies.
    "topology.activate", "topology.connected_to", "topology.connector", "topology.connector_type",
    "topology.device_id", "topology.enum_parts", "topology.is_connected", "topology.local_id",
    "topology.part", "topology.part_count", "topology.set_selection", "topology.topology_object",
    // Audio clients and their streams.
    "audio.activate", "audio.get_mix_format", "audio.get_device_period", "audio.initialize",
    "audio.get_buffer_size", "audio.get_service", "audio.start", "audio.stop", "audio.reset",
    "capture.next_packet_size", "capture.get_buffer", "capture.release_buffer", "render.get_buffer",
    "render.release_buffer"};

// An operation of the list.
class FaultOperation {
 public:
  // From a literal; a name that is not in the list does not compile.
  consteval FaultOperation(const char* name) : index_(IndexOf(name)) {
    if (index_ == std::size(kFaultOperations)) throw "there is no such operation";
  }
  // From text that is known only at run time.
  static std::optional<FaultOperation> Find(std::string_view name) {
    const std::size_t index = IndexOf(name);
    if (index == std::size(kFaultOperations)) return std::nullopt;
    return FaultOperation(index);
  }

  constexpr std::size_t index() const noexcept { return index_; }
  constexpr std::string_view name() const noexcept { return kFaultOperations[index_]; }

 private:
  explicit constexpr FaultOperation(std::size_t index) noexcept : index_(index) {}
  static constexpr std::size_t IndexOf(std::string_view name) noexcept {
    return static_cast<std::size_t>(
        std::find(std::begin(kFaultOperations), std::end(kFaultOperations), name) -
        std::begin(kFaultOperations));
  }

  std::size_t index_;
};

using FaultOperations = std::initializer_list<FaultOperation>;

class FaultPlan {
 public:
  // The nth call from now on (1 is the next one) returns `status`, once; nullopt: every call.
  void Fail(FaultOperation operation, std::optional<std::uint32_t> nth, std::int32_t status);
  void FailNth(FaultOperation operation, std::uint32_t nth, std::int32_t status) {
    Fail(operation, nth, status);
  }
  void FailAlways(FaultOperation operation, std::int32_t status) {
    Fail(operation, std::nullopt, status);
  }
  void Clear();  // no more failures; call counts start again
  std::uint32_t Calls(FaultOperation operation) const;

  // The machine calls this at the start of every operation. Returns the status to fail with, or
  // nullopt if the operation is to go on.
  std::optional<std::int32_t> Check(FaultOperation operation);

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
  std::array<Record, std::size(kFaultOperations)> records_;
};

}  // namespace orv
