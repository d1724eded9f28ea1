// check
#include "cli/offline/check.h"

#include "cli/commands/commands.h"
#include "cli/offline/files.h"

namespace orv::cli {
namespace {

constexpr std::size_t kConfigurationSizeLimit = 64U << 20;  // bytes

Json ModeJson(const CheckedMode& mode) {
  return {{"name", mode.name},
          {"line", mode.line},
          {"config", mode.config},
          {"auto_mic", mode.auto_mic},
          {"public", mode.public_controls},
          {"private", mode.private_controls},
          {"chains",
           {{"PreBlue", mode.chains[0]},
            {"SFX", mode.chains[1]},
            {"MFX", mode.chains[2]},
            {"EFX", mode.chains[3]}}}};
}

void ShowModes(Context& context, const CheckReport& report) {
  Table table({{"LINE", Align::Right},
               {"MODE"},
               {"TYPE", Align::Right},
               {"PUBLIC", Align::Right},
               {"PRIVATE", Align::Right},
               {"CHAINS PreBlue/SFX/MFX/EFX"},
               {""}});
  for (const CheckedMode& mode : report.modes) {
    std::string chains;
    for (const std::size_t count : mode.chains)
      chains += (chains.empty() ? "" : "/") + std::to_string(count);
    table.Add({std::to_string(mode.line), Cell(mode.name, ansi::kAccent),
               std::to_string(mode.config), std::to_string(mode.public_controls),
               std::to_string(mode.private_controls), chains,
               mode.auto_mic ? "automatic microphone" : ""});
  }
  if (!table.empty()) context.output.Show(table, 2);
}

const char* SeverityColour(ConfigurationFinding::Severity severity) {
  switch (severity) {
    case ConfigurationFinding::Severity::Error:
      return ansi::kBad;
    case ConfigurationFinding::Severity::Warning:
      return ansi::kAccent;
    case ConfigurationFinding::Severity::Note:
      break;
  }
  return ansi::kDim;
}

void Show(Context& context, const std::string& file, const CheckReport& report) {
  Output& output = context.output;
  output.Line(Printable(file) + ": " + LoadStatusWords(report.status) + " (status " +
              std::to_string(NumberOf(report.status)) + "), " +
              std::to_string(report.modes.size()) + " modes");
  ShowModes(context, report);
  for (const ConfigurationFinding& finding : report.findings) {
    const std::string place = finding.line > 0 ? ":" + std::to_string(finding.line) : "";
    output.Line(Printable(file) + place + ": " +
                output.Painted(SeverityWord(finding.severity), SeverityColour(finding.severity)) +
                ": " + Printable(finding.text) + " [" + finding.code + "]");
  }
}

void CheckFile(Context& context, const std::string& file) {
  const std::string xml = ReadWholeFile(file, kConfigurationSizeLimit);
  const std::unique_ptr<ORVAPOProcessInfo> technology = OpenTechnology(context.session_options);
  if (technology == nullptr) {
    context.output.Notice(
        "No technology library: control names and values are not checked. --technology names one.");
  }
  const CheckReport report = CheckConfiguration(xml, technology.get());
  if (!report.clean()) context.exit_status = kDiffering;
  if (!context.output.json()) return Show(context, file, report);
  Json modes = Json::array();
  for (const CheckedMode& mode : report.modes) modes.push_back(ModeJson(mode));
  Json findings = Json::array();
  for (const ConfigurationFinding& finding : report.findings) {
    findings.push_back({{"line", finding.line},
                        {"code", finding.code},
                        {"severity", SeverityWord(finding.severity)},
                        {"text", finding.text}});
  }
  context.output.Value(
      {{"status", NumberOf(report.status)}, {"modes", modes}, {"findings", findings}});
}

}  // namespace

void AddCheckCommand(CLI::App& app, Context& context) {
  const auto file = std::make_shared<std::string>();
  CLI::App* check = AddCommand(
      app, "check", "Explain a configuration file: what is in it, what is passed over and why",
      "orvctl check orv_apo_config.xml",
      "Control names and values are compared with the technology library. Exit status 3 with any "
      "error or\nwarning, 1 when the file cannot be opened.");
  check->add_option("XML", *file, "The configuration file; - is standard input")->required();
  check->callback([&context, file] { CheckFile(context, *file); });
}

}  // namespace orv::cli
