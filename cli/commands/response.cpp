// response
#include <fmt/format.h>

#include "cli/commands/commands.h"
#include "cli/commands/response_view.h"
#include "cli/offline/files.h"
#include "cli/show/names.h"

namespace orv::cli {
namespace {

struct ResponseArguments : ModeArguments {
  std::string channel;
  std::string svg;
};

constexpr char kDetails[] =
    "Shows the filters that the component designs itself: high-pass and parametric equaliser as "
    "one chain for each channel, bass enhancement and space high-pass, each with magnitude, phase "
    "and group delay: as designed (ideal), as quantised for sending, and as the DSP holds them, "
    "where that can be read. What is switched off is left out and named. The graphic equaliser and "
    "the tone controls are gain points: their curves are the firmware's own. Gains of whole stages "
    "are not part of it.";
constexpr char kJson[] =
    "{endpoint, mode, driver, sample_rate, channel, groups: [{name, filters: [{name, "
    "quantising_error, dsp_error, pole_radius, silent, points: [{frequency, ideal, quantised, "
    "dsp}]}]}], gain_points: [{group, enabled, control, frequency, gain_db, dsp_gain_db}], notes}; "
    "an "
    "error is {frequency, db}, a point's value {db, phase_degrees, group_delay_ms}; null is "
    "silence, or a value that does not exist";

void ShowResponse(Context& context, const ResponseArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const ModeFilters filters = FiltersOf(context, endpoint, mode, arguments.channel);
  const std::string title =
      fmt::format("{}, {}, {} DSP", endpoint.name(), ModeLabel(mode.name()), filters.driver);
  if (!arguments.svg.empty()) ReplaceFile(arguments.svg, DrawResponse(PlotOf(filters, title)));
  Output& output = context.output;
  if (output.json()) {
    Json json = {{"endpoint", endpoint.id()},
                 {"mode", mode.name()},
                 {"driver", filters.driver},
                 {"sample_rate", kDspRate},
                 {"channel", arguments.channel.empty() ? Json() : Json(arguments.channel)}};
    json.update(ToJson(filters));
    json["notes"] = filters.notes;
    return output.Value(json);
  }
  output.Line(Printable(title));
  ShowFilters(output, filters);
  if (!arguments.svg.empty()) output.Line("Drawn in " + arguments.svg + ".");
}

}  // namespace

void AddResponseCommand(CLI::App& app, Context& context) {
  auto [response, arguments] =
      AddCommand(app, context, ShowResponse,
                 {"response", "Draw what a mode's filters do",
                  "orvctl response 0 --mode Movie/Internal --channel left\n"
                  "  orvctl response 0 --svg response.svg",
                  kDetails, kJson});
  response.add_option("--channel", arguments.channel, "Only this channel (default: both)")
      ->check(OneOf({"left", "right"}));
  response.add_option("--svg", arguments.svg, "Draw everything into this file")->type_name("FILE");
}

}  // namespace orv::cli
