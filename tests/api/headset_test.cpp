// Headset detection from the registry values of codec drivers.
#include "api_fixture.h"

namespace orv {
namespace {

using Bytes = std::vector<std::uint8_t>;

class HeadsetTest : public ApiTest {
 protected:
  using Answer = std::pair<HRESULT, LONG>;  // and whether a headset is connected
  static constexpr Answer kPluggedIn{S_OK, 1};
  static constexpr Answer kAbsent{S_OK, 0};
  static constexpr Answer kUnknown{S_FALSE, 0};

  void SetHardware(std::wstring_view identifier) {
    machine_.SetText(PropertiesKey(kSpeakers), kHardwareIdentifierValue, identifier);
  }
  void SetConexantRecord(std::uint8_t kind, std::uint8_t eighth, std::uint8_t ninth) {
    machine_.SetValue(PropertiesKey(kSpeakers), kHeadsetBlockValue, kRegBinary,
                      {kind, 0, 0, 0, 0, 0, 0, 0, eighth, ninth});
  }
  void SetNumber(const std::wstring& key, const wchar_t* name, std::uint8_t number) {
    machine_.SetValue(key, name, kRegDword, {number, 0, 0, 0});
  }
  static Answer Ask(const ComPtr<IORVEndpointInfo5>& endpoint) {
    Answer answer{E_UNEXPECTED, kPoisonedNumber};
    answer.first = endpoint->get_HeadsetConnected(&answer.second);
    return answer;
  }
  Answer Ask() { return Ask(Endpoint()); }
};

TEST_F(HeadsetTest, ConexantRecordDecides) {
  SetHardware(L"HDAUDIO\\FUNC_01&ven_14f1&dev_50f4");
  EXPECT_EQ(Ask(), kUnknown);
  const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, Answer> records[] = {
      {11, 255, 255, kAbsent}, {11, 254, 255, kPluggedIn}, {11, 255, 254, kPluggedIn}};
  for (const auto& [kind, eighth, ninth, answer] : records) {
    SetConexantRecord(kind, eighth, ninth);
    EXPECT_EQ(Ask(), answer) << +eighth << ' ' << +ninth;
  }
  SetConexantRecord(10, 255, 254);
  DiagnosticLog log;
  EXPECT_EQ(Ask(), kUnknown);
  EXPECT_TRUE(log.Contains(L"IsConexantConnected | Got headset info buffer\n"));
  EXPECT_TRUE(log.Contains(L"IsConexantConnected returning 0, headset: 0\n"));
  EXPECT_TRUE(log.Contains(L"Read VID buffer: HDAUDIO\\FUNC_01&ven_14f1&dev_50f4\n"));

  SetNumber(PropertiesKey(kSpeakers), kHeadsetBlockValue, 11);  // no record
  EXPECT_EQ(Ask(), kUnknown);
  machine_.SetValue(PropertiesKey(kSpeakers), kHeadsetBlockValue, kRegBinary, Bytes(129, 11));
  EXPECT_EQ(Ask(), kUnknown);
  EXPECT_TRUE(log.Contains(L"Can't get headset info buffer\n"));
}

TEST_F(HeadsetTest, IdtStateDecides) {
  SetHardware(L"VEN_111D");
  EXPECT_EQ(Ask(), kUnknown);
  SetNumber(kIdtStateKey, kIdtHeadsetValue, 0);
  EXPECT_EQ(Ask(), kAbsent);
  SetNumber(kIdtStateKey, kIdtHeadsetValue, 9);
  EXPECT_EQ(Ask(), kPluggedIn);
  machine_.SetValue(kIdtStateKey, kIdtHeadsetValue, kRegBinary, {1, 0, 0, 0});
  EXPECT_EQ(Ask(), kUnknown);
}

TEST_F(HeadsetTest, EitherRealtekFlagDecides) {
  SetHardware(L"VEN_10EC");
  EXPECT_EQ(Ask(), kAbsent);
  for (const wchar_t* flag : {kRealtekSecondValue, kRealtekFirstValue}) {
    SetNumber(EffectsKey(kSpeakers), flag, 1);
    EXPECT_EQ(Ask(), kPluggedIn);
    SetNumber(EffectsKey(kSpeakers), flag, 0);
  }
}

TEST_F(HeadsetTest, HardwareIdentifierMustBeWholeText) {
  SetNumber(EffectsKey(kSpeakers), kRealtekFirstValue, 1);
  const Bytes text = RegistryTextBytes(L"VEN_10EC");
  const std::tuple<std::uint32_t, Bytes, Answer> identifiers[] = {
      {kRegExpandSz, text, kPluggedIn},
      {kRegBinary, text, kUnknown},
      {kRegSz, Bytes(text.begin(), text.end() - 2), kUnknown},
      {kRegSz, Bytes(text.begin(), text.end() - 1), kUnknown},
      {kRegSz, {}, kUnknown},
      {kRegSz, RegistryTextBytes(L"VEN_10EC" + std::wstring(247, L'x')), kPluggedIn},
      {kRegSz, RegistryTextBytes(L"VEN_10EC" + std::wstring(248, L'x')), kUnknown}};
  for (const auto& [type, bytes, answer] : identifiers) {
    // The endpoint is there before its identifier changes: a broken value keeps it from loading.
    SetHardware(L"");
    const auto endpoint = Endpoint();
    machine_.SetValue(PropertiesKey(kSpeakers), kHardwareIdentifierValue, type, bytes);
    EXPECT_EQ(Ask(endpoint), answer) << type << ' ' << bytes.size();
  }
}

TEST_F(HeadsetTest, VendorIsFoundOutOnce) {
  SetHardware(L"VEN_8086");
  const auto endpoint = Endpoint();
  const DiagnosticLog log;
  EXPECT_EQ(Ask(endpoint), kUnknown);
  EXPECT_EQ(log.Count(L"Read VID buffer"), 3U);
  SetHardware(L"VEN_10EC");
  EXPECT_EQ(Ask(endpoint), kUnknown);
  EXPECT_EQ(log.Count(L"Read VID buffer"), 3U);
}

TEST_F(HeadsetTest, ClosedPropertiesKeyIsTriedAgainExceptForRealtek) {
  SetHardware(L"VEN_14F1 VEN_10EC");
  SetConexantRecord(11, 0, 0);
  const auto endpoint = Endpoint();
  machine_->faults().FailAlways("registry.open_key", kRegAccessDenied);
  EXPECT_EQ(Ask(endpoint), kUnknown);
  machine_->faults().Clear();
  EXPECT_EQ(Ask(endpoint), kPluggedIn);
  SetConexantRecord(10, 0, 0);
  EXPECT_EQ(Ask(endpoint), kUnknown);
  EXPECT_EQ(Ask(), kAbsent);
}

}  // namespace
}  // namespace orv
