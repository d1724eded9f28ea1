// image decode, image encode
#include "cli/client/registry.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/image_json.h"
#include "cli/show/failure.h"
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

ImageBytes BytesOf(const std::string& text, bool hex, const std::string& file) {
  if (!hex) return ImageBytes(text.begin(), text.end());
  auto bytes = BytesFromHex(text);
  if (!bytes) throw Failure(kRefused, file + " holds something else than hexadecimal bytes.");
  return *std::move(bytes);
}

// The image that the processing object reads for a mode.
ImageBytes StoredImage(Context& context, const ImageArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  auto image = ReadImage(context.session().machine(), endpoint.RegistryPath(), mode.name());
  if (!image) {
    throw Failure(kRefused, "nothing is stored for " + mode.name() +
                                ": the configuration's values are in force.\nTo store them: " +
                                CommandLine("restore " + endpoint.number() + " --mode " +
                                            ShellWord(mode.name())));
  }
  return *std::move(image);
}

const char* FaultWords(ImageFault fault) {
  switch (fault) {
    case ImageFault::None:
      return "";
    case ImageFault::NoData:
      return "the record has no data";
    case ImageFault::BrokenHeader:
      return "the record's header is broken";
    case ImageFault::UnknownTextTag:
      return "the record's kind is a text that names none";
    case ImageFault::CutShort:
      break;
  }
  return "the record runs past the end of the image";
}

std::string ValueWords(const Json& value) {
  return value.is_string() ? Utf8FromName(WideFromUtf8(value.get<std::string>())) : value.dump();
}

void Decode(Context& context, const ImageArguments& arguments) {
  if (arguments.file.empty() == arguments.endpoint.empty())
    UsageFailure("expected either a FILE or --endpoint (with --mode).");
  const ImageBytes image =
      arguments.file.empty()
          ? StoredImage(context, arguments)
          : BytesOf(ReadWholeFile(arguments.file, kImageSizeLimit), arguments.hex, arguments.file);
  ORVPropertyList list;
  const ImageDecoding decoding = DecodeImage(image, ImageReading::Replace, list);
  const Json entries = EntriesToJson(list);
  if (context.output.json()) {
    context.output.Value(entries);
  } else {
    Table table({{"NAME"}, {"KIND"}, {"VALUE"}});
    for (const Json& entry : entries) {
      table.Add({ValueWords(entry["name"]), ValueWords(entry["kind"]),
                 Cell(ValueWords(entry["value"]), ansi::kAccent)});
    }
    context.output.Show(table);
    context.output.Line(Counted(entries.size(), "entry", "entries") + " in " +
                        Counted(image.size(), "byte") + ".");
  }
  if (decoding.fault != ImageFault::None) {
    context.output.Notice("Decoding stopped at offset " + std::to_string(decoding.fault_offset) +
                          ": " + FaultWords(decoding.fault) + ".");
  }
  if (decoding.unknown_tags != 0) {
    context.output.Notice("Passed over: " + Counted(decoding.unknown_tags, "record") +
                          " of unknown kind.");
  }
  if (decoding.fault != ImageFault::None || decoding.unknown_tags != 0)
    context.exit_status = kDiffering;
}

void Encode(Context& context, const ImageArguments& arguments) {
  const std::string text = ReadWholeFile(arguments.file, kImageSizeLimit);
  Json json;
  try {
    json = Json::parse(text);
  } catch (const Json::parse_error& fault) {
    throw Failure(kRefused, arguments.file + " is no JSON: " + fault.what());
  }
  std::string error;
  const std::optional<ORVPropertyList> list = EntriesFromJson(json, error);
  if (!list) throw Failure(kRefused, arguments.file + ": " + error + ".");
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
  CLI::App* image = AddCommand(app, "image", "Property-set images, as the registry holds them",
                               "orvctl image decode values.bin");
  image->require_subcommand(1);
  const auto arguments = std::make_shared<ImageArguments>();

  CLI::App* decode = AddCommand(*image, "decode", "An image to its entries",
                                "orvctl image decode values.bin\n  orvctl --json image decode "
                                "--endpoint 0 --mode Movie/Internal");
  decode->add_option("FILE", arguments->file, "The image; - is standard input");
  decode->add_option("--endpoint", arguments->endpoint,
                     "The image that the processing object of this endpoint reads");
  decode->add_option("--mode", arguments->mode, kModeHelp);
  decode->add_flag("--hex", arguments->hex,
                   "FILE holds hexadecimal digits, as in a registry export");
  decode->callback([&context, arguments] { Decode(context, *arguments); });

  CLI::App* encode =
      AddCommand(*image, "encode", "Entries (JSON, as decode prints them) to an image",
                 "orvctl image encode entries.json --output values.bin");
  encode->add_option("FILE", arguments->file, "The entries; - is standard input")->required();
  encode->add_option("--output", arguments->output, "Where the image goes; - is standard output")
      ->capture_default_str();
  encode->add_flag("--hex", arguments->hex, "Write hexadecimal digits");
  encode->callback([&context, arguments] { Encode(context, *arguments); });
}

}  // namespace orv::cli
