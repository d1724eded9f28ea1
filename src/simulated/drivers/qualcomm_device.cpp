// The Qualcomm driver behind its device file: one kind of message, which carries a record.
#include <algorithm>

#include "simulated/drivers/block_format.h"
#include "simulated/drivers/device_files.h"
#include "simulated/drivers/driver_requests.h"
#include "simulated/drivers/misbehave.h"
#include "simulated/drivers/wire_bytes.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;

constexpr std::uint32_t kSendCode = 0x90002C00;
constexpr std::size_t kQualcommHeaderSize = 12;
constexpr std::size_t kFrameSize = 16;  // header and four closing bytes
constexpr std::uint32_t kFormFactorCount = 5;

// What is wrong with a message; the record's own format is checked last.
std::string MessageFault(std::span<const std::byte> message, std::span<const std::byte> output) {
  if (!output.empty()) return "an output buffer where none belongs";
  if (message.size() < kFrameSize)
    return "a message of " + std::to_string(message.size()) + " bytes";
  const auto size = ReadWire<std::uint32_t>(message, 8);
  if (message.size() - kFrameSize != size) {
    return "a message of " + std::to_string(message.size()) + " bytes for a payload of " +
           std::to_string(size);
  }
  const auto form_factor = ReadWire<std::uint32_t>(message, 4);
  if (form_factor >= kFormFactorCount) return "form factor " + std::to_string(form_factor);
  if (ReadWire<std::uint32_t>(message, message.size() - 4) != 0)
    return "the closing bytes are not zero";
  const BlockFormat* format = FindFormat(QualcommFormats(), ReadWire<std::uint32_t>(message, 0));
  if (format == nullptr) return "no such parameter";
  return format->Fault(message.subspan(kQualcommHeaderSize, size));
}

}  // namespace

std::uint32_t AnswerQualcommControl(SimulatedDevices& devices, std::uint32_t code,
                                    std::span<const std::byte> input, std::span<std::byte> output,
                                    std::uint32_t& returned) {
  returned = 0;
  DriverStore& store = *devices.drivers;
  const auto parameter = ReadWire<std::uint32_t>(input, 0);
  const DriverRequest request{kQualcommDriver, request::kParameter, parameter, false};
  if (code != kSendCode) {
    store.NoteRefusal(request, "control code " + HexNumber(code));
    return kDeviceInvalidFunction;
  }
  const std::string fault = MessageFault(input, output);
  if (!fault.empty()) {
    store.NoteRefusal(request, fault);
    return kDeviceInvalidParameter;
  }
  const auto rule = store.Due(devices.description.drivers.qualcomm->misbehaviour, request);
  Delay(rule);
  const std::string planned = PlannedRefusal(rule);
  if (!planned.empty()) store.NoteRefusal(request, planned, true);
  if (Is(rule, Kind::Absent)) return kDeviceNotFound;
  if (Is(rule, Kind::Refuse)) return SystemErrorOf(rule->status);
  const auto payload = input.subspan(kQualcommHeaderSize, input.size() - kFrameSize);
  DriverRecord record{kQualcommDriver,
                      parameter,
                      ReadWire<std::uint32_t>(input, 4),
                      {payload.begin(), payload.end()}};
  std::string reason;
  const auto receive = [&](DriverMemory& memory) { memory.Receive(std::move(record)); };
  if (store.Change(receive, reason)) return 0;
  store.NoteRefusal(request, NotStored(reason));
  return kDeviceWriteFault;
}

}  // namespace orv
