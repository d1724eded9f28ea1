// The Broadwell driver behind its device file: requests with a direct output buffer, which the
// driver reads and writes.
#include <algorithm>

#include "simulated/drivers/block_format.h"
#include "simulated/drivers/device_files.h"
#include "simulated/drivers/driver_requests.h"
#include "simulated/drivers/misbehave.h"
#include "simulated/drivers/wire_bytes.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;

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
constexpr std::size_t kModuleTextSize = 64;

bool IsZero(std::span<const std::byte> bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](std::byte byte) { return byte == std::byte{0}; });
}

class BroadwellExchange {
 public:
  BroadwellExchange(SimulatedDevices& devices, std::span<const std::byte> input,
                    std::span<std::byte> output, std::uint32_t& returned)
      : driver_(*devices.description.drivers.broadwell),
        store_(*devices.drivers),
        input_(input),
        output_(output),
        returned_(returned) {}

  std::uint32_t Run(std::uint32_t code) {
    const std::uint32_t number = ReadWire<std::uint32_t>(input_, 8);
    const auto* command =
        std::find_if(std::begin(kCommands), std::end(kCommands), [&](const CommandFormat& format) {
          return format.command == static_cast<Command>(number);
        });
    if (code != kGetCode && code != kSetCode)
      return Refuse("control code " + HexNumber(code), kDeviceInvalidFunction);
    if (input_.size() != kBroadwellHeaderSize)
      return Refuse("a header of " + std::to_string(input_.size()) + " bytes instead of 16");
    if (command == std::end(kCommands)) return Refuse("command " + std::to_string(number));
    parameter_ =
        command->output_size <= kDataAt ? 0 : ReadWire<std::uint32_t>(output_, kParameterAt);
    request_ = {kBroadwellDriver, command->name, parameter_, code == kGetCode};
    const std::string fault = HeaderFault(code, *command);
    if (!fault.empty()) return Refuse(fault);
    if (command->output_size > kDataAt) store_.NoteApplyFlag(request_, apply());
    rule_ = store_.Due(driver_.misbehaviour, request_);
    Delay(rule_);
    const std::string planned = PlannedRefusal(rule_);
    if (!planned.empty()) store_.NoteRefusal(request_, planned, true);
    if (Is(rule_, Kind::Refuse)) return SystemErrorOf(rule_->status);
    std::int32_t status = kNoSuchParameter;
    if (Is(rule_, Kind::Status) && rule_->status < 0)
      status = rule_->status;
    else if (!Is(rule_, Kind::Absent))
      status = Carry(command->command);
    if (status == 0 && Is(rule_, Kind::Status)) status = rule_->status;
    WriteWire(output_, 0, status);
    returned_ = Is(rule_, Kind::Uncounted)
                    ? 0
                    : static_cast<std::uint32_t>(std::min(answered_, output_.size()));
    return 0;
  }

 private:
  std::uint32_t Refuse(const std::string& reason, std::uint32_t error = kDeviceInvalidParameter) {
    store_.NoteRefusal(request_, reason);
    return error;
  }
  std::int32_t RefuseParameter(const std::string& reason, std::int32_t status = kInvalidParameter) {
    store_.NoteRefusal(request_, reason);
    return status;
  }

