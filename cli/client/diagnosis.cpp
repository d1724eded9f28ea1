#include "cli/client/diagnosis.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>

#include "analysis/loopback_stream.h"
#include "cli/client/registry.h"
#include "cli/offline/check.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "cli/show/select.h"
#include "config/configuration_file.h"
#include "config/technology_library.h"
#include "endpoints/endpoint_registry.h"
#include "platform/text.h"
#include "properties/property_image.h"

namespace orv::cli {
namespace {

const char* const kReinstallEffects = "Install the effects driver for this endpoint again.";

std::string SystemErrorWords(RegStatus status) {
  return StatusText(orv_apo::StatusOfSystemError(static_cast<DWORD>(status)));
}

// Where this program finds the machine's file.
std::string HostPath(Machine& machine, const std::wstring& path) {
  const auto found = machine.HostFile(path);
  return found ? PathText(std::filesystem::absolute(*found)) : Utf8FromWide(path);
}

// Opens the key for writing and, unless `read_only`, writes a value under a name of its own into
// it, reads and deletes it.
RegStatus TryKey(Machine& machine, const std::wstring& path, bool read_only) {
  static std::atomic<unsigned> count{0};
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const std::wstring name = WideFromUtf8(fmt::format("orvctl doctor {}.{}", now, ++count));
  std::unique_ptr<RegistryKey> key;
  RegStatus status = machine.registry().OpenKey(RegRoot::LocalMachine, path, kSettingsAccess, key);
  if (status != kRegOk || read_only) return status;
  constexpr std::uint32_t kProbe = 0x0D0C7023;
  std::uint32_t found = 0;
  std::uint32_t size = sizeof found;
  status = key->SetValue(name, kRegDword, &kProbe, sizeof kProbe);
  if (status == kRegOk) status = key->QueryValue(name, nullptr, &found, &size);
  if (status == kRegOk && found != kProbe) status = kRegWriteFault;
  const RegStatus deleted = key->DeleteValue(name);
  return status == kRegOk ? deleted : status;
}

// The command that stores a value of the endpoint's key again.
std::string RestoreLine(const std::string& value, const Endpoint& endpoint,
                        const std::vector<Mode>& modes) {
  const std::string number = endpoint.number();
  if (value == Utf8FromWide(kGlobalSettingsValue)) return CommandLine("enable {} on", number);
  if (std::ranges::find(modes, value, &Mode::name) != modes.end())
    return CommandLine("restore {} --mode {}", number, ShellWord(ModeLabel(value)));
  if (value == CurrentModeValue()) return CommandLine("mode {} --default", number);
  return "Delete that value: no mode of the configuration has this name.";
}

}  // namespace

std::string NameOf(const ORVAPOEndpointInfo& info) {
  const std::string name = Utf8FromWide(info.display_name());
  return name.find_first_not_of(' ') == std::string::npos ? Utf8FromWide(info.endpoint_id()) : name;
}

std::vector<ORVAPOEndpointInfo> ReadEndpoints(Session& session) {
  std::vector<ORVAPOEndpointInfo> infos;
  for (const std::string& id : session.DeviceIdentifiers()) {
    ComPtr<IMMDevice> device;
    if (FAILED(FindDevice(session.machine(), WideFromUtf8(id), device))) continue;
    infos.emplace_back(session.machine());
    infos.back().Attach(device.get(), true);
  }
  return infos;
}

void Diagnosis::ExamineTechnology() {
  label_.clear();
  // Reading the descriptions settles where the library is looked for.
  const std::size_t count = context_.catalog().described_controls();
  const std::wstring path = ORVAPOProcessLibrary::LibraryPath(machine_);
  const std::string file = Utf8FromWide(path);
  if (count != 0) {
    Add("technology library", true, file + " describes " + Counted(count, "control"), "");
  } else if (!machine_.FileExists(path)) {
    Add("technology library", false, file + " is missing",
        "Install the library there, or name its folder with --technology.");
  } else {
    Add("technology library", false, file + " cannot be loaded or describes no control",
        "Install a library built for this system.");
  }
}

void Diagnosis::ExamineEffects(const ORVAPOEndpointInfo& info) {
  std::vector<const char*> registered;
  const auto add = [&](const char* kind, const EffectIdentifier& effect) {
    if (!effect.text.empty()) registered.push_back(kind);
  };
  add("pre-mix", info.premix_effect());
  add("stream", info.stream_effect());
  add("mode", info.mode_effect());
  add("endpoint", info.endpoint_effect());
  Add("effect registration", !registered.empty(),
      registered.empty() ? "no effect is registered on the endpoint"
                         : fmt::format("{} effect", fmt::join(registered, ", ")),
      kReinstallEffects);
  Add("system effects", !info.system_effects_disabled(),
      info.system_effects_disabled() ? "switched off for this endpoint" : "allowed",
      "Switch audio enhancements on in the endpoint's properties.");
}

void Diagnosis::ExamineConfiguration(const ORVAPOEndpointInfo& info) {
  const char* const kName = "configuration file";
  const std::string path = Utf8FromWide(info.config_file());
  if (path.empty()) return Add(kName, false, "the endpoint names none", kReinstallEffects);
  ORVAPOConfigurationFile file(machine_);
  const LoadStatus status = file.Load(info.config_file(), kORVAPO_EPCfg_None, 0);
  if (status == LoadStatus::Loaded) {
    Add(kName, true, fmt::format("{} has {}", path, Counted(file.GetModes().size(), "mode")), "");
    return ExamineControls(info);
  }
  if (!machine_.FileExists(info.config_file()))
    return Add(kName, false, path + " is missing", "Put the configuration file there.");
  Add(kName, false, fmt::format("{} is refused (load status {})", path, NumberOf(status)),
      CommandLine("check " + ShellWord(HostPath(machine_, info.config_file()))));
}

// What a control panel could not show, or would store with another value.
void Diagnosis::ExamineControls(const ORVAPOEndpointInfo& info) {
  constexpr std::size_t kSizeLimit = 64U << 20;  // bytes
  const std::string file = HostPath(machine_, info.config_file());
  const CheckReport report =
      CheckConfiguration(ReadWholeFile(file, kSizeLimit), &context_.catalog().technology());
  const auto count =
      static_cast<std::size_t>(std::ranges::count_if(report.findings, ConcernsClients));
  const auto first = std::ranges::find_if(report.findings, ConcernsClients);
  const char* const well = context_.catalog().described_controls() != 0
                               ? "fit their controls"
                               : "not compared: there is no technology library";
  Add("control values", count == 0,
      count == 0 ? well
                 : fmt::format("{} a control panel cannot use; line {}: {}",
                               Counted(count, "value or name", "values or names"), first->line,
                               first->text),
      CommandLine("check " + ShellWord(file)));
}

void Diagnosis::ExamineRights(const ORVAPOEndpointInfo& info) {
  const std::filesystem::path& machine = context_.session().machine_folder();
  const RegStatus status = TryKey(machine_, info.apo_key_path(), read_only_);
  const char* const done = read_only_ ? "opened for reading and writing; nothing was written"
                                      : "a value was written, read and removed";
  const char* const failed = read_only_ ? "cannot be opened for reading and writing: "
                                        : "a value could not be written, read and removed: ";
  std::string detail = "HKEY_LOCAL_MACHINE\\" + Utf8FromWide(info.apo_key_path());
  detail += ": " + (status == kRegOk ? done : failed + SystemErrorWords(status));
  std::string remedy = "Give this user the rights to read and set values of that key";
  if (!machine.empty())
    remedy += fmt::format(", and room and the right to write in {}",
                          ShellWord(PathText(std::filesystem::absolute(machine))));
  Add("registry rights", status == kRegOk, detail, remedy + ".");
}

// The parts of an image that no reader takes and the values outside their control's range; empty if
// there are none.
std::string Diagnosis::ImageFaults(const std::string& value, const ImageBytes& bytes) {
  ORVPropertyList list;
  const ImageDecoding decoding = DecodeImage(bytes, ImageReading::Replace, list);
  std::vector<std::string> faults;
  if (decoding.fault != ImageFault::None)
    faults.push_back(fmt::format("the image \"{}\" cannot be decoded from offset {} of {}", value,
                                 decoding.fault_offset, bytes.size()));
  if (decoding.unknown_tags != 0)
    faults.push_back(fmt::format("the image \"{}\" has {} of unknown kind", value,
                                 Counted(decoding.unknown_tags, "record")));
  for (const ORVPropertyEntry& entry : list) {
    const std::wstring text = WideTextOf(entry.value).value_or(std::wstring());
    ORVQVTControlInfo info;
    const ORVQVTValue control(Narrow(entry.name), 0);
    if (!context_.catalog().technology().FindControlInfo(control, info)) continue;
    const auto fault = FaultOfValue(info, Narrow(text));
    if (fault && !fault->is_position)
      faults.push_back(fmt::format("\"{}\" is stored as {}, which {}, in \"{}\"",
                                   Utf8FromName(entry.name), Utf8FromName(text), fault->text,
                                   value));
  }
  return fmt::format("{}", fmt::join(faults, "; "));
}

// Every value of the endpoint's key that the component reads as an image.
void Diagnosis::ExamineStored(const ORVAPOEndpointInfo& info, const Endpoint& endpoint,
                              const std::vector<Mode>& modes) {
  std::unique_ptr<RegistryKey> key;
  if (machine_.registry().OpenKey(RegRoot::LocalMachine, info.apo_key_path(), kQueryAccess, key) !=
      kRegOk)
    return;  // "registry rights" reports it
  std::size_t count = 0;
  bool well = true;
  std::wstring name;
  for (std::uint32_t i = 0; key->EnumValue(i, name) == kRegOk; ++i) {
    const std::string value = Utf8FromName(name);
    if (!name.starts_with(L"ApoOpMode:") && name != kGlobalSettingsValue &&
        value != CurrentModeValue())
      continue;
    ++count;
    std::uint32_t type = 0;
    ImageBytes bytes;
    const RegStatus status = ReadValue(*key, name, type, bytes);
    std::string faults;
    if (status != kRegOk) {
      faults = fmt::format("\"{}\" cannot be read: {}", value, SystemErrorWords(status));
    } else if (type != kRegBinary) {
      faults = fmt::format("\"{}\" is not binary", value);
    } else {
      faults = ImageFaults(value, bytes);
    }
    if (faults.empty()) continue;
    Add("stored values", false, faults, RestoreLine(value, endpoint, modes));
    well = false;
  }
  if (well) Add("stored values", true, Counted(count, "image") + " decoded, values in range", "");
}

std::optional<Endpoint> Diagnosis::ExamineThroughComponent(const ORVAPOEndpointInfo& info) {
  const std::string id = Utf8FromWide(info.endpoint_id());
  for (Endpoint& endpoint : context_.session().Endpoints()) {
    if (!EqualsIgnoringCase(endpoint.id(), id)) continue;
    Add("component", true, "finds the endpoint", "");
    const std::optional<Mode> mode = endpoint.CurrentMode();
    Add("current mode", mode.has_value(),
        mode ? ModeLabel(mode->name()) : "the configuration does not have the stored mode",
        CommandLine("mode " + endpoint.number() + " --default"));
    const std::vector<Mode> modes = endpoint.Modes();
    const bool enabled = !modes.empty() && modes.front().Enabled();
    Add("processing", enabled, enabled ? "on" : "off",
        CommandLine("enable " + endpoint.number() + " on"));
    ExamineStored(info, endpoint, modes);
    return std::move(endpoint);
  }
  Add("component", false, "does not find the endpoint",
      "What is wrong above comes first; if nothing is: " + CommandLine("-v endpoints"));
  return std::nullopt;
}

std::optional<Endpoint> Diagnosis::Examine(const ORVAPOEndpointInfo& info) {
  label_ = NameOf(info);
  if (info.apo_key_path().empty()) {
    Add("effect registration", false,
        info.display_name().empty() ? "neither of the endpoint's registry keys can be read"
                                    : "a value in the endpoint's registry keys cannot be read",
        "Install the audio driver again.");
    return std::nullopt;
  }
  ExamineEffects(info);
  ExamineConfiguration(info);
  ExamineRights(info);
  try {
    return ExamineThroughComponent(info);
  } catch (const Failure& failure) {
    // What happened, and below it what to do about it.
    const std::string text = failure.what();
    const std::size_t end = text.find('\n');
    Add("component", false, text.substr(0, end),
        end != std::string::npos ? text.substr(end + 1) : CommandLine("-v endpoints"));
    return std::nullopt;
  }
}

}  // namespace orv::cli
