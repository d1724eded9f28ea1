// doctor
#include "cli/client/diagnosis.h"
#include "cli/commands/commands.h"
#include "cli/dsp/dsp_check.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr CommandText kExamineText = {
    "doctor", "Is processing really active? What is wrong, and what to do about it",
    "orvctl doctor\n  orvctl doctor 0",
    "Examines every active render endpoint, also those that the component cannot use.\n"
    "Exit status 3 if something is wrong."};

struct DoctorArguments {
  std::string endpoint;
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

void ShowChecks(Output& output, const std::vector<Check>& checks) {
  for (auto check = checks.begin(); check != checks.end();) {
    const std::string& endpoint = check->endpoint;
    if (!endpoint.empty()) output.Line(output.Painted(Printable(endpoint), ansi::kBold));
    Table table({{""}, {""}, {""}});
    for (; check != checks.end() && check->endpoint == endpoint; ++check) {
      table.Add({Cell(check->ok ? "ok" : "NO", check->ok ? ansi::kGood : ansi::kBad), check->name,
                 check->ok ? check->detail : check->detail + " -> " + check->remedy});
    }
    output.Show(table, endpoint.empty() ? 0 : 2);
  }
}

void Examine(Context& context, const DoctorArguments& arguments) {
  const std::vector<ORVAPOEndpointInfo> infos =
      Chosen(context, arguments.endpoint, ReadEndpoints(context.session()));
  Diagnosis diagnosis(context);
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
  ShowChecks(context.output, diagnosis.checks());
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Context& context) {
  auto [doctor, arguments] = AddCommand(app, context, Examine, kExamineText);
  doctor.add_option("ENDPOINT", arguments.endpoint, kEndpointHelp);
}

}  // namespace orv::cli
