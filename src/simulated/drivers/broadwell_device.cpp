// The Broadwell driver with its device file: requests with a direct output buffer, which the
// driver reads and writes.
#include <fmt/format.h>

#include <algorithm>

#include "simulated/drivers/device_files.h"
#include "simulated/drivers/driver_exchange.h"

namespace orv {
namespace {

constexpr std::uint32_t kGetCode = 0x22E5DA;
constexpr std::uint32_t kSetCode = 0x22E5DE;
constexpr std::uint32_t kModuleNumber = 9;
constexpr std::size_t kBroadwellHeaderSize = 16;

// The driver's own statuses.
constexpr std::int32_t kInvalidParameter = static_cast<std::int32_t>(0xC000000D);
constexpr std::int32_t kNotReady = static_cast<std::int32_t>(0xC00000A3);
constexpr std::int32_t kNoSuchParameter = static_cast<std::int32_t>(0xC0000225);
constexpr std::int32_t kNotStored = static_cast<std::int32_t>(0xC0000185);

enum class Command : std::uint32_t {
  Version = 10,
  Modules = 11,
  SetStatus = 13,
  SetParameter = 14,
  GetParameter = 15,
};
struct CommandFormat {
  Command command;
  const char* name;
  std::uint32_t code;
  std::size_t output_size;  // bytes
};
constexpr CommandFormat kCommands[] = {
    {Command::Version, request::kVersion, kGetCode, 6},
    {Command::Modules, request::kModules, kGetCode, 132},
    {Command::SetStatus, request::kStatus, kSetCode, 6},
    {Command::SetParameter, request::kParameter, kSetCode, 64017},
    {Command::GetParameter, request::kParameter, kGetCode, 64017}};

// Places in the output buffer of parameter commands.
constexpr std::size_t kParameterAt = 4;
constexpr std::size_t kApplyAt = 8;
constexpr std::size_t kReservedAt = 9;
constexpr std::size_t kSizeAt = 13;
constexpr std::size_t kDataAt = 17;

bool IsZero(std::span<const std::byte> bytes) { return FirstNonZero(bytes) == bytes.size(); }

class BroadwellExchange : DriverExchange {
 public:
  BroadwellExchange(SimulatedDevices& devices, std::span<const std::byte> input,
                    std::span<std::byte> output, std::uint32_t& returned)
      : DriverExchange(*devices.drivers, {kBroadwellDriver, request::kUnknown}),
        driver_(*devices.description.drivers.broadwell),
        input_(input),
        output_(output),
        returned_(returned) {}

  std::uint32_t Run(std::uint32_t code) {
    const std::uint32_t number = InputWord(8);
    const auto* command =
        std::ranges::find(kCommands, static_cast<Command>(number), &CommandFormat::command);
    if (code != kGetCode && code != kSetCode)
      return Refuse(fmt::format("control code 0x{:X}", code), kDeviceInvalidFunction);
    std::string fault = SizeFault(input_.size(), kBroadwellHeaderSize);
    if (!fault.empty()) return Refuse("a header of " + fault, kDeviceInvalidParameter);
    if (command == std::end(kCommands))
      return Refuse(fmt::format("command {}", number), kDeviceInvalidParameter);
    const bool has_parameter = command->output_size > kDataAt;
    request_ = {kBroadwellDriver, command->name,
                has_parameter ? ReadWire<std::uint32_t>(output_, kParameterAt) : 0,
                code == kGetCode};
    fault = HeaderFault(code, *command);
    if (!fault.empty()) return Refuse(fault, kDeviceInvalidParameter);
    if (has_parameter) store_.NoteApplyFlag(request_, apply());
    const bool fails = IsPlannedToFail(driver_.misbehaviour);
    if (Is(Kind::Refuse)) return SystemErrorOf(rule_->status);
    std::int32_t status = fails && Is(Kind::Status) ? rule_->status : kNoSuchParameter;
    if (!fails) status = Carry(command->command);
    if (status == 0 && Is(Kind::Status)) status = rule_->status;
    WriteWire(output_, 0, status);
    returned_ =
        Is(Kind::Uncounted) ? 0 : static_cast<std::uint32_t>(std::min(answered_, output_.size()));
    return 0;
  }

 private:
  std::uint32_t InputWord(std::size_t offset) const {
    return ReadWire<std::uint32_t>(input_, offset);
  }

