// Drivers of a simulated machine that are reached through device files, and what all drivers keep.
#include <thread>

#include "platform/simulated/driver_client.h"
#include "platform/simulated/drivers/block_format.h"
#include "platform/simulated/machine_folder.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr GUID kBroadwellClass = {
    0x75A73EF4, 0x699E, 0x4E19, {0xAC, 0xAC, 0x86, 0x31, 0xA3, 0x09, 0x5A, 0xD7}};
constexpr GUID kQualcommClass = {
    0x83BF8857, 0x5742, 0x4B77, {0x98, 0x8D, 0x1B, 0x7E, 0x96, 0x04, 0xE9, 0x8D}};
constexpr std::uint32_t kGetCode = 0x22E5DA;
constexpr std::uint32_t kSetCode = 0x22E5DE;
constexpr std::uint32_t kSendCode = 0x90002C00;

std::unique_ptr<DeviceFile> Open(SimulatedMachine& machine, const GUID& interface_class) {
  const auto paths = machine.DeviceInterfaces(interface_class);
  std::uint32_t error = 0xDDDDDDDD;
  auto file = paths.empty() ? nullptr : machine.OpenDevice(paths.front(), error);
  EXPECT_NE(file, nullptr) << error;
  return file;
}

// A Broadwell request with its buffer, right unless a test spoils it.
struct BroadwellRequest {
  BroadwellRequest(std::uint32_t command, std::size_t size)
      : code(command == 13 || command == 14 ? kSetCode : kGetCode),
        header(Wire().Word(9).Word(0).Word(command).Word(static_cast<std::uint32_t>(16 + size))),
        buffer(size) {}
  BroadwellRequest(std::uint32_t command, std::uint32_t parameter, const Bytes& data)
      : BroadwellRequest(command, 64017) {
    Put(buffer, 4, parameter);
    Put(buffer, 13, static_cast<std::uint32_t>(data.size()));
    std::copy(data.begin(), data.end(), buffer.begin() + 17);
  }
  std::uint32_t Send(DeviceFile& file) { return file.Control(code, header, buffer, returned); }
  std::uint32_t status() const { return WordAt(buffer, 0); }
  Bytes data(std::size_t size) const { return {buffer.begin() + 17, buffer.begin() + 17 + size}; }

  std::uint32_t code;
  Bytes header;
  Bytes buffer;
  std::uint32_t returned = 0xDDDDDDDD;
};

constexpr char kBroadwellMachine[] = R"({"drivers": {"broadwell": {"module": {"enabled": true}}}})";

TEST(BroadwellDriver, EveryFreshParameterIsOneThatItTakes) {
  const auto machine = SimulatedMachine::InMemory(Describe(kBroadwellMachine));
  const auto file = Open(*machine, kBroadwellClass);
  for (const BlockFormat& format : BroadwellFormats()) {
    const Bytes fresh = format.Initial();
    BroadwellRequest get(15, format.parameter, Bytes(fresh.size()));
    BroadwellRequest set(14, format.parameter, fresh);
    EXPECT_EQ(get.Send(*file) | get.status() | set.Send(*file) | set.status(), 0U)
        << format.parameter << ": " << LastRefusal(*machine);
    EXPECT_EQ(get.data(fresh.size()), fresh);
  }
}

