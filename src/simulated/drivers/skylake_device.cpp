// The Skylake driver with its wave filter: property requests, read byte for byte.
#include <fmt/format.h>

#include <algorithm>

#include "platform/guid_text.h"
#include "platform/text.h"
#include "simulated/drivers/device_files.h"
#include "simulated/drivers/driver_exchange.h"
#include "simulated/drivers/topology_graph.h"

namespace orv {
namespace {

constexpr GUID kModuleSet = {
    0xBAE9CE37, 0xAA99, 0x4BC7, {0x9B, 0xDF, 0x4C, 0xBF, 0x3D, 0x23, 0xE1, 0xB9}};
constexpr GUID kModuleInterface = {
    0xC18E2F7E, 0x933D, 0x4965, {0xB7, 0xD1, 0x1E, 0xEF, 0x22, 0x8D, 0x2A, 0xF3}};
constexpr GUID kModule = {
    0xE1284052, 0x8664, 0x4FE4, {0xA3, 0x53, 0x38, 0x78, 0xF7, 0x27, 0x04, 0xC3}};
constexpr GUID kOffloadSet = {
    0x3A2F82DC, 0x886F, 0x4BAA, {0x9E, 0xB4, 0x08, 0x2B, 0x90, 0x25, 0xC5, 0x36}};

constexpr std::uint32_t kGet = 1;
constexpr std::uint32_t kSet = 2;
constexpr std::uint32_t kGetOfNode = 0x10000001;

// Sizes of requests in bytes: header; with the interface; with type and module; with parameter and
// apply flag.
constexpr std::size_t kSkylakeHeaderSize = 32;
constexpr std::size_t kInterfaceSize = 48;
constexpr std::size_t kModuleSize = 68;
constexpr std::size_t kParameterSize = 73;

constexpr std::uint32_t kOffloadProperty = 6;  // the only one known of the offload set

class SkylakeExchange : DriverExchange {
 public:
  SkylakeExchange(SimulatedDevices& devices, const TopologyGraph& graph,
                  std::span<const std::byte> property, std::span<std::byte> data, ULONG& returned)
      : DriverExchange(*devices.drivers, {kSkylakeDriver, request::kParameter}),
        driver_(*devices.description.drivers.skylake),
        graph_(graph),
        property_(property),
        data_(data),
        returned_(returned) {}

  HRESULT UnknownSet(const GUID& set) {
    request_.name = request::kUnknown;
    return Refuse(fmt::format("no property set {}", Utf8FromWide(GuidText(set))), kKsSetNotFound);
  }

  HRESULT OffloadPin() {
    request_.name = request::kOffloadPin;
    std::string fault = RequestSizeFault(kSkylakeHeaderSize);
    if (fault.empty() && Word(16) != kOffloadProperty)
      fault = fmt::format("offload property {}", Word(16));
    if (fault.empty() && Word(20) != kGetOfNode) fault = fmt::format("flags 0x{:X}", Word(20));
    if (fault.empty()) fault = NodeFault();
    if (!fault.empty()) return Refuse(fault);
    return Finish([&] {
      constexpr std::uint32_t kHostPin = 0;
      constexpr std::uint32_t kLoopbackPin = 1;
      Bytes answer;
      AppendWire(answer, kHostPin);
      AppendWire(answer, graph_.endpoint.offload_pin);
      AppendWire(answer, kLoopbackPin);
      return Deliver(std::move(answer));
    });
  }

  HRESULT Module() {
    const std::uint32_t number = Word(16);
    request_.is_get = (Word(20) & kSet) == 0;
    if (number >= std::size(kFormats))
      return Refuse(fmt::format("property {} is not known", number), kKsPropertyNotFound);
    const Format& format = kFormats[number];
    request_.name = format.name;
    const bool has_parameter = format.name == request::kParameter;
    if (has_parameter) request_.parameter = parameter();
    const std::string fault = RequestFault(format, has_parameter);
    if (!fault.empty()) return Refuse(fault);
    if (format.size == kParameterSize) store_.NoteApplyFlag(request_, Apply());
    std::string routing;
    if (!store_.Read([&](const DriverMemory& memory) { routing = graph_.RoutingFault(memory); }))
      return kKsNotReady;
    if (!routing.empty()) return Refuse(routing, kKsNotReady);
    return Finish([&] { return (this->*format.run)(); });
  }

