// doctor
#include <algorithm>

#include "cli/commands.h"
#include "cli/select.h"
#include "config/configuration_file.h"
#include "config/technology_library.h"
#include "endpoints/endpoint_info.h"
#include "endpoints/endpoint_registry.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

struct Check {
  std::string endpoint;  // empty when the whole machine is meant
  std::string name;
  bool ok = false;
  std::string detail;
  std::string remedy;  // empty when all is well
};

class Doctor {
 public:
  explicit Doctor(Context& context) : context_(context), machine_(context.session().machine()) {}

  void ExamineMachine() { ExamineTechnology(); }
  void Examine(const ORVAPOEndpointInfo& info, const std::string& label);
  void Missing(const std::string& label, const char* detail);
  const std::vector<Check>& checks() const noexcept { return checks_; }

 private:
  void Add(const char* name, bool ok, const std::string& detail, const std::string& remedy) {
    checks_.push_back({label_, name, ok, detail, ok ? std::string() : remedy});
  }
  void ExamineTechnology();
  void ExamineEffects(const ORVAPOEndpointInfo& info);
  void ExamineConfiguration(const ORVAPOEndpointInfo& info);
  void ExamineRights(const ORVAPOEndpointInfo& info);
  void ExamineThroughComponent(const ORVAPOEndpointInfo& info);
  void ExamineDsp(const Endpoint& endpoint);

  Context& context_;
  Machine& machine_;
  std::string label_;
  std::vector<Check> checks_;
};

void Doctor::ExamineTechnology() {
  label_.clear();
  // Reading the descriptions settles where the library is looked for.
  const std::size_t count = context_.catalog().described_controls();
  const std::wstring path = ORVAPOProcessLibrary::LibraryPath(machine_);
  const std::string file = Utf8FromWide(path);
  if (count != 0) {
    Add("technology library", true, file + " describes " + std::to_string(count) + " controls", "");
  } else if (!machine_.FileExists(path)) {
    Add("technology library", false, file + " is missing",
        "Install the library there, or name its folder with --technology.");
  } else {
    Add("technology library", false, file + " cannot be loaded or describes no control",
        "Install a library built for this system.");
  }
}

void Doctor::ExamineEffects(const ORVAPOEndpointInfo& info) {
  std::string registered;
  const auto add = [&](const char* kind, const EffectIdentifier& effect) {
    if (!effect.text.empty()) registered += (registered.empty() ? "" : ", ") + std::string(kind);
  };
  add("pre-mix", info.premix_effect());
  add("stream", info.stream_effect());
  add("mode", info.mode_effect());
  add("endpoint", info.endpoint_effect());
  Add("effect registration", !registered.empty(),
      registered.empty() ? "no effect is registered on the endpoint" : registered + " effect",
      "Install the effects driver for this endpoint again.");
  Add("system effects", !info.system_effects_disabled(),
      info.system_effects_disabled() ? "switched off for this endpoint" : "allowed",
      "Switch audio enhancements on in the endpoint's properties.");
}

void Doctor::ExamineConfiguration(const ORVAPOEndpointInfo& info) {
  const std::string path = Utf8FromWide(info.config_file());
  if (path.empty()) {
    return Add("configuration file", false, "the endpoint names none",
               "Install the effects driver for this endpoint again.");
  }
  ORVAPOConfigurationFile file(machine_);
  const std::uint32_t status = file.Load(info.config_file(), kORVAPO_EPCfg_None, 0);
  const std::string host = machine_.HostPath(info.config_file()).value_or(path);
  if (status == kConfigLoaded) {
    return Add("configuration file", true,
               path + " has " + std::to_string(file.GetModes().size()) + " modes", "");
  }
  const bool exists = machine_.FileExists(info.config_file());
  Add("configuration file", false,
      path + (exists ? " is refused (load status " + std::to_string(status) + ")" : " is missing"),
      exists ? "\"orvctl check " + host + "\" explains what is wrong in it."
             : "Put the configuration file there.");
}

