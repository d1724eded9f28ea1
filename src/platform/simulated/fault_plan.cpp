#include "platform/simulated/fault_plan.h"

#include <algorithm>

namespace orv {

void FaultPlan::FailNth(std::string_view operation, std::uint32_t nth, std::int32_t status) {
  if (nth == 0) return;
  const std::lock_guard guard(lock_);
  Record& record = records_[std::string(operation)];
  record.rules.push_back({record.calls + nth, status});
}

void FaultPlan::FailAlways(std::string_view operation, std::int32_t status) {
  const std::lock_guard guard(lock_);
  records_[std::string(operation)].rules.push_back({0, status});
}

void FaultPlan::Clear() {
  const std::lock_guard guard(lock_);
  records_.clear();
}

std::uint32_t FaultPlan::Calls(std::string_view operation) const {
  const std::lock_guard guard(lock_);
  const auto found = records_.find(operation);
  return found == records_.end() ? 0 : found->second.calls;
}

std::optional<std::int32_t> FaultPlan::Check(std::string_view operation) {
  const std::lock_guard guard(lock_);
  auto found = records_.find(operation);
  if (found == records_.end()) found = records_.emplace(operation, Record{}).first;
  Record& record = found->second;
  ++record.calls;
  const auto due = std::find_if(record.rules.begin(), record.rules.end(), [&](const Rule& rule) {
    return rule.due == 0 || rule.due == record.calls;
  });
  if (due == record.rules.end()) return std::nullopt;
  const std::int32_t status = due->status;
  if (due->due != 0) record.rules.erase(due);
  return status;
}

const std::vector<std::string_view>& FaultPlan::Operations() {
  static const std::vector<std::string_view> kOperations = {"registry.open_key",
                                                            "registry.create_key",
                                                            "registry.delete_tree",
                                                            "registry.query_value",
                                                            "registry.set_value",
                                                            "registry.delete_value",
                                                            "registry.enum_value",
                                                            "registry.enum_key",
                                                            "registry.notify",
                                                            "registry.duplicate",
                                                            "registry.save",
                                                            "devices.create_enumerator",
                                                            "devices.enumerate",
                                                            "devices.default_endpoint",
                                                            "devices.get_device",
                                                            "devices.count",
                                                            "devices.item",
                                                            "device.get_id",
                                                            "device.get_state",
                                                            "device.open_store",
                                                            "device.activate",
                                                            "store.count",
                                                            "store.get_at",
                                                            "store.get_value",
                                                            "machine.known_folder",
                                                            "machine.system_directory",
                                                            "machine.file_exists",
                                                            "machine.host_path",
                                                            "devices.interfaces",
                                                            "device.open",
                                                            "device.control",
                                                            "event.open",
                                                            "drivers.save",
                                                            "ks.property",
                                                            "topology.activate",
                                                            "topology.connected_to",
                                                            "topology.connector",
                                                            "topology.connector_count",
                                                            "topology.connector_type",
                                                            "topology.control_count",
                                                            "topology.data_flow",
                                                            "topology.device_id",
                                                            "topology.enum_parts",
                                                            "topology.get_selection",
                                                            "topology.global_id",
                                                            "topology.is_connected",
                                                            "topology.local_id",
                                                            "topology.part",
                                                            "topology.part_count",
                                                            "topology.part_name",
                                                            "topology.part_type",
                                                            "topology.set_selection",
                                                            "topology.sub_type",
                                                            "topology.subunit_count",
                                                            "topology.topology_object",
                                                            "audio.activate",
                                                            "audio.get_mix_format",
                                                            "audio.is_format_supported",
                                                            "audio.get_device_period",
                                                            "audio.initialize",
                                                            "audio.get_buffer_size",
                                                            "audio.get_stream_latency",
                                                            "audio.get_current_padding",
                                                            "audio.get_service",
                                                            "audio.start",
                                                            "audio.stop",
                                                            "audio.reset",
                                                            "capture.next_packet_size",
                                                            "capture.get_buffer",
                                                            "capture.release_buffer",
                                                            "render.get_buffer",
                                                            "render.release_buffer"};
  return kOperations;
}

}  // namespace orv