 private:
  // By the number of the property.
  struct Format {
    const char* name;
    std::size_t size;          // of the request, bytes
    std::uint32_t directions;  // kGet and kSet together if both are known
    HRESULT (SkylakeExchange::*run)();
  };
  static const Format kFormats[7];

  std::uint32_t Word(std::size_t offset) const {
    return ReadWire<std::uint32_t>(property_, offset);
  }
  HRESULT Refuse(const std::string& reason, HRESULT status = kKsInvalidParameter) {
    return DriverExchange::Refuse(reason, status);
  }
  std::string RequestSizeFault(std::size_t size) const {
    const std::string fault = SizeFault(property_.size(), size);
    return fault.empty() ? "" : "a request of " + fault;
  }

  std::string NodeFault() const {
    if (Word(24) != graph_.endpoint.node)
      return fmt::format("node {} instead of {}", Word(24), graph_.endpoint.node);
    return Word(28) == 0 ? "" : "the reserved word is not zero";
  }

  std::string RequestFault(const Format& format, bool has_parameter) const {
    std::string fault = RequestSizeFault(format.size);
    if (!fault.empty()) return fault;
    const std::uint32_t flags = Word(20);
    if ((flags != kGet && flags != kSet) || (flags & format.directions) == 0)
      return fmt::format("flags 0x{:X}", flags);
    fault = NodeFault();
    if (!fault.empty() || format.size == kSkylakeHeaderSize) return fault;
    if (!IsEqualGUID(ReadWire<GUID>(property_, 32), kModuleInterface))
      return "not the post-processing interface";
    if (format.size == kInterfaceSize) return {};
    if (Word(48) != driver_.module_type) return fmt::format("type word {}", Word(48));
    if (!IsEqualGUID(ReadWire<GUID>(property_, 52), kModule)) return "not the module's identifier";
    if (format.size == kModuleSize) return {};
    if (!has_parameter && parameter() != 0) return "an unexpected parameter identifier";
    if (Apply() > 1) return fmt::format("apply flag {}", Apply());
    return {};
  }
  std::uint32_t parameter() const { return Word(68); }
  unsigned Apply() const { return ReadWire<std::uint8_t>(property_, 72); }

  // Carries out a well-formed request, or misbehaves.
  template <class Body>
  HRESULT Finish(Body&& body) {
    if (IsPlannedToFail(driver_.misbehaviour))
      return Is(Kind::Absent) ? kKsPropertyNotFound : rule_->status;
    const HRESULT status = body();
    if (Is(Kind::Uncounted)) returned_ = 0;
    return status == S_OK && Is(Kind::Status) ? rule_->status : status;
  }

  HRESULT Deliver(Bytes answer) {
    if (request_.name != std::string_view(request::kParameter)) Distort(answer);
    if (!data_.empty() && data_.size() < answer.size()) {
      return Refuse(fmt::format("room for {} of {} bytes", data_.size(), answer.size()),
                    kKsBufferTooSmall);
    }
    returned_ = static_cast<ULONG>(answer.size());
    if (data_.empty()) return kKsMoreData;
    std::ranges::copy(answer, data_.begin());
    return S_OK;
  }

  HRESULT Version() {
    return Deliver({std::byte{driver_.interface_version}, std::byte{driver_.features}, std::byte{0},
                    std::byte{0}, std::byte{driver_.revision}});
  }

  HRESULT Modules() {
    std::vector<ListedModule> modules = driver_.other_modules;
    if (driver_.module_listed) {
      modules.push_back(
          {kModule, driver_.module_type, driver_.module.name, driver_.module.version});
    }
    constexpr std::size_t kEntrySize = 148;
    Bytes list;
    AppendWire(list, static_cast<std::uint32_t>(8 + kEntrySize * modules.size()));
    AppendWire(list, static_cast<std::uint32_t>(modules.size()));
    for (const ListedModule& module : modules) {
      AppendWire(list, module.type);
      AppendWire(list, module.id);
      AppendText(list, module.name);
      AppendText(list, module.version);
    }
    return Deliver(std::move(list));
  }

  HRESULT Instance() { return Deliver({std::byte{driver_.module_instantiated}}); }

