// response
#include <fmt/format.h>

#include "cli/commands/commands.h"
#include "cli/commands/response_view.h"
#include "cli/offline/files.h"

namespace orv::cli {
namespace {

struct ResponseArguments : ModeArguments {
  std::string channel;
  std::string svg;
};

constexpr char kDetails[] =
    "What the filters of a mode do that the component designs itself: high-pass and parametric\n"
    "equaliser as one chain for each channel, bass enhancement and space high-pass, each with\n"
    "magnitude, phase and group delay: as designed (ideal), as quantised for sending, and as the "
    "DSP\n"
    "holds them, where that can be read. What is switched off is left out and named. The graphic\n"
    "equaliser and the tone controls are gain points: their curves are the firmware's own. Gains "
    "of\n"
    "whole stages are not part of it.\n"
    "\n"
    "JSON: endpoint, mode, driver, sample_rate (Hz), channel (null: both), groups [{name, filters\n"
    "[{name, quantising_error {frequency, db}, dsp_error {frequency, db}, pole_radius, silent, "
    "points\n"
    "[{frequency, ideal, quantised, dsp: each {db, phase_degrees, group_delay_ms}}]}]}], "
    "gain_points\n"
    "[{group, enabled, control, frequency, gain, dsp_gain}], notes. Null is silence, or a value "
    "that\n"
    "is not there.";

void ShowResponse(Context& context, const ResponseArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const ModeFilters filters = FiltersOf(context, endpoint, mode, arguments.channel);
  const std::string title =
      fmt::format("{}, {}, {} DSP", endpoint.name(), mode.name(), filters.driver);
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
                 {"response", "What a mode's filters do, as a picture",
                  "orvctl response 0 --mode Movie/Internal --channel left\n"
                  "  orvctl response 0 --svg response.svg",
                  kDetails});
  response.add_option("--channel", arguments.channel, "left or right (default: both)")
      ->check(OneOf({"left", "right"}));
  response.add_option("--svg", arguments.svg, "Draw everything into this file");
}

}  // namespace orv::cli