TEST(BroadwellDriver, WrongRequestsFailAndWrongParametersHaveANegativeStatus) {
  const auto machine = SimulatedMachine::InMemory(Describe(kBroadwellMachine));
  const auto file = Open(*machine, kBroadwellClass);
  const BroadwellRequest good(14, 6, Wire().Word(1));
  const struct {
    std::size_t offset;
    std::uint32_t word;
    const char* reason;
  } headers[] = {{0, 8, "module number 8"},
                 {4, 1, "second word"},
                 {8, 12, "command 12"},
                 {8, 15, "control code 0x22E5DE for command 15"},
                 {8, 13, "64017 bytes instead of 6"},
                 {12, 64017, "size word 64017"}};
  for (const auto& wrong : headers) {
    BroadwellRequest request = good;
    Put(request.header, wrong.offset, wrong.word);
    EXPECT_EQ(request.Send(*file), kDeviceInvalidParameter) << wrong.reason;
    EXPECT_THAT(LastRefusal(*machine), HasSubstr(wrong.reason));
  }
  BroadwellRequest code = good;
  code.code = kSetCode + 4;
  EXPECT_EQ(code.Send(*file), 1U);
  BroadwellRequest longer = good;
  longer.header.push_back({});
  EXPECT_EQ(longer.Send(*file), kDeviceInvalidParameter);
  const auto spoiled = [&good](std::size_t offset, std::uint32_t word, std::size_t width = 4) {
    BroadwellRequest request = good;
    Put(request.buffer, offset, word, width);
    return request;
  };
  std::pair<BroadwellRequest, const char*> parameters[] = {
      {spoiled(0, 1), "the status word"},
      {spoiled(4, 7), "no such parameter"},
      {spoiled(8, 2, 1), "apply flag 2"},
      {spoiled(9, 1), "the reserved word"},
      {spoiled(13, 64001), "a size of 64001"},
      {spoiled(13, 2), "2 bytes instead of 4"},
      {spoiled(17, 2), "offset 0: 2 is outside 0 to 1"},
      {spoiled(64016, 1, 1), "bytes after the data"},
      {{14, 21, Wire().Word(0).Word(5).Zeros(84)}, "the channel mask 5"},
      {{14, 24, Wire().Word(3).Zeros(18)}, "an order of 3 in 1 sections"},
      {{14, 24, Wire().Word(2).Zeros(20)}, "no whole sections"},
      {{14, 24, Wire().Word(2).Zeros(66)}, "an order of 2 in 5 sections"},
      {{14, 24, Wire().Word(2).Zeros(12).Short(17).Zeros(4)},
       "offset 16: a shift of 17 is outside 0"},
      {{14, 25, Wire().Word(2).Zeros(32)}, "for 2 sections"},
      {{14, 25, Wire().Word(1).Word(32).Zeros(28)}, "offset 4: a shift of 32 is outside 0 to 31"},
      {{14, 100, Wire().Zeros(88).Word(0xFFFFFFFF).Zeros(4)}, "a shift of -1"},
      {{14, 101, Wire().Word(32).Zeros(28)}, "a shift of 32"},
      {{15, 6, Wire().Word(1)}, "the room for the answer is not zero"}};
  for (auto& [request, reason] : parameters) {
    EXPECT_EQ(request.Send(*file), 0U);
    EXPECT_GT(request.status(), 0x80000000U) << reason;
    EXPECT_THAT(LastRefusal(*machine), HasSubstr(reason));
  }
  EXPECT_THAT(machine->ReceivedRecords(), IsEmpty());
}

TEST(BroadwellDriver, MisbehaviourAndFaultsReachTheCaller) {
  const auto machine = SimulatedMachine::InMemory(Describe(
      R"({"drivers": {"broadwell": {"interfaces": 2, "module": {"enabled": true}, "misbehaviour": [
           {"kind": "refuse", "request": 0, "direction": "get", "status": "0x80070005"},
           {"kind": "status", "request": 5, "status": "0xC0000022"},
           {"kind": "short", "request": 22, "size": 3},
           {"kind": "corrupt", "request": 25, "offset": 0},
           {"kind": "stale", "request": 6}]}}})"));
  machine->faults().FailNth("device.open", 1, 5);
  std::uint32_t error = 0;
  const auto paths = machine->DeviceInterfaces(kBroadwellClass);
  EXPECT_THAT(machine->DeviceInterfaces(kQualcommClass), IsEmpty());
  ASSERT_THAT(paths, SizeIs(2));
  EXPECT_EQ(machine->OpenDevice(paths[0], error), nullptr);
  EXPECT_EQ(error, kDeviceAccessDenied);
  EXPECT_EQ(machine->OpenDevice(L"\\\\?\\absent", error), nullptr);
  EXPECT_EQ(error, kDeviceFileNotFound);
  const auto file = machine->OpenDevice(paths[1], error);
  ASSERT_NE(file, nullptr);
  const auto get = [&](std::uint32_t parameter, std::size_t size) {
    BroadwellRequest request(15, parameter, Bytes(size));
    error = request.Send(*file);
    return request;
  };
  get(0, 4);
  EXPECT_EQ(error, kDeviceAccessDenied);
  EXPECT_EQ(get(5, 4).status(), 0xC0000022U);
  for (const DriverRefusal& refusal : machine->RefusedRequests()) EXPECT_TRUE(refusal.planned);
  EXPECT_THAT(machine->RefusedRequests(), SizeIs(2));
  EXPECT_EQ(get(22, 16).returned, 20U);
  EXPECT_EQ(WordAt(get(25, 60).buffer, 17), 2U ^ 0xFF);
  EXPECT_EQ(BroadwellRequest(14, 6, Wire().Word(1)).Send(*file), 0U);
  EXPECT_EQ(WordAt(get(6, 4).buffer, 17), 0U) << "the block before the write";
  machine->faults().FailNth("device.control", 1, 31);
  get(6, 4);
  EXPECT_EQ(error, kDeviceGenFailure);
  machine->description().drivers.broadwell.reset();
  get(6, 4);
  EXPECT_EQ(error, kDeviceNotConnected);
}

