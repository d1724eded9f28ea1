#include "simulated/drivers/skylake_filter.h"

#include <algorithm>

#include "platform/guid_text.h"
#include "platform/text.h"
#include "simulated/drivers/block_format.h"
#include "simulated/drivers/driver_requests.h"
#include "simulated/drivers/misbehave.h"
#include "simulated/drivers/wire_bytes.h"

namespace orv {
namespace {

using Bytes = std::vector<std::byte>;
using Kind = DriverMisbehaviour::Kind;

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

// Numbers of the module's properties.
enum class Property : std::uint32_t {
  Version,
  Modules,
  Status,
  Parameter,
  RegisterEvent,
  UnregisterEvent,
  Instance,
};
constexpr std::uint32_t kOffloadProperty = 6;  // the only one known of the offload set

// By property.
struct PropertyFormat {
  const char* name;
  std::size_t size;
  std::uint32_t directions;  // kGet and kSet together when both are known
};
constexpr PropertyFormat kProperties[] = {{request::kVersion, kSkylakeHeaderSize, kGet},
                                          {request::kModules, kInterfaceSize, kGet},
                                          {request::kStatus, kParameterSize, kGet | kSet},
                                          {request::kParameter, kParameterSize, kGet | kSet},
                                          {request::kRegister, kModuleSize, kSet},
                                          {request::kUnregister, kParameterSize, kSet},
                                          {request::kInstance, kModuleSize, kGet}};

constexpr char kNotInstantiated[] = "the module is not instantiated";

// One request on its way through the driver.
class SkylakeExchange {
 public:
  SkylakeExchange(SimulatedDevices& devices, const TopologyGraph& graph,
                  std::span<const std::byte> property, std::span<std::byte> data, ULONG& returned)
      : driver_(*devices.description.drivers.skylake),
        store_(*devices.drivers),
        graph_(graph),
        property_(property),
        data_(data),
        returned_(returned) {}

  HRESULT UnknownSet(const GUID& set) {
    request_ = {kSkylakeDriver, request::kUnknown};
    return Refuse("no property set " + Utf8FromWide(GuidText(set)), kKsSetNotFound);
  }

  HRESULT OffloadPin() {
    request_ = {kSkylakeDriver, request::kOffloadPin};
    if (property_.size() != kSkylakeHeaderSize) return Refuse(SizeFault(kSkylakeHeaderSize));
    if (Word(16) != kOffloadProperty) return Refuse("offload property " + std::to_string(Word(16)));
    if (Word(20) != kGetOfNode) return Refuse("flags " + HexNumber(Word(20)));
    const std::string fault = NodeFault();
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
    if (number >= std::size(kProperties))
      return Refuse("property " + std::to_string(number) + " is not known", kKsPropertyNotFound);
    const auto property = static_cast<Property>(number);
    const PropertyFormat& format = kProperties[number];
    request_.name = format.name;
    if (property == Property::Parameter) request_.parameter = parameter();
    const std::string fault = RequestFault(property, format);
    if (!fault.empty()) return Refuse(fault);
    if (format.size == kParameterSize) store_.NoteApplyFlag(request_, Apply());
    std::string routing;
    if (!store_.Read([&](const DriverMemory& memory) { routing = graph_.RoutingFault(memory); }))
      return kKsNotReady;
    if (!routing.empty()) return Refuse(routing, kKsNotReady);
    return Finish([&] { return Run(property); });
  }

 private:
  std::uint32_t Word(std::size_t offset) const {
    return ReadWire<std::uint32_t>(property_, offset);
  }
  HRESULT Refuse(const std::string& reason, HRESULT status = kKsInvalidParameter) {
    store_.NoteRefusal(request_, reason);
    return status;
  }
  std::string SizeFault(std::size_t size) const {
    return "a request of " + std::to_string(property_.size()) + " bytes instead of " +
           std::to_string(size);
  }

  std::string NodeFault() const {
    if (Word(24) != graph_.endpoint.node)
      return "node " + std::to_string(Word(24)) + " instead of " +
             std::to_string(graph_.endpoint.node);
    return Word(28) == 0 ? "" : "the reserved word is not zero";
  }

  std::string RequestFault(Property property, const PropertyFormat& format) const {
    if (property_.size() != format.size) return SizeFault(format.size);
    const std::uint32_t flags = Word(20);
    if ((flags != kGet && flags != kSet) || (flags & format.directions) == 0)
      return "flags " + HexNumber(flags);
    std::string fault = NodeFault();
    if (!fault.empty() || format.size == kSkylakeHeaderSize) return fault;
    if (!IsEqualGUID(ReadWire<GUID>(property_, 32), kModuleInterface))
      return "not the post-processing interface";
    if (format.size == kInterfaceSize) return {};
    if (Word(48) != driver_.module_type) return "type word " + std::to_string(Word(48));
    if (!IsEqualGUID(ReadWire<GUID>(property_, 52), kModule)) return "not the module's identifier";
    if (format.size == kModuleSize) return {};
    if (property != Property::Parameter && parameter() != 0)
      return "a parameter identifier where none belongs";
    if (Apply() > 1) return "apply flag " + std::to_string(Apply());
    return {};
  }
  std::uint32_t parameter() const { return Word(68); }
  unsigned Apply() const { return ReadWire<std::uint8_t>(property_, 72); }

