// The Qualcomm driver behind its device file: one kind of message, which carries a record.
#include <fmt/format.h>

#include "simulated/drivers/device_files.h"
#include "simulated/drivers/driver_exchange.h"

namespace orv {
namespace {

constexpr std::uint32_t kSendCode = 0x90002C00;
constexpr std::size_t kQualcommHeaderSize = 12;
constexpr std::size_t kFrameSize = 16;  // header and four closing bytes
constexpr std::uint32_t kFormFactorCount = 5;

// What is wrong with a message; the record's own format is checked last.
std::string MessageFault(std::span<const std::byte> message, std::span<const std::byte> output) {
  if (!output.empty()) return "an unexpected output buffer";
  if (message.size() < kFrameSize) return fmt::format("a message of {} bytes", message.size());
  const auto size = ReadWire<std::uint32_t>(message, 8);
  if (message.size() - kFrameSize != size) {
    return fmt::format("a message of {} bytes for a payload of {}", message.size(), size);
  }
  const auto form_factor = ReadWire<std::uint32_t>(message, 4);
  if (form_factor >= kFormFactorCount) return fmt::format("form factor {}", form_factor);
  if (ReadWire<std::uint32_t>(message, message.size() - 4) != 0)
    return "the closing bytes are not zero";
  const BlockFormat* format = FindFormat(QualcommFormats(), ReadWire<std::uint32_t>(message, 0));
  if (format == nullptr) return "no such parameter";
  return format->Fault(message.subspan(kQualcommHeaderSize, size));
}

class QualcommExchange : DriverExchange {
 public:
  QualcommExchange(SimulatedDevices& devices, std::span<const std::byte> message)
      : DriverExchange(*devices.drivers, {kQualcommDriver, request::kParameter,
                                          ReadWire<std::uint32_t>(message, 0), false}),
        driver_(*devices.description.drivers.qualcomm),
        message_(message) {}

  std::uint32_t Run(std::uint32_t code, std::span<const std::byte> output) {
    if (code != kSendCode)
      return Refuse(fmt::format("control code 0x{:X}", code), kDeviceInvalidFunction);
    const std::string fault = MessageFault(message_, output);
    if (!fault.empty()) return Refuse(fault, kDeviceInvalidParameter);
    if (IsPlannedToFail(driver_.misbehaviour))
      return Is(Kind::Absent) ? kDeviceNotFound : SystemErrorOf(rule_->status);
    const std::string loss =
        Receive(ReadWire<std::uint32_t>(message_, 4),
                message_.subspan(kQualcommHeaderSize, message_.size() - kFrameSize));
    return loss.empty() ? 0 : Refuse(loss, kDeviceWriteFault);
  }

 private:
  const QualcommDescription& driver_;
  std::span<const std::byte> message_;
};

}  // namespace

std::uint32_t AnswerQualcommControl(SimulatedDevices& devices, std::uint32_t code,
                                    std::span<const std::byte> input, std::span<std::byte> output,
                                    std::uint32_t& returned) {
  returned = 0;
  return QualcommExchange(devices, input).Run(code, output);
}

}  // namespace orv
