// doctor
#include <set>

#include "cli/client/diagnosis.h"
#include "cli/commands/commands.h"
#include "cli/dsp/dsp_check.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr CommandText kExamineText = {
    "doctor", "Examine whether processing is active, and show what to do if not",
    "orvctl doctor\n  orvctl doctor 0 --long",
    "Examines one endpoint, or every active one, also those that the component cannot use: effect "
    "registration, configuration file, technology library, registry rights, current mode, switch, "
    "stored values and DSP. Prints what is wrong, each with what to do about it. Exit status 3 if "
    "something is wrong.",
    "an array of {check, ok, detail, remedy} with all checks"};

struct DoctorArguments {
  std::string endpoint;
  bool all = false;
  bool read_only = false;
};

// The endpoint that the text means, as in "endpoints"; all of them for empty text. The component
// does not know those that it cannot use.
std::vector<ORVAPOEndpointInfo> Chosen(Context& context, const std::string& text,
                                       std::vector<ORVAPOEndpointInfo> infos) {
  if (text.empty()) return infos;
  const std::string wanted = ParseNumber(text) ? context.SelectEndpoint(text).id() : text;
  std::vector<std::string> names;
  for (const ORVAPOEndpointInfo& info : infos) {
    if (EqualsIgnoringCase(Utf8FromWide(info.endpoint_id()), wanted)) return {info};
    names.push_back(NameOf(info));
  }
  return {infos[SelectOrFail(names, wanted, "endpoint")]};
}

// Those of one endpoint, or of the machine as a whole, follow one another. Without `all`, only
// those that are not ok.
void ShowChecks(Output& output, const std::vector<Check>& checks, bool all) {
  for (auto check = checks.begin(); check != checks.end();) {
    const std::string& endpoint = check->endpoint;
    Table table({{""}, {""}, {""}});
    for (; check != checks.end() && check->endpoint == endpoint; ++check)
      if (all || !check->ok)
        table.Add({Cell(check->ok ? "ok" : "NO", check->ok ? ansi::kGood : ansi::kBad), check->name,
                   check->detail},
                  check->remedy);
    if (table.empty()) continue;
    if (!endpoint.empty()) output.Line(output.Painted(Printable(endpoint), ansi::kBold));
    output.Show(table, endpoint.empty() ? 0 : 2);
  }
}

// "1 of 3 endpoints has problems."
std::string Verdict(const std::vector<Check>& checks, std::size_t endpoints) {
  std::set<std::string> with_problems;
  for (const Check& check : checks)
    if (!check.ok) with_problems.insert(check.endpoint);
  if (with_problems.empty())
    return "No problem: " + Counted(checks.size(), "check") + " of " +
           Counted(endpoints, "endpoint") + ".";
  const std::size_t count = with_problems.size() - with_problems.count("");
  return fmt::format("{} of {} {} problems.", count, Counted(endpoints, "endpoint"),
                     count == 1 ? "has" : "have");
}

void Examine(Context& context, const DoctorArguments& arguments) {
  const std::vector<ORVAPOEndpointInfo> infos =
      Chosen(context, arguments.endpoint, ReadEndpoints(context.session()));
  Diagnosis diagnosis(context, arguments.read_only);
  diagnosis.ExamineTechnology();
  for (const ORVAPOEndpointInfo& info : infos) {
    if (const std::optional<Endpoint> endpoint = diagnosis.Examine(info))
      ExamineDsp(diagnosis, context.session().machine(), *endpoint);
  }
  if (infos.empty()) {
    context.output.Notice("The machine has no active render endpoint.");
    context.exit_status = kDiffering;
  }
  Json array = Json::array();
  for (const Check& check : diagnosis.checks()) {
    if (!check.ok) context.exit_status = kDiffering;
    array.push_back(
        {{"check", check.name},
         {"ok", check.ok},
         {"detail", (check.endpoint.empty() ? "" : check.endpoint + ": ") + check.detail},
         {"remedy", check.remedy}});
  }
  if (context.output.json()) return context.output.Value(array);
  ShowChecks(context.output, diagnosis.checks(), arguments.all);
  if (!infos.empty()) context.output.Line(Verdict(diagnosis.checks(), infos.size()));
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Context& context) {
  auto [doctor, arguments] = AddCommand(app, context, Examine, kExamineText);
  doctor.add_option("ENDPOINT", arguments.endpoint, kEndpointHelp);
  doctor.add_flag(kLongOption, arguments.all, "Show the checks that are ok, too");
  doctor.add_flag("--read-only", arguments.read_only,
                  "Write no test value: the rights are examined by opening the key");
}

}  // namespace orv::cli