  std::string HeaderFault(std::uint32_t code, const CommandFormat& command) const {
    if (code != command.code)
      return fmt::format("control code 0x{:X} for command {}", code, InputWord(8));
    if (InputWord(0) != kModuleNumber) return fmt::format("module number {}", InputWord(0));
    if (InputWord(4) != 0) return "the second word is not zero";
    const std::string fault = SizeFault(output_.size(), command.output_size);
    if (!fault.empty()) return "an output buffer of " + fault;
    if (InputWord(12) != kBroadwellHeaderSize + output_.size())
      return fmt::format("size word {}", InputWord(12));
    return {};
  }

  std::int32_t Carry(Command command) {
    switch (command) {
      case Command::Version:
        return Answer({std::byte{driver_.interface_version}, std::byte{driver_.features}});
      case Command::Modules:
        return Answer(ModuleInformation());
      case Command::SetStatus:
        return SetStatus();
      default:
        return CarryParameter(command == Command::SetParameter);
    }
  }

  // Writes an answer after the status word.
  std::int32_t Answer(Bytes answer) {
    Distort(answer);
    std::ranges::copy(answer, output_.begin() + 4);
    answered_ = 4 + answer.size();
    return 0;
  }

  Bytes ModuleInformation() const {
    Bytes texts;
    AppendText(texts, driver_.module.name);
    AppendText(texts, driver_.module.version);
    return texts;
  }

  std::int32_t SetStatus() {
    if (ReadWire<std::uint32_t>(output_, 0) != 0)
      return Refuse("the status word is not 0", kInvalidParameter);
    if (output_[4] != std::byte{1} || output_[5] != std::byte{1})
      return Refuse("the status bytes are not 1 and 1", kInvalidParameter);
    if (IsEnabled(driver_.module).value_or(false)) return 0;
    const bool kept = store_.ChangeAtLeastHere(
        [](DriverMemory& memory) { memory.enabled[kBroadwellDriver] = 1; });
    return kept ? 0 : kNotStored;
  }

  std::size_t data_size() const { return ReadWire<std::uint32_t>(output_, kSizeAt); }
  std::uint32_t apply() const { return ReadWire<std::uint8_t>(output_, kApplyAt); }

  std::int32_t CarryParameter(bool set) {
    const auto enabled = IsEnabled(driver_.module);
    if (!enabled) return kNotStored;
    if (!*enabled) return Refuse("the module has not been switched on", kNotReady);
    const BlockFormat* format = FindFormat(BroadwellFormats(), request_.parameter);
    if (format == nullptr) return Refuse("no such parameter", kNoSuchParameter);
    if (apply() > 1) return Refuse(fmt::format("apply flag {}", apply()), kInvalidParameter);
    if (ReadWire<std::uint32_t>(output_, kReservedAt) != 0)
      return Refuse("the reserved word is not zero", kInvalidParameter);
    if (data_size() > output_.size() - kDataAt)
      return Refuse(fmt::format("a size of {} bytes", data_size()), kInvalidParameter);
    const auto data = output_.subspan(kDataAt, data_size());
    return set ? SetParameter(*format, data) : GetParameter(*format, data);
  }

  std::int32_t SetParameter(const BlockFormat& format, std::span<const std::byte> data) {
    std::string fault = format.Fault(data);
    if (fault.empty() && ReadWire<std::uint32_t>(output_, 0) != 0)
      fault = "the status word is not zero";
    if (fault.empty() && !IsZero(output_.subspan(kDataAt + data.size())))
      fault = "bytes after the data are not zero";
    if (!fault.empty()) return Refuse(fault, kInvalidParameter);
    const std::string loss = Receive(apply(), data);
    return loss.empty() ? 0 : Refuse(loss, kNotStored);
  }

  std::int32_t GetParameter(const BlockFormat& format, std::span<std::byte> data) {
    if (!IsZero(data)) return Refuse("the room for the answer is not zero", kInvalidParameter);
    auto block = Held(format);
    if (!block) return kNotStored;
    const std::string fault = SizeFault(data.size(), block->size());
    if (!fault.empty()) return Refuse("a size of " + fault, kInvalidParameter);
    Distort(*block);
    std::ranges::copy(*block, data.begin());
    answered_ = Is(Kind::Short) ? kDataAt + block->size() : output_.size();
    return 0;
  }

  const BroadwellDescription& driver_;
  std::span<const std::byte> input_;
  std::span<std::byte> output_;
  std::uint32_t& returned_;
  std::size_t answered_ = SIZE_MAX;  // bytes; at most the whole buffer
};

}  // namespace

std::uint32_t AnswerBroadwellControl(SimulatedDevices& devices, std::uint32_t code,
                                     std::span<const std::byte> input, std::span<std::byte> output,
                                     std::uint32_t& returned) {
  return BroadwellExchange(devices, input, output, returned).Run(code);
}

}  // namespace orv
