// The filters of a mode as a picture in the terminal, as a drawing and as JSON.
#pragma once

#include <string>

#include "cli/client/context.h"
#include "cli/dsp/mode_filters.h"
#include "cli/offline/response_plot.h"

namespace orv::cli {

// The filters of a mode with these controls in place of its own, read back from the driver if the
// endpoint has it.
ModeFilters FiltersOf(Context& context, const Endpoint& endpoint, const Mode& mode,
                      const std::string& channel,
                      const std::map<std::string, std::int32_t>& changed = {});

// As wide as the terminal.
void ShowFilters(Output& output, const ModeFilters& filters);

ResponsePlot PlotOf(const ModeFilters& filters, const std::string& title);

// "groups" and "gain_points"; the caller adds what they belong to.
Json ToJson(const ModeFilters& filters);

}  // namespace orv::cli
