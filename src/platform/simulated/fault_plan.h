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
// machine.file_exists, machine.host_path; of audio clients audio.activate, audio.get_mix_format,
// audio.is_format_supported, audio.get_device_period, audio.initialize, audio.get_buffer_size,
// audio.get_stream_latency, audio.get_current_padding, audio.get_service, audio.start, audio.stop,
// audio.reset; of their streams capture.next_packet_size, capture.get_buffer,
// capture.release_buffer, render.get_buffer, render.release_buffer; of drivers devices.interfaces
// (answers none), device.open, device.control, event.open, ks.property, drivers.save (the disk
// refuses to keep what a driver was sent); of device topologies topology.connector_count,
// topology.connector, topology.subunit_count, topology.part, topology.device_id,
// topology.connector_type, topology.data_flow, topology.is_connected, topology.connected_to,
// topology.part_name, topology.local_id, topology.global_id, topology.part_type, topology.sub_type,
// topology.control_count, topology.enum_parts, topology.part_count, topology.topology_object,
// topology.activate, topology.get_selection, topology.set_selection. Registry and device file
// operations answer system error codes, COM operations status codes; those of "machine" answer
// nothing (or false) whatever status is planned.
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
