// check
#include "cli/offline/check.h"

#include "cli/commands/commands.h"
#include "cli/offline/files.h"

namespace orv::cli {
namespace {

constexpr CommandText kCheckFileText = {
    "check", "Explain a configuration file: its content, what is ignored and why",
    "orvctl check orv_apo_config.xml",
    "Control names and values are compared with the technology library. Exit status 3 with any "
    "error or warning, 1 if the file cannot be opened.",
    "{status, modes: [{name, line, config, auto_mic, public, private, chains}], findings: [{line, "
    "code, severity, text}]}"};

struct CheckArguments {
  std::string file;
};

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

Table ModesTable(const CheckReport& report) {
  Table table({{"LINE", Align::Right},
               {"MODE"},
               {"TYPE", Align::Right},
               {"PUBLIC", Align::Right},
               {"PRIVATE", Align::Right},
               {"CHAINS PreBlue/SFX/MFX/EFX"},
               {""}});
  for (const CheckedMode& mode : report.modes) {
    table.Add({std::to_string(mode.line), Cell(mode.name, ansi::kAccent),
               std::to_string(mode.config), std::to_string(mode.public_controls),
               std::to_string(mode.private_controls),
               fmt::format("{}", fmt::join(mode.chains, "/")),
               mode.auto_mic ? "automatic microphone" : ""});
  }
  return table;
}

void Show(Output& output, const std::string& file, const CheckReport& report) {
  static constexpr const char* kColours[] = {ansi::kDim, ansi::kAccent, ansi::kBad};  // by severity
  output.Line(fmt::format("{}: {} (status {}), {}", Printable(file), LoadStatusWords(report.status),
                          NumberOf(report.status), Counted(report.modes.size(), "mode")));
  if (!report.modes.empty()) output.Show(ModesTable(report), 2);
  for (const ConfigurationFinding& finding : report.findings) {
    output.Line(fmt::format("{}{}: {}: {} [{}]", Printable(file),
                            finding.line > 0 ? fmt::format(":{}", finding.line) : "",
                            output.Painted(SeverityWord(finding.severity),
                                           kColours[static_cast<int>(finding.severity)]),
                            Printable(finding.text), finding.code));
  }
}

void CheckFile(Context& context, const CheckArguments& arguments) {
  constexpr std::size_t kSizeLimit = 64U << 20;  // bytes
  const std::string xml = ReadWholeFile(arguments.file, kSizeLimit);
  const std::unique_ptr<ORVAPOProcessInfo> technology = OpenTechnology(context.session_options);
  if (technology == nullptr) {
    context.output.Notice(
        "No technology library: control names and values are not checked. --technology names one.");
  }
  const CheckReport report = CheckConfiguration(xml, technology.get());
  if (!report.clean()) context.exit_status = kDiffering;
  if (!context.output.json()) return Show(context.output, arguments.file, report);
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
  auto [check, arguments] = AddCommand(app, context, CheckFile, kCheckFileText);
  check.add_option("XML", arguments.file, "The configuration file; - is standard input")
      ->required();
}

}  // namespace orv::cli