  HRESULT Status() {
    if (request_.is_get) {
      const auto enabled = IsEnabled(driver_.module);
      return enabled ? Deliver({std::byte{*enabled}}) : kKsNotReady;
    }
    if (data_.size() != 1 || std::to_integer<unsigned>(data_[0]) > 1)
      return Refuse("a status is one byte, 0 or 1");
    return Kept(Keep([&](DriverMemory& memory) {
      memory.enabled[kSkylakeDriver] = std::to_integer<std::uint8_t>(data_[0]);
    }));
  }

  HRESULT Parameter() {
    if (!driver_.module_instantiated) return Refuse("the module is not instantiated", kKsNotReady);
    const BlockFormat* format = FindFormat(SkylakeFormats(), parameter());
    if (format == nullptr) return Refuse("no such parameter", kKsPropertyNotFound);
    return request_.is_get ? GetParameter(*format) : SetParameter(*format);
  }

  HRESULT GetParameter(const BlockFormat& format) {
    auto block = Held(format);
    if (!block) return kKsNotReady;
    Distort(*block);
    Bytes answer;
    AppendWire(answer, static_cast<std::uint32_t>(block->size()));
    answer.insert(answer.end(), block->begin(), block->end());
    return Deliver(std::move(answer));
  }

  HRESULT SetParameter(const BlockFormat& format) {
    if (data_.size() < 4 || ReadWire<std::uint32_t>(data_, 0) != data_.size() - 4)
      return Refuse("the byte count is not that of the data");
    const auto block = data_.subspan(4);
    const std::string fault = format.Fault(block);
    return fault.empty() ? Kept(Receive(Apply(), block)) : Refuse(fault);
  }

  HRESULT Register() { return ChangeEvent(true); }
  HRESULT Unregister() { return ChangeEvent(false); }
  HRESULT ChangeEvent(bool registers) {
    if (data_.size() != 8) return Refuse("an event handle is eight bytes");
    const auto handle = ReadWire<std::uint64_t>(data_, 0);
    const char* fault = store_.UseEvents([&](auto& events) -> const char* {
      if (registers && !events.open.contains(handle)) return "no open event has this handle";
      if (registers)
        return events.registered.insert(handle).second ? "" : "the event is registered already";
      return events.registered.erase(handle) != 0 ? "" : "the event is not registered";
    });
    return *fault == '\0' ? S_OK : Refuse(fault);
  }

  // The status after a change that was kept, or lost for a reason.
  HRESULT Kept(const std::string& loss) {
    return loss.empty() ? S_OK : Refuse(loss, kKsWriteFault);
  }

  const SkylakeDescription& driver_;
  const TopologyGraph& graph_;
  std::span<const std::byte> property_;
  std::span<std::byte> data_;
  ULONG& returned_;
};

const SkylakeExchange::Format SkylakeExchange::kFormats[] = {
    {request::kVersion, kSkylakeHeaderSize, kGet, &SkylakeExchange::Version},
    {request::kModules, kInterfaceSize, kGet, &SkylakeExchange::Modules},
    {request::kStatus, kParameterSize, kGet | kSet, &SkylakeExchange::Status},
    {request::kParameter, kParameterSize, kGet | kSet, &SkylakeExchange::Parameter},
    {request::kRegister, kModuleSize, kSet, &SkylakeExchange::Register},
    {request::kUnregister, kParameterSize, kSet, &SkylakeExchange::Unregister},
    {request::kInstance, kModuleSize, kGet, &SkylakeExchange::Instance}};

}  // namespace

HRESULT AnswerSkylakeProperty(SimulatedDevices& devices, const TopologyGraph& graph,
                              std::span<const std::byte> property, std::span<std::byte> data,
                              ULONG& returned) {
  returned = 0;
  if (!devices.description.drivers.skylake) return kKsSetNotFound;
  SkylakeExchange exchange(devices, graph, property, data, returned);
  const GUID set = ReadWire<GUID>(property, 0);
  if (IsEqualGUID(set, kOffloadSet)) return exchange.OffloadPin();
  if (!graph.endpoint.has_module) return kKsSetNotFound;
  return IsEqualGUID(set, kModuleSet) ? exchange.Module() : exchange.UnknownSet(set);
}

}  // namespace orv
