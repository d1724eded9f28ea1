// Blocks that the simulated drivers accept or refuse, and the faults they find in what they hold.
#include <fmt/format.h>

#include "simulated/driver_client.h"
#include "simulated/drivers/block_format.h"
#include "simulated/drivers/driver_memory.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Formats = std::vector<BlockFormat>;
const Formats& skylake = SkylakeFormats();
const Formats& broadwell = BroadwellFormats();
const Formats& qualcomm = QualcommFormats();

constexpr std::int64_t kOne = 1 << 30;  // with a shift of 2
constexpr std::int64_t kNoFir = -1;

// A block of 32-bit words.
Bytes Words(std::initializer_list<std::int64_t> words, std::size_t zeros = 0) {
  Wire block;
  for (const std::int64_t word : words) block.Word(static_cast<std::uint32_t>(word));
  return block.Zeros(zeros);
}
// A word of 32 bits that holds two of 16.
constexpr std::int64_t Two(std::int64_t low, std::int64_t high) { return low + (high << 16); }

std::string Fault(const Formats& formats, std::uint32_t parameter, const Bytes& block) {
  const BlockFormat* format = FindFormat(formats, parameter);
  return format == nullptr ? "no such parameter" : format->Fault(block);
}

TEST(DriverFormats, AcceptFreshBlocksAndThoseOfTheReferenceData) {
  for (const Formats* formats : {&skylake, &broadwell})
    for (const BlockFormat& format : *formats) EXPECT_EQ(format.Fault(format.Initial()), "");
  int taken = 0;
  for (const auto& [file, formats] : {std::pair("skylake.json", &skylake),
                                      {"broadwell.json", &broadwell},
                                      {"qualcomm.json", &qualcomm}}) {
    const nlohmann::json& data = ReferenceData(file);
    for (const auto& mode : data["cases"]) {
      for (const auto& block : mode.value("blocks", mode.value("records", nlohmann::json()))) {
        const auto id = std::stoul(block["id"].get<std::string>(), nullptr, 0);
        const std::string fault =
            Fault(*formats, static_cast<std::uint32_t>(id), BytesOfHex(block["bytes"]));
        EXPECT_EQ(fault, "") << file << ' ' << mode["name"] << ' ' << id;
        ++taken;
      }
    }
  }
  EXPECT_GT(taken, 1000);
}

// A high-pass of an order and an equaliser of one section, then FIR words.
Bytes Left(std::int64_t order, std::int64_t fir, std::size_t words) {
  return Words({1, order, 1, 1, 2, fir}, 4 * words + 40);
}

TEST(DriverFormats, RefuseContradictoryBlocks) {
  EXPECT_EQ(Fault(skylake, 0x1001440D, Left(2, 49, 8 + 8 + 53)), "");
  const Bytes left = Left(2, kNoFir, 8 + 8);
  const auto spoiled = [](Bytes block, std::size_t offset, std::uint32_t word) {
    Put(block, offset, word);
    return block;
  };
  const Bytes widening = Words({0x480, 0, 0, 0, 0, kOne}, 68);
  const Bytes equaliser = Words({0x803, 0x10001000, 0x1000}, 208);
  const struct {
    const Formats& formats;
    std::uint32_t parameter;
    Bytes block;
    const char* reason;
  } cases[] = {
      {skylake, 0x10014408, Words({0, 0, -13}), "offset 8: -13 is outside -12 to 12"},
      {skylake, 0x10014401, Words({1, 0x8000, 0, 0}), "offset 4: 32768 is outside"},
      {skylake, 0x10014402, Words({0, Two(0, 1), 0}), "offset 6: a reserved byte"},
      {skylake, 0x1001440D, Words({0, 2}, 56), "an absent high-pass has an order"},
      {skylake, 0x1001440D, Words({1, 0, 1}, 52), "a high-pass without an order"},
      {skylake, 0x1001440E, Words({0, 0, 1}, 24), "an absent equaliser has an order"},
      {skylake, 0x1001440D, Left(11, kNoFir, 38 + 8), "a high-pass of order 11"},
      {skylake, 0x1001440D, Left(2, 257, 8 + 8 + 261), "257 taps"},
      {skylake, 0x1001440D, Left(2, 49, 8 + 8), "128 bytes instead of 340"},
      {skylake, 0x1001440D, spoiled(left, 124, 1), "bytes after the coefficients"},
      {skylake, 0x1001440D, spoiled(left, 24, 32), "offset 24: a shift of 32 is outside 0 to 31"},
      {skylake, 0x1001440D, spoiled(left, 80, 0xFFFFFFFF), "offset 80: a shift of -1"},
      {broadwell, 21, Words({0, 5}, 84), "the channel mask 5"},
      {broadwell, 24, Words({3}, 18), "an order of 3 in 1 sections"},
      {broadwell, 24, Words({2}, 20), "no whole sections"},
      {broadwell, 24, Words({2}, 66), "an order of 2 in 5 sections"},
      {broadwell, 24, Words({2, 17}, 14), "offset 4: a shift of 17 is outside 0 to 16"},
      {broadwell, 25, Words({2}, 32), "for 2 sections"},
      {broadwell, 25, Words({1, 32}, 28), "offset 4: a shift of 32"},
      {broadwell, 100, spoiled(Bytes(96), 88, 32), "offset 88: a shift of 32"},
      {broadwell, 101, Words({32}, 28), "offset 0: a shift of 32"},
      {qualcomm, 0x10005012, spoiled(widening, 0, 0x401), "option bit 0x80"},
      {qualcomm, 0x10005012, spoiled(widening, 20, 0), "offset 20: 0 is outside"},
      {qualcomm, 0x10005014, spoiled(Bytes(108), 12, 1), "than an order of 0 has"},
      {qualcomm, 0x10005015, spoiled(equaliser, 0, 0x807), "the lowest bits"},
      {qualcomm, 0x10005015, spoiled(equaliser, 212, 32), "offset 212: a shift of 32"},
  };
  for (const auto& wrong : cases)
    EXPECT_THAT(Fault(wrong.formats, wrong.parameter, wrong.block), HasSubstr(wrong.reason));
}