TEST(BroadwellDriver, RemarksNameCustomSizesWithoutCoefficientsAndSectionsThatDoNotPlay) {
  const auto machine = SimulatedMachine::InMemory(Describe(R"({"drivers": {"broadwell": {}}})"));
  const auto file = Open(*machine, kBroadwellClass);
  EXPECT_THAT(Remarks(*machine), ElementsAre("0: no client has switched the module on"));
  for (const std::uint32_t command : {14, 15}) {
    BroadwellRequest early(command, 6, Wire().Word(0));
    EXPECT_EQ(early.Send(*file), 0U);
    EXPECT_EQ(early.status(), 0xC00000A3U);
    EXPECT_THAT(LastRefusal(*machine), HasSubstr("has not been switched on"));
  }
  BroadwellRequest on(13, 6);
  on.buffer[4] = on.buffer[5] = std::byte{1};
  EXPECT_EQ(on.Send(*file) | on.status(), 0U);
  EXPECT_THAT(Remarks(*machine), IsEmpty());
  const auto set = [&](std::uint32_t parameter, const Bytes& block) {
    BroadwellRequest request(14, parameter, block);
    EXPECT_EQ(request.Send(*file) | request.status(), 0U) << LastRefusal(*machine);
  };
  Bytes sizes = FindFormat(BroadwellFormats(), 21)->Initial();
  Put(sizes, 20, 9);
  Put(sizes, 60, 9);
  set(21, sizes);
  set(0, Wire().Word(0));
  // One section: shift 1, a2 = -1.
  set(24, Wire().Word(1).Short(1).Short(1).Zeros(6).Short(0x8000).Short(1).Short(1).Zeros(2));
  set(25, Wire().Word(0).Word(1).Word(0));
  EXPECT_THAT(
      Remarks(*machine),
      ElementsAre("0: processing is switched off",
                  HasSubstr("analysis size is custom, but its coefficients (parameter "
                            "0x64) never"),
                  HasSubstr("space high-pass is custom"),
                  "21: only one of the speaker's sizes is custom",
                  "24: high-pass: section 1 is unstable", "25: equaliser: the overall gain is 0"));
}

Bytes Message(std::uint32_t parameter, const Bytes& payload, std::uint32_t form_factor = 1) {
  return Wire()
      .Word(parameter)
      .Word(form_factor)
      .Word(static_cast<std::uint32_t>(payload.size()))
      .Block(payload)
      .Zeros(4);
}