void Doctor::ExamineRights(const ORVAPOEndpointInfo& info) {
  const std::string path = "HKEY_LOCAL_MACHINE\\" + Utf8FromWide(info.apo_key_path());
  std::unique_ptr<RegistryKey> key;
  const RegStatus status =
      machine_.registry().OpenKey(RegRoot::LocalMachine, info.apo_key_path(), kSettingsAccess, key);
  Add("registry rights", status == kRegOk,
      status == kRegOk
          ? path + " can be read, written and watched"
          : path + ": " + StatusText(orv_apo::StatusOfSystemError(static_cast<DWORD>(status))),
      "Give this user the rights to read and set values of that key.");
}

// How the component answers when it is asked for an endpoint's DSP objects.
struct DspAnswer {
  explicit DspAnswer(const Endpoint& endpoint) {
    ComPtr<IKELAPOIntelDSP> intel_dsp;
    ComPtr<IORVAPOQCDSP> qualcomm_dsp;
    intel = endpoint.object()->GetIntelInterface(intel_dsp.Put());
    qualcomm = endpoint.object()->GetQCDSPInterface(qualcomm_dsp.Put());
  }
  bool present() const { return SUCCEEDED(intel) || SUCCEEDED(qualcomm); }
  // An Intel object without a driver answers that its operation was refused.
  bool absent() const { return intel == E_FAIL && qualcomm == E_NOTIMPL; }

  HRESULT intel;
  HRESULT qualcomm;
};

// A driver that refuses one endpoint and serves another is well: the refused one does not lead
// through the DSP.
void Doctor::ExamineDsp(const Endpoint& endpoint) {
  const DspAnswer answer(endpoint);
  if (answer.present()) {
    return Add("DSP", true,
               SUCCEEDED(answer.intel) ? "Intel driver present" : "Qualcomm driver present", "");
  }
  if (answer.absent()) return Add("DSP", true, "none: the effects run in the audio engine", "");
  const std::vector<Endpoint> endpoints = context_.session().Endpoints();
  const bool elsewhere = std::any_of(endpoints.begin(), endpoints.end(), [](const Endpoint& other) {
    return DspAnswer(other).present();
  });
  Add("DSP", elsewhere,
      elsewhere ? "none on this endpoint; the driver serves others"
                : "Intel " + StatusText(answer.intel) + ", Qualcomm " + StatusText(answer.qualcomm),
      "Install the DSP's driver again; -v shows what the component met.");
}

void Doctor::ExamineThroughComponent(const ORVAPOEndpointInfo& info) {
  const std::string id = Utf8FromWide(info.endpoint_id());
  for (const Endpoint& endpoint : context_.session().Endpoints()) {
    if (!EqualsIgnoringCase(endpoint.id(), id)) continue;
    Add("component", true, "finds the endpoint", "");
    const std::optional<Mode> mode = endpoint.CurrentMode();
    Add("current mode", mode.has_value(),
        mode ? mode->name() : "the stored mode is none of the configuration's",
        "\"orvctl mode ENDPOINT --default\" stores the default one.");
    const std::vector<Mode> modes = endpoint.Modes();
    const bool enabled = !modes.empty() && modes.front().Enabled();
    Add("processing", enabled, enabled ? "on" : "off", "\"orvctl enable ENDPOINT on\".");
    return ExamineDsp(endpoint);
  }
  Add("component", false, "does not find the endpoint",
      "Mend what is wrong above; -v shows what the component met.");
}

void Doctor::Examine(const ORVAPOEndpointInfo& info, const std::string& label) {
  label_ = label;
  ExamineEffects(info);
  ExamineConfiguration(info);
  ExamineRights(info);
  try {
    ExamineThroughComponent(info);
  } catch (const Failure& failure) {
    // What happened, and below it what to do about it.
    const std::string text = failure.what();
    const std::size_t end = text.find('\n');
    Add("component", false, text.substr(0, end),
        end != std::string::npos ? text.substr(end + 1) : "-v shows what it met.");
  }
}

void Doctor::Missing(const std::string& label, const char* detail) {
  label_ = label;
  Add("effect registration", false, detail, "Install the audio driver again.");
}

std::string NameOf(const ORVAPOEndpointInfo& info) {
  const std::string name = Utf8FromWide(info.display_name());
  return name.find_first_not_of(' ') == std::string::npos ? Utf8FromWide(info.endpoint_id()) : name;
}

