// One request on its way through a driver: what all drivers do alike.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/driver_names.h"
#include "simulated/drivers/block_format.h"
#include "simulated/drivers/driver_store.h"

namespace orv {

// The system error code for a status.
std::uint32_t SystemErrorOf(std::int32_t status) noexcept;

class DriverExchange {
 protected:
  using Bytes = std::vector<std::byte>;
  using Kind = DriverMisbehaviour::Kind;

  DriverExchange(DriverStore& store, DriverRequest request)
      : store_(store), request_(std::move(request)) {}

  // Keeps why the driver refuses the request, and returns the status for it.
  template <class Status>
  Status Refuse(const std::string& reason, Status status) {
    store_.NoteRefusal(request_, reason);
    return status;
  }

  // Finds the rule that is due and waits if it delays the request. Returns true, and keeps the
  // refusal, if the machine's description has the request fail.
  bool IsPlannedToFail(const std::vector<DriverMisbehaviour>& rules);
  bool Is(Kind kind) const noexcept { return rule_ && rule_->kind == kind; }
  // Shortens or corrupts an answer if the rule does.
  void Distort(Bytes& answer) const;

  // Both return nullopt if the memory cannot be read.
  std::optional<bool> IsEnabled(const SimulatedModule& module);
  // The parameter of the request as the driver holds it, or held it before the last write if the
  // answer is to be stale.
  std::optional<Bytes> Held(const BlockFormat& format);

  // Changes the memory, or makes a block what the driver holds of the parameter. Returns why that
  // cannot be kept, or empty text.
  std::string Keep(const DriverStore::Body& body);
  std::string Receive(std::uint32_t selector, std::span<const std::byte> block);

  DriverStore& store_;
  DriverRequest request_;
  std::optional<DriverMisbehaviour> rule_;
};

}  // namespace orv