  // Carries out a well-formed request, or misbehaves.
  template <class Body>
  HRESULT Finish(Body&& body) {
    rule_ = store_.Due(driver_.misbehaviour, request_);
    Delay(rule_);
    const std::string planned = PlannedRefusal(rule_);
    if (!planned.empty()) {
      store_.NoteRefusal(request_, planned, true);
      return Is(rule_, Kind::Absent) ? kKsPropertyNotFound : rule_->status;
    }
    const HRESULT status = body();
    if (Is(rule_, Kind::Uncounted)) returned_ = 0;
    return status == S_OK && Is(rule_, Kind::Status) ? rule_->status : status;
  }

  HRESULT Run(Property property) {
    switch (property) {
      case Property::Version:
        return Deliver(Version());
      case Property::Modules:
        return Deliver(ModuleList());
      case Property::Status:
        return request_.is_get ? GetStatus() : SetStatus();
      case Property::Parameter:
        return request_.is_get ? GetParameter() : SetParameter();
      case Property::Instance:
        return Deliver({std::byte{driver_.module_instantiated}});
      default:
        return ChangeEvent(property == Property::RegisterEvent);
    }
  }

  HRESULT Deliver(Bytes answer) {
    if (request_.name != std::string_view(request::kParameter)) Distort(rule_, answer);
    if (data_.empty()) {
      returned_ = static_cast<ULONG>(answer.size());
      return kKsMoreData;
    }
    if (data_.size() < answer.size()) {
      return Refuse("room for " + std::to_string(data_.size()) + " of " +
                        std::to_string(answer.size()) + " bytes",
                    kKsBufferTooSmall);
    }
    std::copy(answer.begin(), answer.end(), data_.begin());
    returned_ = static_cast<ULONG>(answer.size());
    return S_OK;
  }

  Bytes Version() const {
    return {std::byte{driver_.interface_version}, std::byte{driver_.features}, std::byte{0},
            std::byte{0}, std::byte{driver_.revision}};
  }

  static void AppendText(Bytes& bytes, const std::string& text) {
    constexpr std::size_t kFieldSize = 64;
    const std::size_t end = bytes.size() + kFieldSize;
    for (const char letter : text.substr(0, kFieldSize - 1))
      bytes.push_back(static_cast<std::byte>(letter));
    bytes.resize(end);
  }

  Bytes ModuleList() const {
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
    return list;
  }

  HRESULT GetStatus() {
    bool enabled = false;
    const bool read = store_.Read([&](const DriverMemory& memory) {
      enabled = memory.IsEnabled(kSkylakeDriver, driver_.module);
    });
    return read ? Deliver({std::byte{enabled}}) : kKsNotReady;
  }

  HRESULT SetStatus() {
    if (data_.size() != 1 || std::to_integer<unsigned>(data_[0]) > 1)
      return Refuse("a status is one byte, 0 or 1");
    return Keep([&](DriverMemory& memory) {
      memory.enabled[kSkylakeDriver] = std::to_integer<std::uint8_t>(data_[0]);
    });
  }

  HRESULT GetParameter() {
    if (!driver_.module_instantiated) return Refuse(kNotInstantiated, kKsNotReady);
    const BlockFormat* format = FindFormat(SkylakeFormats(), parameter());
    if (format == nullptr) return Refuse("no such parameter", kKsPropertyNotFound);
    Bytes block;
    const bool read = store_.Read([&](const DriverMemory& memory) {
      block = HeldParameter(memory, kSkylakeDriver, parameter(), format->Initial(),
                            Is(rule_, Kind::Stale));
    });
    if (!read) return kKsNotReady;
    Distort(rule_, block);
    Bytes answer;
    AppendWire(answer, static_cast<std::uint32_t>(block.size()));
    answer.insert(answer.end(), block.begin(), block.end());
    return Deliver(std::move(answer));
  }

  HRESULT SetParameter() {
    if (!driver_.module_instantiated) return Refuse(kNotInstantiated, kKsNotReady);
    const BlockFormat* format = FindFormat(SkylakeFormats(), parameter());
    if (format == nullptr) return Refuse("no such parameter", kKsPropertyNotFound);
    if (data_.size() < 4 || ReadWire<std::uint32_t>(data_, 0) != data_.size() - 4)
      return Refuse("the byte count is not that of the data");
    const auto block = data_.subspan(4);
    const std::string fault = format->Fault(block);
    if (!fault.empty()) return Refuse(fault);
    DriverRecord record{kSkylakeDriver, parameter(), Apply(), {block.begin(), block.end()}};
    return Keep([&](DriverMemory& memory) { memory.Receive(std::move(record)); });
  }

  HRESULT ChangeEvent(bool registers) {
    if (data_.size() != 8) return Refuse("an event handle is eight bytes");
    const auto handle = ReadWire<std::uint64_t>(data_, 0);
    if (registers && !store_.IsEventOpen(handle)) return Refuse("no open event has this handle");
    const bool done = registers ? store_.RegisterEvent(handle) : store_.UnregisterEvent(handle);
    if (done) return S_OK;
    return Refuse(registers ? "the event is registered already" : "the event is not registered");
  }

  HRESULT Keep(const DriverStore::Body& body) {
    std::string reason;
    return store_.Change(body, reason) ? S_OK : Refuse(NotStored(reason), kKsWriteFault);
  }

  const SkylakeDescription& driver_;
  DriverStore& store_;
  const TopologyGraph& graph_;
  std::span<const std::byte> property_;
  std::span<std::byte> data_;
  ULONG& returned_;
  DriverRequest request_{kSkylakeDriver, request::kParameter};
  std::optional<DriverMisbehaviour> rule_;
};

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