// Every active render endpoint, also those that the component passes over. One that cannot be read
// to the end has an empty key path, one that cannot be read at all no name either.
std::vector<ORVAPOEndpointInfo> ReadEndpoints(Session& session) {
  std::vector<ORVAPOEndpointInfo> infos;
  ComPtr<IMMDeviceEnumerator> enumerator;
  Require(session.machine().CreateDeviceEnumerator(enumerator.Put()),
          "asking the machine for its audio endpoints", "");
  for (const std::string& id : session.DeviceIdentifiers()) {
    ComPtr<IMMDevice> device;
    if (FAILED(enumerator->GetDevice(WideFromUtf8(id).c_str(), device.Put()))) continue;
    infos.emplace_back(session.machine());
    infos.back().Attach(device.get(), true);
  }
  return infos;
}

// The endpoint that the text names, as "endpoints" numbers them or by name or identifier.
std::vector<ORVAPOEndpointInfo> Chosen(Context& context, const std::string& text,
                                       std::vector<ORVAPOEndpointInfo> infos) {
  if (text.empty()) return infos;
  std::string wanted = text;
  if (ParseNumber(text)) wanted = context.SelectEndpoint(text).id();
  for (const ORVAPOEndpointInfo& info : infos)
    if (EqualsIgnoringCase(Utf8FromWide(info.endpoint_id()), wanted)) return {info};
  std::vector<std::string> names;
  names.reserve(infos.size());
  for (const ORVAPOEndpointInfo& info : infos) names.push_back(NameOf(info));
  return {infos[SelectOrFail(names, wanted, "endpoint")]};
}

void ShowChecks(Context& context, const std::vector<Check>& checks) {
  Json array = Json::array();
  for (const Check& check : checks) {
    const std::string prefix = check.endpoint.empty() ? "" : check.endpoint + ": ";
    array.push_back({{"check", check.name},
                     {"ok", check.ok},
                     {"detail", prefix + check.detail},
                     {"remedy", check.remedy}});
    if (!check.ok) context.exit_status = kDiffering;
  }
  if (context.output.json()) return context.output.Value(array);
  for (std::size_t i = 0; i < checks.size();) {
    const std::string& endpoint = checks[i].endpoint;
    if (!endpoint.empty())
      context.output.Line(context.output.Painted(Printable(endpoint), ansi::kBold));
    Table table({{""}, {""}, {""}});
    for (; i < checks.size() && checks[i].endpoint == endpoint; ++i) {
      const Check& check = checks[i];
      table.Add({Cell(check.ok ? "ok" : "NO", check.ok ? ansi::kGood : ansi::kBad), check.name,
                 check.ok ? check.detail : check.detail + " -> " + check.remedy});
    }
    context.output.Show(table, endpoint.empty() ? 0 : 2);
  }
}

void Examine(Context& context, const std::string& endpoint) {
  const std::vector<ORVAPOEndpointInfo> infos =
      Chosen(context, endpoint, ReadEndpoints(context.session()));
  Doctor doctor(context);
  doctor.ExamineMachine();
  for (const ORVAPOEndpointInfo& info : infos) {
    if (info.apo_key_path().empty()) {
      doctor.Missing(NameOf(info), info.display_name().empty()
                                       ? "neither of the endpoint's registry keys can be read"
                                       : "a value in the endpoint's registry keys cannot be read");
    } else {
      doctor.Examine(info, NameOf(info));
    }
  }
  if (infos.empty()) {
    context.output.Remark("The machine has no active render endpoint.");
    context.exit_status = kDiffering;
  }
  ShowChecks(context, doctor.checks());
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  CLI::App* doctor = AddCommand(
      app, "doctor", "Is processing really active? What is wrong, and what to do about it",
      "orvctl doctor\n  orvctl doctor 0",
      "Examines every active render endpoint, also those that the component passes over.\n"
      "Exit status 3 when something is wrong.");
  doctor->add_option("ENDPOINT", *endpoint, kEndpointHelp);
  doctor->callback([&context, endpoint] { Examine(context, *endpoint); });
}

}  // namespace orv::cli