TEST(QualcommDriver, RecordsAreKeptInTheirOrderAndWrongMessagesAreNot) {
  const auto machine = SimulatedMachine::InMemory(Describe(R"({"drivers": {"qualcomm": {
      "misbehaviour": [{"kind": "refuse", "request": "0x10005011", "nth": 2}]}}})"));
  const auto file = Open(*machine, kQualcommClass);
  std::uint32_t returned = 0;
  const auto send = [&](const Bytes& message, std::uint32_t code = kSendCode, Bytes output = {}) {
    return file->Control(code, message, output, returned);
  };
  const auto spoiled = [](Bytes message, std::size_t offset, std::uint32_t word) {
    Put(message, offset, word);
    return message;
  };
  const Bytes plain = Message(0x10005011, Bytes(8));
  const Bytes widening =
      Message(0x10005012, Wire().Word(0x480).Zeros(16).Word(0x40000000).Zeros(68), 4);
  const Bytes equaliser =
      Message(0x10005015, Wire().Word(0x803).Word(0x10001000).Word(0x1000).Zeros(208));
  for (const Bytes& message : {plain, widening, equaliser})
    EXPECT_EQ(send(message), 0U) << LastRefusal(*machine);
  const auto records = machine->ReceivedRecords();
  ASSERT_EQ(records.size(), 3U);
  EXPECT_EQ(records[1].selector, 4U);
  EXPECT_EQ(records[1].parameter, 0x10005012U);
  EXPECT_EQ(records[1].bytes, Bytes(widening.begin() + 12, widening.end() - 4));
  EXPECT_EQ(send(plain), kDeviceGenFailure);
  EXPECT_TRUE(machine->RefusedRequests().back().planned);

  const std::pair<Bytes, const char*> cases[] = {
      {Bytes(15), "a message of 15 bytes"},
      {spoiled(plain, 8, 9), "24 bytes for a payload of 9"},
      {Message(0x10005011, Bytes(9)), "9 bytes instead of 8"},
      {Message(0x10005011, Bytes(8), 5), "form factor 5"},
      {spoiled(plain, 20, 1), "closing bytes"},
      {Message(0x10005017, Bytes(8)), "no such parameter"},
      {spoiled(plain, 12, 0x40), "offset 0: 64"},
      {spoiled(widening, 12, 0x501), "offset 0"},
      {spoiled(widening, 12, 0x401), "option bit 0x80"},
      {spoiled(widening, 32, 0), "offset 20"},
      {spoiled(equaliser, 12, 0x807), "lowest bits"},
      {spoiled(equaliser, 224, 32), "offset 212: a shift of 32"},
      {Message(0x10005014, Wire().Word(2).Zeros(32).Word(1).Zeros(68)), "than an order of 2 has"},
      {Message(0x10005016, Bytes(24)), "offset 8: 0 is outside 22"},
  };
  for (const auto& [message, reason] : cases) {
    EXPECT_EQ(send(message), kDeviceInvalidParameter) << reason;
    EXPECT_THAT(LastRefusal(*machine), HasSubstr(reason));
  }
  EXPECT_THAT(Remarks(*machine), ElementsAre("17: processing is switched off",
                                             "21: left equaliser: section 1 is silent",
                                             "21: right equaliser: section 1 is silent"));
  const Bytes bass = spoiled(widening, 12, 0x484);
  EXPECT_EQ(send(bass), 0U);
  EXPECT_THAT(Remarks(*machine), Contains("18: bass of the audio size is silent"));
  EXPECT_EQ(send(plain, kSendCode + 4), 1U);
  EXPECT_EQ(send(plain, kSendCode, Bytes(1)), kDeviceInvalidParameter);
  EXPECT_THAT(machine->ReceivedRecords(), SizeIs(4));
}

// The blocks that an independent implementation makes of whole modes are right, whatever they play.
TEST(DriverFormats, TakeEveryBlockOfTheReferenceData) {
  const std::pair<const char*, const std::vector<BlockFormat>&> drivers[] = {
      {"skylake.json", SkylakeFormats()},
      {"broadwell.json", BroadwellFormats()},
      {"qualcomm.json", QualcommFormats()}};
  int taken = 0;
  for (const auto& [file, formats] : drivers) {
    const nlohmann::json data = ReferenceData(file);
    for (const auto& written : data["cases"]) {
      for (const auto& block :
           written.value("blocks", written.value("records", nlohmann::json()))) {
        const auto id = std::stoul(block["id"].get<std::string>(), nullptr, 0);
        const BlockFormat* format = FindFormat(formats, static_cast<std::uint32_t>(id));
        ASSERT_NE(format, nullptr) << block;
        EXPECT_EQ(format->Fault(BytesOfHex(block["bytes"])), "") << file << ' ' << written["name"];
        ++taken;
      }
    }
  }
  EXPECT_GT(taken, 1000);
}

constexpr char kSharedMachine[] =
    R"({"drivers": {"broadwell": {"module": {"enabled": true}}, "qualcomm": {}},
        "events": ["Changed"]})";

TEST(DriverMemory, IsSharedByThreadsAndMachinesAndLosesNothing) {
  const MachineFolder folder("REGEDIT4\n", kSharedMachine);
  constexpr std::uint32_t kWrites = 40;
  const auto write = [](SimulatedMachine& machine, std::uint32_t form_factor) {
    std::uint32_t returned = 0;
    std::uint32_t error = 0;
    const auto file = Open(machine, kQualcommClass);
    const auto event = machine.OpenNamedEvent(L"Changed", error);
    for (std::uint32_t i = 0; i < kWrites; ++i) {
      Bytes payload(8);
      payload[0] = static_cast<std::byte>(i);
      EXPECT_EQ(file->Control(kSendCode, Message(0x10005011, payload, form_factor), {}, returned),
                0U);
      event->Set();
    }
  };
  const auto one = folder.Open();
  const auto other = folder.Open();
  std::thread first([&] { write(*one, 0); });
  std::thread second([&] { write(*one, 1); });
  write(*other, 2);
  first.join();
  second.join();
  for (const auto& machine : {one.get(), other.get()})
    EXPECT_EQ(machine->EventSignals(L"Changed"), 3 * kWrites);
  std::uint32_t next[3] = {};
  for (const DriverRecord& record : folder.Open()->ReceivedRecords())
    EXPECT_EQ(std::to_integer<std::uint32_t>(record.bytes[0]), next[record.selector]++);
  for (const std::uint32_t written : next) EXPECT_EQ(written, kWrites);
}

