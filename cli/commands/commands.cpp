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

CLI::Validator NumberWithin(double least, double most, const std::string& expected,
                            const std::string& word) {
  return {[=](const std::string& text) {
            double number = 0;
            const bool is_number = CLI::detail::lexical_cast(text, number);
            if (is_number && number >= least && number <= most) return std::string();
            return fmt::format("\"{}\" is not {}.", text, expected);
          },
          word};
}

CLI::Validator WholeNumberWithin(std::int32_t least, std::int32_t most, const std::string& word) {
  return {[=](const std::string& text) {
            const std::optional<int> number = ParseNumber(text);
            if (number && *number >= least && *number <= most) return std::string();
            return fmt::format("\"{}\" is not a whole number from {} to {}.", text, least, most);
          },
          word.empty() ? fmt::format("{}..{}", least, most) : word};
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
                               text.size() > 2 ? Suggestion(names, text) : "");
          },
          fmt::format("{}", fmt::join(names, "|"))};
}

CLI::App& AddCommand(CLI::App& parent, const CommandText& text) {
  CLI::App* command = parent.add_subcommand(text.name, text.description);
  std::string footer = text.details;
  if (*text.json != 0) footer += std::string(kJsonTitle) + text.json;
  command->footer(fmt::format("{}\n\n{}  {}", footer, kExampleTitle, text.example));
  command->fallthrough();
  return *command;
}

CLI::App& AddGroup(CLI::App& parent, const CommandText& text) {
  CLI::App& group = AddCommand(parent, text);
  group.require_subcommand(1);
  return group;
}

}  // namespace orv::cli
