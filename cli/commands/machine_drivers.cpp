// machine drivers
#include <algorithm>
#include <map>
#include <span>

#include "cli/client/driver_report.h"
#include "cli/commands/commands.h"
#include "cli/dsp/blocks.h"
#include "cli/offline/image_json.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

constexpr CommandText kShowDriversText = {
    "drivers", "Show what the simulated drivers received and hold, field by field",
    "orvctl --machine my-machine machine drivers",
    "Lists the latest records, oldest first, then the latest block of each parameter. Refused "
    "requests and findings (unstable or silent filters, missing coefficients, modules that are "
    "off) go to standard error.",
    "an array of {driver, parameter, name, apply, size, bytes, fields: [{offset, "
    "control, value}]} in the order received; bytes are lower-case hexadecimal digits, and a "
    "Qualcomm record has form_factor instead of apply"};

struct DriversArguments {
  bool all = false;
};

// Rows without --all. Filter words and old records carry little information.
constexpr std::size_t kShownFields = 40;
constexpr std::size_t kShownRecords = 40;

std::string RecordHex(const DriverRecord& record) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(record.bytes.data());
  return HexText({bytes, bytes + record.bytes.size()});
}

// Qualcomm records carry a form factor, all others an apply flag.
bool CarriesFormFactor(const DriverRecord& record) { return record.driver == kQualcommDriver; }

Json RecordJson(const DriverRecord& record) {
  const DspBlock block = BlockOf(record);
  Json fields = Json::array();
  for (const DecodedField& field : DecodeBlock(block))
    fields.push_back(
        {{"offset", field.offset}, {"control", field.control}, {"value", field.value}});
  return {{"driver", record.driver},
          {"parameter", record.parameter},
          {"name", BlockName(block)},
          {CarriesFormFactor(record) ? "form_factor" : "apply", record.selector},
          {"size", record.bytes.size()},
          {"bytes", RecordHex(record)},
          {"fields", std::move(fields)}};
}

void ShowReceived(Output& output, std::span<const DriverRecord> records, bool all) {
  Table table({{"#", Align::Right},
               {"DRIVER"},
               {"PARAMETER"},
               {"NAME"},
               {"BYTES", Align::Right},
               {"SENT WITH"}});
  const auto shown = records.last(all ? records.size() : std::min(records.size(), kShownRecords));
  for (const DriverRecord& record : shown) {
    table.Add({std::to_string(record.number), record.driver, ParameterText(record.parameter),
               BlockName(BlockOf(record)), std::to_string(record.bytes.size()),
               fmt::format("{} {}", CarriesFormFactor(record) ? "form factor" : "apply flag",
                           record.selector)});
  }
  output.Line(output.Painted("Received", ansi::kBold));
  output.Show(table, 2);
  if (const std::size_t earlier = records.size() - shown.size(); earlier != 0)
    output.Line("  " + Counted(earlier, "earlier record") + "; --all shows all.");
}

void ShowFields(Output& output, const DriverRecord& record, bool all) {
  const DspBlock block = BlockOf(record);
  auto fields = DecodeBlock(block);
  output.Line("");
  output.Line(output.Painted(
      fmt::format("{} {} {}", record.driver, ParameterText(record.parameter), BlockName(block)),
      ansi::kBold));
  if (fields.empty()) return output.Line("  " + RecordHex(record));
  if (!all)
    std::erase_if(fields, [](const DecodedField& field) { return field.control == "reserved"; });
  Table table = FieldTable();
  const std::size_t shown = all ? fields.size() : std::min(fields.size(), kShownFields);
  for (const DecodedField& field : std::span(fields).first(shown)) AddField(table, field, false);
  output.Show(table, 2);
  if (shown < fields.size())
    output.Line("  " + Counted(fields.size() - shown, "more field") + "; --all shows all.");
}

void Show(Output& output, const DriverReport& report, bool all) {
  if (report.records.empty()) {
    output.Line("No driver of this machine has received anything.");
  } else {
    ShowReceived(output, report.records, all);
    // The latest kept record of each parameter is what the driver holds.
    std::map<std::pair<std::string, std::uint32_t>, const DriverRecord*> held;
    for (const DriverRecord& record : report.records)
      held[{record.driver, record.parameter}] = &record;
    for (const auto& [parameter, record] : held) ShowFields(output, *record, all);
  }
  if (report.events.empty()) return;
  Table table({{"EVENT"}, {"SIGNALLED", Align::Right}});
  for (const DriverReport::Event& event : report.events)
    table.Add({event.name, std::to_string(event.signals)});
  output.Line("");
  output.Show(table);
}

void ShowDrivers(Context& context, const DriversArguments& arguments) {
  const DriverReport report = ReadDrivers(context.session_options.machine);
  Output& output = context.output;
  if (output.json()) {
    Json list = Json::array();
    for (const DriverRecord& record : report.records) list.push_back(RecordJson(record));
    output.Value(list);
  } else {
    Show(output, report, arguments.all);
  }
  for (const DriverRefusal& refusal : report.refusals)
    output.Notice(
        fmt::format("{} refused {}: {}", refusal.driver, refusal.request, refusal.reason));
  for (const auto& [driver, parameter, text] : report.findings) {
    // 0 is the module as a whole.
    const std::string place =
        parameter == 0 ? "" : fmt::format("parameter {}: ", ParameterText(parameter));
    output.Notice(fmt::format("{}: {}{}", driver, place, text));
  }
}

}  // namespace

void AddDriversCommand(CLI::App& machine, Context& context) {
  auto [drivers, arguments] = AddCommand(machine, context, ShowDrivers, kShowDriversText);
  drivers.add_flag("--all", arguments.all,
                   "Every record, every word of long filters, reserved fields");
}

}  // namespace orv::cli