std::vector<std::string> Lines(const std::vector<DriverFinding>& findings) {
  std::vector<std::string> lines;
  for (const DriverFinding& finding : findings)
    lines.push_back(fmt::format("0x{:X} {}", finding.parameter & 0xFFF, finding.text));
  return lines;
}

TEST(DriverFindings, NameWhatAListenerWouldNotice) {
  DriverMemory memory;
  DriversDescription drivers{SkylakeDescription(), BroadwellDescription(), QualcommDescription()};
  const auto findings = [&] { return Lines(FindingsOn(memory, drivers)); };
  EXPECT_THAT(findings(), ElementsAre("0x0 no client has switched the module on"));
  memory.enabled = {{"skylake", 0}, {"broadwell", 1}};
  const struct {
    const char* driver;
    const Formats& formats;
    std::uint32_t parameter;
    Bytes block;
  } held[] = {
      {"skylake", skylake, 0x10014401, Bytes(16)},
      {"skylake", skylake, 0x10014404, Words({0, 0, 9}, 28)},
      {"skylake", skylake, 0x10014405, Words({0, 0, 0, 0, 0, 9, 0})},
      // Sections of unity gain; their last two words, a1 and a2, place the poles.
      {"skylake", skylake, 0x1001440D,
       Words({1,    2, 1,    1, 2,    kNoFir, 2, kOne, 0,        0, 0,
              kOne, 2, kOne, 2, kOne, 0,      0, 0,    kOne - 1, 2, kOne},
             40)},
      {"skylake", skylake, 0x1001440E,
       Words({1, 4, kNoFir, 2, kOne, 0, 0, 0, kOne - 1, 2, kOne, 0, 0, 2, kOne - 1, 2, kOne}, 24)},
      {"broadwell", broadwell, 0, Bytes(4)},
      {"broadwell", broadwell, 21, Words({0, 3, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}, 28)},
      {"broadwell", broadwell, 24, Words({1, Two(1, 1), 0, Two(0, 0x8000), Two(1, 1)}, 2)},
      {"broadwell", broadwell, 25, Words({0, 1, 0})},
      // Resonators, of which the last has a pole on the unit circle, and an all-pass section.
      {"broadwell", broadwell, 100,
       Words({1, 0, 1, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 0, kOne, 2, kOne, 0, 0, 0, 0, 2, kOne})},
      {"qualcomm", qualcomm, 0x10005011, Bytes(8)},
      {"qualcomm", qualcomm, 0x10005012, Words({0x484, 0, 0, 0, 0, kOne}, 68)},
      {"qualcomm", qualcomm, 0x10005013, Words({0, 0, 0, 0, 0x10000000}, 68)},  // without bass
      {"qualcomm", qualcomm, 0x10005014, Words({9}, 104)},
      {"qualcomm", qualcomm, 0x10005015, Words({3, 0x10001000, 0x1000}, 208)},
  };
  for (const auto& [driver, formats, parameter, block] : held) {
    EXPECT_EQ(Fault(formats, parameter, block), "") << parameter;
    memory.blocks[{driver, parameter}].now = block;
  }
  EXPECT_THAT(
      findings(),
      ElementsAre(
          "0x0 the module is switched off", "0x401 processing is switched off",
          "0x404 the audio size is custom, but parameter 0x1001440F never came",
          "0x405 the space cut-off is custom, but parameter 0x10014410 never came",
          "0x40D high-pass: section 1 is unstable", "0x40E right equaliser: section 2 is unstable",
          "0x0 processing is switched off",
          "0x15 the space cut-off is custom, but parameter 101 never came",
          "0x15 only one of the two sizes is custom", "0x18 high-pass: section 1 is unstable",
          "0x19 equaliser: the overall gain is 0", "0x64 bass of the analysis size is unstable",
          "0x11 processing is switched off", "0x14 high-pass: the overall gain is 0",
          "0x15 left equaliser: section 1 is silent", "0x15 right equaliser: section 1 is silent",
          "0x12 bass of the audio size is silent"));
  drivers.skylake->module_instantiated = false;
  EXPECT_EQ(findings().front(), "0x0 the module is not instantiated");
}

}  // namespace
}  // namespace orv
