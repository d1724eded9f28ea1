// Drivers of a simulated machine that are reached through device files, and what all drivers keep.
#include <thread>

#include "simulated/driver_client.h"
#include "simulated/drivers/block_format.h"
#include "simulated/drivers/driver_memory.h"
#include "simulated/machine_folder.h"

namespace orv {
namespace {

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

TEST(BroadwellDriver, RefusesWrongRequestsAndWrongParameters) {
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
           {"kind": "short", "request": 22, "size": 3},
           {"kind": "corrupt", "request": "version", "offset": 0, "mask": 2},
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
  for (const DriverRefusal& refusal : machine->RefusedRequests()) EXPECT_TRUE(refusal.planned);
  EXPECT_THAT(machine->RefusedRequests(), SizeIs(1));
  EXPECT_EQ(get(22, 16).returned, 20U);
  EXPECT_EQ(BroadwellRequest(14, 6, Wire().Word(1)).Send(*file), 0U);
  EXPECT_EQ(WordAt(get(6, 4).buffer, 17), 0U) << "the block before the write";
  BroadwellRequest version(10, 6);
  EXPECT_EQ(version.Send(*file), 0U);
  EXPECT_EQ(std::to_integer<unsigned>(version.buffer[4]),
            machine->description().drivers.broadwell->interface_version ^ 2U);
  machine->faults().FailNth("device.control", 1, 31);
  get(6, 4);
  EXPECT_EQ(error, kDeviceGenFailure);
  machine->description().drivers.broadwell.reset();
  get(6, 4);
  EXPECT_EQ(error, kDeviceNotConnected);
}

Bytes Message(std::uint32_t parameter, const Bytes& payload, std::uint32_t form_factor = 1) {
  return Wire()
      .Word(parameter)
      .Word(form_factor)
      .Word(static_cast<std::uint32_t>(payload.size()))
      .Block(payload)
      .Zeros(4);
}

TEST(QualcommDriver, RefusesWrongMessages) {
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
  EXPECT_EQ(send(plain), 0U) << LastRefusal(*machine);
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
  };
  for (const auto& [message, reason] : cases) {
    EXPECT_EQ(send(message), kDeviceInvalidParameter) << reason;
    EXPECT_THAT(LastRefusal(*machine), HasSubstr(reason));
  }
  EXPECT_EQ(send(plain, kSendCode + 4), 1U);
  EXPECT_EQ(send(plain, kSendCode, Bytes(1)), kDeviceInvalidParameter);
  EXPECT_THAT(machine->ReceivedRecords(), SizeIs(1));
}

constexpr char kSharedMachine[] =
    R"({"drivers": {"broadwell": {"module": {"enabled": true}}, "qualcomm": {}},
        "events": ["Changed"]})";

TEST(DriverMemory, IsSharedByThreadsAndMachinesAndLosesNothing) {
  const MachineFolder folder("REGEDIT4\n", kSharedMachine);
  constexpr int kWrites = 40;
  const auto signal = [](SimulatedMachine& machine) {
    std::uint32_t error = 0;
    const auto event = machine.OpenNamedEvent(L"Changed", error);
    for (int i = 0; i < kWrites; ++i) event->Set();
  };
  const auto one = folder.Open();
  const auto other = folder.Open();
  std::thread first([&] { signal(*one); });
  std::thread second([&] { signal(*one); });
  signal(*other);
  first.join();
  second.join();
  for (const auto& machine : {one.get(), other.get()})
    EXPECT_EQ(machine->EventSignals(L"Changed"), 3 * kWrites);
}

TEST(DriverMemory, OutlivesItsMachineAndABrokenFileIsNotReplaced) {
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
  const auto status = [&](BroadwellRequest request) {
    EXPECT_EQ(request.Send(*file), 0U);
    return request.status();
  };
  for (const std::uint32_t command : {14, 15}) {
    EXPECT_EQ(status({command, 6, Wire().Word(0)}), 0xC00000A3U);
    EXPECT_THAT(LastRefusal(*machine), HasSubstr("has not been switched on"));
  }
  EXPECT_THAT(machine->DriverFindings(), SizeIs(1));
  BroadwellRequest on(13, 6);
  on.buffer[4] = on.buffer[5] = std::byte{1};
  EXPECT_EQ(status(on), 0U);
  EXPECT_THAT(machine->DriverFindings(), IsEmpty());
  EXPECT_EQ(status({15, 6, Bytes(4)}), 0U);
  EXPECT_EQ(status({14, 6, Wire().Word(1)}), 0xC0000185U);
  EXPECT_THAT(LastRefusal(*machine), HasSubstr("folder cannot be written: "));
  std::uint32_t returned = 0;
  EXPECT_EQ(Open(*machine, kQualcommClass)
                ->Control(kSendCode, Message(0x10005011, Bytes(8)), {}, returned),
            29U);
  SkylakeClient client(*machine);
  EXPECT_EQ(client.Walk(L"{0.0.0.00000000}.{A}"), S_OK);
  const Bytes block = client.GetBlock(0x10014408);
  EXPECT_EQ(client.SetBlock(0x10014408, block), static_cast<HRESULT>(0x8007001D));
  EXPECT_THAT(machine->RefusedRequests(), SizeIs(5));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "drivers.json"));
}

TEST(DriverMemory, KeepsTheLatestRecordsOnly) {
  DriverMemory memory;
  for (std::uint32_t i = 0; i < 600; ++i) memory.Receive({"qualcomm", i, 0, Bytes(8)});
  ASSERT_EQ(memory.received.size(), 512U);
  EXPECT_EQ(memory.received.front().parameter, 88U);
  EXPECT_EQ(memory.received.back().number, 600U);
}

}  // namespace
}  // namespace orv
