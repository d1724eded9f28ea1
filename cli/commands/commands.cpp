#include "cli/commands/commands.h"

#include "cli/show/select.h"

namespace orv::cli {

void ReportDifference(Context& context, const std::string& name, const std::string& wanted,
                      const std::string& found) {
  context.output.Notice(
      fmt::format("\"{}\" was set to {}, but {} was read back. Another program may have changed it "
                  "meanwhile, or the endpoint's key may refuse changes.",
                  name, wanted, found));
  context.exit_status = kDiffering;
}

CLI::Validator NumberWithin(double least, double most, const std::string& expected) {
  return {[=](const std::string& text) {
            double number = 0;
            const bool is_number = CLI::detail::lexical_cast(text, number);
            if (is_number && number >= least && number <= most) return std::string();
            return fmt::format("\"{}\" is not {}", text, expected);
          },
          ""};
}

std::optional<std::chrono::steady_clock::time_point> EndAfter(std::optional<double> seconds) {
  using namespace std::chrono;
  if (!seconds) return std::nullopt;
  return steady_clock::now() + duration_cast<steady_clock::duration>(duration<double>(*seconds));
}

CLI::Validator OneOf(const std::vector<std::string>& names) {
  return {[names](const std::string& text) {
            if (std::ranges::find(names, text) != names.end()) return std::string();
            return fmt::format("\"{}\" is not one of {}.{}", text, fmt::join(names, ", "),
                               Suggestion(names, text));
          },
          ""};
}

CLI::App& AddCommand(CLI::App& parent, const CommandText& text) {
  CLI::App* command = parent.add_subcommand(text.name, text.description);
  command->footer(
      fmt::format("{}{}Example:\n  {}", text.details, *text.details ? "\n\n" : "", text.example));
  command->fallthrough();
  return *command;
}

}  // namespace orv::cli
