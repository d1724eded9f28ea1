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

// Rows of the human output. Filter words and old records carry little information.
constexpr std::size_t kShownFields = 40;
constexpr std::size_t kShownRecords = 40;
constexpr char kReservedField[] = "reserved";

std::string RecordHex(const DriverRecord& record) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(record.bytes.data());
  return HexText({bytes, bytes + record.bytes.size()});
}

// Qualcomm records carry a form factor, all others an apply flag.
bool CarriesFormFactor(const DriverRecord& record) { return record.driver == kQualcommDriver; }

// Names the block that a remark is about; empty for the module as a whole.
std::string RemarkPlace(const DriverFinding& remark) {
  if (remark.parameter == 0) return "";
  return "parameter " + ParameterText(remark.parameter) + ": ";
}

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

void ShowReceived(Output& output, const std::vector<DriverRecord>& records, bool all) {
  Table table({{"#", Align::Right},
               {"DRIVER"},
               {"PARAMETER"},
               {"NAME"},
               {"BYTES", Align::Right},
               {"SENT WITH"}});
  const std::size_t first =
      all || records.size() <= kShownRecords ? 0 : records.size() - kShownRecords;
  for (std::size_t i = first; i < records.size(); ++i) {
    const DriverRecord& record = records[i];
    table.Add({std::to_string(record.number), record.driver, ParameterText(record.parameter),
               BlockName(BlockOf(record)), std::to_string(record.bytes.size()),
               (CarriesFormFactor(record) ? "form factor " : "apply flag ") +
                   std::to_string(record.selector)});
  }
  output.Line(output.Painted("Received", ansi::kBold));
  output.Show(table, 2);
  if (first != 0) output.Line("  " + Counted(first, "earlier record") + "; --all shows all.");
}

void ShowFields(Output& output, const DriverRecord& record, bool all) {
  const DspBlock block = BlockOf(record);
  auto fields = DecodeBlock(block);
  output.Line("");
  output.Line(output.Painted(
      record.driver + " " + ParameterText(record.parameter) + " " + BlockName(block), ansi::kBold));
  if (fields.empty()) return output.Line("  " + RecordHex(record));
  if (!all)
    std::erase_if(fields,
                  [](const DecodedField& field) { return field.control == kReservedField; });
  Table table = FieldTable();
  const std::size_t shown = all ? fields.size() : std::min(fields.size(), kShownFields);
  for (const DecodedField& field : std::span(fields).first(shown)) AddField(table, field, false);
  output.Show(table, 2);
  if (shown < fields.size()) {
    output.Line("  " + Counted(fields.size() - shown, "more field") + "; --all shows all.");
  }
}

// Shows the latest kept record of each parameter.
void ShowHeld(Output& output, const std::vector<DriverRecord>& records, bool all) {
  std::map<std::pair<std::string, std::uint32_t>, const DriverRecord*> held;
  for (const DriverRecord& record : records) held[{record.driver, record.parameter}] = &record;
  for (const auto& [parameter, record] : held) ShowFields(output, *record, all);
}

void ShowEvents(Output& output, const std::vector<DriverReport::Event>& events) {
  if (events.empty()) return;
  Table table({{"EVENT"}, {"SIGNALLED", Align::Right}});
  for (const DriverReport::Event& event : events)
    table.Add({event.name, std::to_string(event.signals)});
  output.Line("");
  output.Show(table);
}

void ShowDrivers(Context& context, bool all) {
  const DriverReport report = ReadDrivers(context.session_options.machine);
  Output& output = context.output;
  if (output.json()) {
    Json list = Json::array();
    for (const DriverRecord& record : report.records) list.push_back(RecordJson(record));
    output.Value(list);
  } else {
    if (report.records.empty()) {
      output.Line("No driver of this machine has received anything.");
    } else {
      ShowReceived(output, report.records, all);
      ShowHeld(output, report.records, all);
    }
    ShowEvents(output, report.events);
  }
  for (const DriverRefusal& refusal : report.refusals)
    output.Notice(refusal.driver + " refused " + refusal.request + ": " + refusal.reason);
  for (const DriverFinding& remark : report.findings)
    output.Notice(remark.driver + ": " + RemarkPlace(remark) + remark.text);
}

}  // namespace

void AddDriversCommand(CLI::App& machine, Context& context) {
  const auto all = std::make_shared<bool>(false);
  CLI::App* drivers = AddCommand(
      machine, "drivers", "What the simulated drivers received and hold, decoded field by field",
      "orvctl --machine my-machine machine drivers",
      "Lists the latest records, oldest first, then the latest block of each parameter. Refused "
      "requests and remarks (unstable or silent filters, missing coefficients, modules that are "
      "off) go to standard error.");
  drivers->add_flag("--all", *all, "Every record, every word of long filters, reserved fields");
  drivers->callback([&context, all] { ShowDrivers(context, *all); });
}

}  // namespace orv::cli
