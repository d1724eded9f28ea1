// doctor
#include "cli/client/diagnosis.h"
#include "cli/commands/commands.h"
#include "cli/dsp/dsp_check.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

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

void Examine(Context& context, const std::string& chosen) {
  const std::vector<ORVAPOEndpointInfo> infos =
      Chosen(context, chosen, ReadEndpoints(context.session()));
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
  ShowChecks(context, diagnosis.checks());
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