  std::string HeaderFault(std::uint32_t code, const CommandFormat& command) const {
    const auto word = [&](std::size_t offset) { return ReadWire<std::uint32_t>(input_, offset); };
    if (code != command.code)
      return "control code " + HexNumber(code) + " for command " +
             std::to_string(static_cast<std::uint32_t>(command.command));
    if (word(0) != kModuleNumber) return "module number " + std::to_string(word(0));
    if (word(4) != 0) return "the second word is not zero";
    if (output_.size() != command.output_size) {
      return "an output buffer of " + std::to_string(output_.size()) + " bytes instead of " +
             std::to_string(command.output_size);
    }
    if (word(12) != kBroadwellHeaderSize + output_.size())
      return "size word " + std::to_string(word(12));
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

  bool ReadEnabled(bool& enabled) {
    return store_.Read([&](const DriverMemory& memory) {
      enabled = memory.IsEnabled(kBroadwellDriver, driver_.module);
    });
  }

  std::int32_t CarryParameter(bool set) {
    bool enabled = false;
    if (!ReadEnabled(enabled)) return kNotStored;
    if (!enabled) return RefuseParameter("the module has not been switched on", kNotReady);
    return set ? SetParameter() : GetParameter();
  }

  // What follows the status word.
  std::int32_t Answer(std::vector<std::byte> answer) {
    Distort(rule_, answer);
    std::copy(answer.begin(), answer.end(), output_.begin() + 4);
    answered_ = 4 + answer.size();
    return 0;
  }

  std::vector<std::byte> ModuleInformation() const {
    std::vector<std::byte> texts;
    for (const std::string* text : {&driver_.module.name, &driver_.module.version}) {
      const std::size_t end = texts.size() + kModuleTextSize;
      for (const char letter : text->substr(0, kModuleTextSize - 1))
        texts.push_back(static_cast<std::byte>(letter));
      texts.resize(end);
    }
    return texts;
  }

  std::int32_t SetStatus() {
    if (ReadWire<std::uint32_t>(output_, 0) != 0)
      return RefuseParameter("the status word is not 0");
    if (output_[4] != std::byte{1} || output_[5] != std::byte{1})
      return RefuseParameter("the status bytes are not 1 and 1");
    bool enabled = false;
    if (ReadEnabled(enabled) && enabled) return 0;
    const bool kept = store_.ChangeAtLeastHere(
        [](DriverMemory& memory) { memory.enabled[kBroadwellDriver] = 1; });
    return kept ? 0 : kNotStored;
  }

  std::size_t data_size() const { return ReadWire<std::uint32_t>(output_, kSizeAt); }
  std::uint32_t apply() const { return ReadWire<std::uint8_t>(output_, kApplyAt); }

  // Verifies what reading and writing have in common.
  std::string ParameterFault() const {
    if (apply() > 1) return "apply flag " + std::to_string(apply());
    if (ReadWire<std::uint32_t>(output_, kReservedAt) != 0) return "the reserved word is not zero";
    if (data_size() > output_.size() - kDataAt)
      return "a size of " + std::to_string(data_size()) + " bytes";
    return {};
  }

  std::int32_t SetParameter() {
    const BlockFormat* format = FindFormat(BroadwellFormats(), parameter_);
    if (format == nullptr) return RefuseParameter("no such parameter", kNoSuchParameter);
    std::string fault = ParameterFault();
    if (!fault.empty()) return RefuseParameter(fault);
    const auto data = output_.subspan(kDataAt, data_size());
    fault = format->Fault(data);
    const auto rest = output_.subspan(kDataAt + data_size());
    if (fault.empty() && ReadWire<std::uint32_t>(output_, 0) != 0)
      fault = "the status word is not zero";
    if (fault.empty() && !IsZero(rest)) fault = "bytes after the data are not zero";
    if (!fault.empty()) return RefuseParameter(fault);
    DriverRecord record{kBroadwellDriver, parameter_, apply(), {data.begin(), data.end()}};
    std::string reason;
    const auto receive = [&](DriverMemory& memory) { memory.Receive(std::move(record)); };
    return store_.Change(receive, reason) ? 0 : RefuseParameter(NotStored(reason), kNotStored);
  }

  std::int32_t GetParameter() {
    const BlockFormat* format = FindFormat(BroadwellFormats(), parameter_);
    if (format == nullptr) return RefuseParameter("no such parameter", kNoSuchParameter);
    const std::string fault = ParameterFault();
    if (!fault.empty()) return RefuseParameter(fault);
    const auto data = output_.subspan(kDataAt, data_size());
    if (!IsZero(data)) return RefuseParameter("the room for the answer is not zero");
    std::vector<std::byte> block;
    const bool read = store_.Read([&](const DriverMemory& memory) {
      block = HeldParameter(memory, kBroadwellDriver, parameter_, format->Initial(),
                            Is(rule_, Kind::Stale));
    });
    if (!read) return kNotStored;
    if (block.size() != data_size()) {
      return RefuseParameter("a size of " + std::to_string(data_size()) + " bytes instead of " +
                             std::to_string(block.size()));
    }
    Distort(rule_, block);
    std::copy(block.begin(), block.end(), output_.begin() + kDataAt);
    answered_ = Is(rule_, Kind::Short) ? kDataAt + block.size() : output_.size();
    return 0;
  }

  const BroadwellDescription& driver_;
  DriverStore& store_;
  std::span<const std::byte> input_;
  std::span<std::byte> output_;
  std::uint32_t& returned_;
  DriverRequest request_{kBroadwellDriver, request::kUnknown};
  std::uint32_t parameter_ = 0;
  std::size_t answered_ = SIZE_MAX;  // bytes; at most the whole buffer
  std::optional<DriverMisbehaviour> rule_;
};

}  // namespace

std::uint32_t AnswerBroadwellControl(SimulatedDevices& devices, std::uint32_t code,
                                     std::span<const std::byte> input, std::span<std::byte> output,
                                     std::uint32_t& returned) {
  return BroadwellExchange(devices, input, output, returned).Run(code);
}

}  // namespace orv
