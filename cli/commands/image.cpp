// image decode, image encode
#include <algorithm>

#include "cli/client/registry.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/image_json.h"
#include "cli/show/names.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr std::size_t kImageSizeLimit = 64U << 20;  // bytes

struct ImageArguments {
  std::string file;
  std::string endpoint;
  std::string mode;
  std::string output = "-";
  bool hex = false;
};

// The image that the processing object reads for a mode.
ImageBytes StoredImage(Context& context, const ImageArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  auto image = ReadImage(context.session().machine(), endpoint.RegistryPath(), mode.name());
  if (image) return *std::move(image);
  const std::string restore =
      fmt::format("restore {} --mode {}", endpoint.number(), ShellWord(ModeLabel(mode.name())));
  throw Failure(kRefused,
                "nothing is stored for {}: the configuration's values are in "
                "force.\nTo store them: {}",
                ModeLabel(mode.name()), CommandLine(restore));
}

ImageBytes GivenImage(Context& context, const ImageArguments& arguments) {
  if (arguments.file.empty()) return StoredImage(context, arguments);
  const std::string text = ReadWholeFile(arguments.file, kImageSizeLimit);
  if (!arguments.hex) return {text.begin(), text.end()};
  auto bytes = BytesFromHex(text);
  if (!bytes) throw Failure(kRefused, arguments.file + " does not hold hexadecimal bytes only.");
  return *std::move(bytes);
}

std::string ValueWords(const Json& value) {
  return value.is_string() ? Utf8FromName(WideFromUtf8(value.get<std::string>())) : value.dump();
}

Table EntriesTable(const Json& entries) {
  Table table({{"NAME"}, {"KIND"}, {"VALUE"}});
  for (const Json& entry : entries)
    table.Add({ValueWords(entry["name"]), ValueWords(entry["kind"]),
               Cell(ValueWords(entry["value"]), ansi::kAccent)});
  return table;
}

void Decode(Context& context, const ImageArguments& arguments) {
  static constexpr const char* kFaultWords[] = {
      "", "the record has no data", "the record's header is broken",
      "the record's kind is a text that names no kind",
      "the record runs past the end of the image"};  // by fault
  if (arguments.file.empty() == arguments.endpoint.empty())
    UsageFailure("expected either a FILE or --endpoint (with --mode).");
  const ImageBytes image = GivenImage(context, arguments);
  ORVPropertyList list;
  const ImageDecoding decoding = DecodeImage(image, ImageReading::Replace, list);
  const Json entries = EntriesToJson(list);
  Output& output = context.output;
  output.Result(entries, EntriesTable(entries));
  if (!output.json()) {
    output.Line(fmt::format("{} in {}.", Counted(entries.size(), "entry", "entries"),
                            Counted(image.size(), "byte")));
  }
  if (decoding.fault != ImageFault::None) {
    output.Notice(fmt::format("Decoding stopped at offset {}: {}.", decoding.fault_offset,
                              kFaultWords[static_cast<int>(decoding.fault)]));
    context.exit_status = kDiffering;
  }
  if (decoding.unknown_tags != 0) {
    output.Notice("Ignored: " + Counted(decoding.unknown_tags, "record") + " of unknown kind.");
    context.exit_status = kDiffering;
  }
}

void Encode(Context& context, const ImageArguments& arguments) {
  const std::string text = ReadWholeFile(arguments.file, kImageSizeLimit);
  Json json;
  try {
    json = Json::parse(text);
  } catch (const Json::parse_error& fault) {
    const std::size_t end = std::min(fault.byte, text.size());
    const auto line = 1 + std::ranges::count(text.substr(0, end), '\n');
    throw Failure(kRefused, "{}:{}: this is not valid JSON.", arguments.file, line);
  }
  std::string error;
  const std::optional<ORVPropertyList> list = EntriesFromJson(json, error);
  if (!list) throw Failure(kRefused, "{}: {}.", arguments.file, error);
  ImageBytes image;
  if (!EncodeImage(*list, image)) {
    context.output.Notice("Entries without data were left out: an image cannot hold them.");
    context.exit_status = kDiffering;
  }
  const std::string bytes =
      arguments.hex ? HexText(image) + "\n" : std::string(image.begin(), image.end());
  if (arguments.output != "-") ReplaceFile(arguments.output, bytes);
  if (context.output.json()) {
    context.output.Value({{"size", image.size()}, {"bytes", HexText(image)}});
  } else if (arguments.output == "-") {
    context.output.Raw(bytes);
  }
}

}  // namespace

void AddImageCommands(CLI::App& app, Context& context) {
  CLI::App& image =
      AddGroup(app, {"image", "Decode and encode property-set images, as the registry holds them",
                     "orvctl image decode values.bin"});
  const auto arguments = std::make_shared<ImageArguments>();

  CLI::App& decode =
      AddCommand(image, context, arguments, Decode,
                 {"decode", "Print the entries of an image",
                  "orvctl image decode values.bin\n  orvctl --json image decode "
                  "--endpoint 0 --mode Movie/Internal",
                  "Reads a FILE, or the image that an endpoint's processing object reads.",
                  "an array of {name, kind, value}"});
  decode.add_option("FILE", arguments->file, "The image; - is standard input");
  decode.add_option("--endpoint", arguments->endpoint,
                    "The image that the processing object of this endpoint reads");
  decode.add_option("--mode", arguments->mode, kModeHelp);
  decode.add_flag("--hex", arguments->hex,
                  "FILE holds hexadecimal digits, as in a registry export");

  CLI::App& encode =
      AddCommand(image, context, arguments, Encode,
                 {"encode", "Make an image from entries, as decode prints them with --json",
                  "orvctl image encode entries.json --output values.bin", "", "{size, bytes}"});
  encode.add_option("FILE", arguments->file, "The entries; - is standard input")->required();
  encode.add_option("--output", arguments->output, "Where the image goes; - is standard output")
      ->type_name("FILE")
      ->capture_default_str();
  encode.add_flag("--hex", arguments->hex, "Write hexadecimal digits");
}

}  // namespace orv::cli
