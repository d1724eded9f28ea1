#include "cli/client/watched_endpoint.h"

#include <algorithm>
#include <iterator>

#include "cli/client/host.h"
#include "cli/show/failure.h"
#include "platform/text.h"

namespace orv::cli {

// Armed before each reading, so that a change after the reading is signalled.
WatchedEndpoint::WatchedEndpoint(const Session& session, Catalog& catalog, Endpoint endpoint,
                                 Event& changed)
    : registry_(session.machine().registry()),
      catalog_(catalog),
      endpoint_(std::move(endpoint)),
      path_(endpoint_.RegistryPath()),
      watch_(registry_, path_, changed) {
  watch_.Arm();
  values_ = StoredValues();
  state_ = ReadState(catalog_, endpoint_);
}

std::vector<Change> WatchedEndpoint::FindChanges() {
  watch_.Arm();
  Values values = StoredValues();
  std::vector<std::pair<std::wstring, Bytes>> changed;
  std::set_symmetric_difference(values.begin(), values.end(), values_.begin(), values_.end(),
                                std::back_inserter(changed));
  if (changed.empty()) return {};
  // A mode's controls are in the value of its name.
  EndpointState next = ReadState(catalog_, endpoint_, state_, [&](const std::string& mode) {
    return std::ranges::any_of(changed, [&](const auto& value) {
      return EqualsIgnoringCase(Utf8FromWide(value.first), mode);
    });
  });
  std::vector<Change> changes = Differences(state_, next);
  values_ = std::move(values);
  state_ = std::move(next);
  return changes;
}

WatchedEndpoint::Values WatchedEndpoint::StoredValues() const {
  std::unique_ptr<RegistryKey> key;
  Values values;
  if (registry_.OpenKey(RegRoot::LocalMachine, WideFromUtf8(path_), kKeyQueryValue | kKeyWow64_64,
                        key) != kRegOk)
    return values;
  std::wstring name;
  for (std::uint32_t i = 0; key->EnumValue(i, name) == kRegOk; ++i) {
    std::uint32_t type = 0;
    ReadValue(*key, name, type, values[name]);
  }
  return values;
}

std::optional<std::filesystem::file_time_type> MachineCheck::Written() const {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(folder_ / "registry.reg", error);
  return error ? std::nullopt : std::optional(time);
}

const std::string& MachineCheck::Fault() {
  const auto written = Written();
  if (folder_.empty() || (written == written_ && written && fault_.empty())) return fault_;
  written_ = written;
  fault_.clear();
  try {
    OpenMachine(folder_);
  } catch (const Failure& failure) {
    fault_ = failure.what();
  }
  return fault_;
}

}  // namespace orv::cli