TEST(DriverMemory, OutlivesItsMachineAndIsNotWrittenOverWhenItIsBroken) {
  const MachineFolder folder("REGEDIT4\n", kSharedMachine);
  BroadwellRequest set(14, 4, Wire().Short(0x1234));
  EXPECT_EQ(set.Send(*Open(*folder.Open(), kBroadwellClass)), 0U);
  EXPECT_EQ(set.status(), 0U);
  const auto machine = folder.Open();
  const auto file = Open(*machine, kBroadwellClass);
  BroadwellRequest get(15, 4, Bytes(2));
  EXPECT_EQ(get.Send(*file), 0U);
  EXPECT_EQ(get.data(2), Bytes(Wire().Short(0x1234)));

  const std::string broken = "{\"change\": 1,\n\"blocks\": 2}";
  folder.Write("drivers.json", broken);
  EXPECT_THAT(folder.Refusal().Text(), HasSubstr("drivers.json:1: the key \"enabled\" is missing"));
  EXPECT_EQ(set.Send(*file), 0U);
  EXPECT_GT(set.status(), 0x80000000U);
  EXPECT_EQ(folder.Read("drivers.json"), broken);
  std::filesystem::remove(folder.path() / "drivers.json");
  set = BroadwellRequest(14, 6, Wire().Word(1));
  EXPECT_EQ(set.Send(*file), 0U);
  EXPECT_EQ(set.status(), 0U);
  machine->faults().FailAlways("drivers.save", 1);
  EXPECT_EQ(set.Send(*file), 0U);
  EXPECT_GT(set.status(), 0x80000000U);
  EXPECT_THAT(machine->ReceivedRecords(), SizeIs(1));
}

TEST(DriverMemory, CanBeReadWhereItCannotBeWritten) {
  const MachineFolder folder("REGEDIT4\n", R"({"drivers": {"broadwell": {}, "qualcomm": {},
      "skylake": {"endpoints": [{"id": "{0.0.0.00000000}.{A}"}]}},
      "endpoints": [{"id": "{0.0.0.00000000}.{A}"}]})");
  std::filesystem::create_directory(folder.path() / ".drivers.lock");
  const auto machine = folder.Open();
  const auto file = Open(*machine, kBroadwellClass);
  BroadwellRequest on(13, 6);
  on.buffer[4] = on.buffer[5] = std::byte{1};
  EXPECT_EQ(on.Send(*file) | on.status(), 0U);
  BroadwellRequest set(14, 6, Wire().Word(1));
  EXPECT_EQ(set.Send(*file), 0U);
  EXPECT_EQ(set.status(), 0xC0000185U);
  EXPECT_THAT(LastRefusal(*machine), HasSubstr("folder cannot be written: "));
  BroadwellRequest get(15, 25, Bytes(60));
  EXPECT_EQ(get.Send(*file) | get.status(), 0U);
  std::uint32_t returned = 0;
  EXPECT_EQ(Open(*machine, kQualcommClass)
                ->Control(kSendCode, Message(0x10005011, Bytes(8)), {}, returned),
            29U);
  SkylakeClient client(*machine);
  EXPECT_EQ(client.Walk(L"{0.0.0.00000000}.{A}"), S_OK);
  const Bytes block = client.GetBlock(0x10014408);
  EXPECT_EQ(client.SetBlock(0x10014408, block), static_cast<HRESULT>(0x8007001D));
  EXPECT_EQ(client.GetBlock(0x10014408), block);
  EXPECT_THAT(machine->RefusedRequests(), SizeIs(3));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "drivers.json"));
}

TEST(DriverMemory, KeepsTheLatestRecordsOnly) {
  const auto machine = SimulatedMachine::InMemory(Describe(kSharedMachine));
  const auto file = Open(*machine, kQualcommClass);
  std::uint32_t returned = 0;
  for (std::uint32_t i = 0; i < 600; ++i)
    file->Control(kSendCode, Message(0x10005011, Bytes(8), i / 512), {}, returned);
  const auto records = machine->ReceivedRecords();
  ASSERT_EQ(records.size(), 512U);
  EXPECT_EQ(records[0].selector, 0U);
  EXPECT_EQ(records[512 - 88].selector, 1U);
}

}  // namespace
}  // namespace orv
