// A Skylake module that keeps its blocks and forgives nothing: unknown parameters, wrong sizes and
// blocks outside their ranges fail the test.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "intel_dsp/skylake/parameter_blocks.h"
#include "platform/simulated/drivers/block_format.h"

namespace orv {

using Bytes = std::vector<std::uint8_t>;

inline Bytes FromHex(const std::string& text) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

inline std::int64_t Word(const Bytes& bytes, std::size_t offset) {
  std::int32_t word = 0;
  std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}
inline std::int64_t HalfWord(const Bytes& bytes, std::size_t offset) {
  std::int16_t word = 0;
  std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}

class FakeSkylakeDriver : public SkylakeDriver {
 public:
  static constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

  std::map<std::uint32_t, Bytes> held;  // by the low byte of the parameter
  std::set<std::uint32_t> unreadable;
  std::set<std::uint32_t> refused;
  std::set<std::uint32_t> forgetful;               // reads answer with a byte changed
  std::optional<std::pair<bool, HRESULT>> answer;  // to every request, which then does nothing
  // In order: "set 01 apply 1", "get ...", "status 1 apply 0".
  std::vector<std::string> requests;

  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t apply) override {
    const std::uint32_t number = Note("get", parameter, apply);
    if (answer) std::memset(buffer, 1, size);
    if (answer) return Answer(status);
    const auto found = held.find(number);
    status = unreadable.count(number) != 0 || found == held.end() ? kRefusal : S_OK;
    if (status != S_OK) {
      std::memset(buffer, 0xEE, size);
      return false;
    }
    EXPECT_EQ(found->second.size(), size) << "parameter " << number;
    std::memcpy(buffer, found->second.data(), std::min<std::size_t>(size, found->second.size()));
    if (forgetful.count(number) != 0) static_cast<std::uint8_t*>(buffer)[size - 1] ^= 1;
    return true;
  }

  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t apply) override {
    const std::uint32_t number = Note("set", parameter, apply);
    if (answer) return Answer(status);
    status = refused.count(number) != 0 ? kRefusal : S_OK;
    if (status != S_OK) return false;
    const auto* const begin = static_cast<const std::uint8_t*>(buffer);
    const Bytes block(begin, begin + size);
    CheckBlock(number, block);
    held[number] = block;
    return true;
  }

  bool GetStatus(HRESULT&, std::uint8_t&, std::uint8_t) override {
    ADD_FAILURE() << "no writer asks for the status";
    return false;
  }
  bool SetStatus(HRESULT& status, std::uint8_t enable, std::uint8_t apply) override {
    requests.push_back("status " + std::to_string(enable) + " apply " + std::to_string(apply));
    status = S_OK;
    return !answer || Answer(status);
  }

  // What was sent since the last call, as numbers of parameters.
  std::string Sent() {
    std::string sent;
    for (const std::string& request : requests)
      if (request.rfind("set ", 0) == 0) sent += (sent.empty() ? "" : " ") + request.substr(4, 2);
    requests.clear();
    return sent;
  }

 private:
  bool Answer(HRESULT& status) const {
    status = answer->second;
    return answer->first;
  }
  std::uint32_t Note(const char* operation, std::uint32_t parameter, std::uint8_t apply) {
    EXPECT_EQ(parameter & ~0xFFU, 0x10014400U);
    char text[40];
    std::snprintf(text, sizeof text, "%s %02x apply %d", operation, parameter & 0xFF, apply);
    requests.emplace_back(text);
    return parameter & 0xFF;
  }

  // Made beforehand: a check must not fail for want of memory where a test takes it away.
  static inline const std::vector<BlockFormat>& kFormats = SkylakeFormats();

  // As the simulated firmware judges it.
  static void CheckBlock(std::uint32_t number, const Bytes& block) {
    const BlockFormat* const format = FindFormat(kFormats, 0x10014400 + number);
    ASSERT_NE(format, nullptr) << number;
    EXPECT_EQ(format->Fault(std::as_bytes(std::span(block))), "") << "parameter " << number;
  }
};

inline void Put(ControlValueMap& map, const std::string& name, boost::any value) {
  map[name] = ORVQVTValue(name, std::move(value));
}
inline void Put(ControlValueMap& map, const std::string& name, int value) {
  map[name] = ORVQVTValue(name, std::int32_t{value});
}
inline void Put(ControlValueMap& map, const std::string& name, const char* text) {
  map[name] = ORVQVTValue(name, std::string(text));
}

// "Name=value Name=value ..."
inline std::vector<std::pair<std::string, int>> Controls(const char* text,
                                                         const std::string& prefix = "VQ3D-") {
  std::vector<std::pair<std::string, int>> controls;
  std::istringstream stream(text);
  std::string name;
  for (int value = 0; std::getline(stream >> std::ws, name, '=') && stream >> value;)
    controls.emplace_back(prefix + name, value);
  return controls;
}

// A mode with every control of the twelve blocks, as clients write it: whole numbers.
inline ControlValueMap FullMode() {
  constexpr const char* kControls = R"(
Process Enable=1 Headroom Gain=-60 Bypass Gain=-30 Main Tech=3 HPF Enable=1 HPF Order=4
HPF Frequency=60 EVolHD Enable=1 EVolHD LKFS=-240 EVolHD Level Intensity=50 Vocalift Enable=0
Vocalift Clarity Gain=-10 Vocalift Process Gain=60 DPHD Enable=1 DPHD Level=80 DPHD Max Level=100
DPHD Boost Enable=1 DPHD Boost Split=50 DPHD Speaker Audio Size=150 DPHD Speaker Analysis Size=100
DPHD Split Analysis Enable=0 DPHD Level Independent Enable=1 DPHD Mode=1 DPHD Compressor Level=25
DPHD Bass Clarity Level=33 Definition Enable=1 Definition Level=60 Definition Max Level=50
DC Enable=1 DC Level=40 DC Max Level=50 Ambiwide Level=10 WIDHD ORV3D Space Level=70
WIDHD ORV3D Center Level=100 Space HPF Enable=1 Space HPF Cutoff Freq=300
PX3D Surround Boost Enable=0 MXHP MX Decoder Enable=1 MXHP MX Decoder Mode=1 GEQ Enable=1
GEQ 100Hz Gain=-30 GEQ 300Hz Gain=0 GEQ 1kHz Gain=30 GEQ 3kHz Gain=200 GEQ 10kHz Gain=-200
Tone Enable=1 Bass Gain=-3 Treble Gain=12 AEQ Enable=1 AEQ Bypass Gain=-60 Master Volume Enable=1
Master Volume Volume Step=35 Master Volume L/R Balance=-5 Master Volume Output Mute Enable=0
Hard Limiter Enable=1 Hard Limiter Output Gain=0 Hard Limiter Delay Length=120
Hard Limiter Anticlip Enable=1 Hard Limiter Anticlip Level=50 WIDHD Input Gain=-10
AMHD Input Gain=-20 PX3D Input Gain=-30 MXHP Input Gain=-40 DPHD Input Gain=-50 GEQ Input Gain=-60
Tone Input Gain=-70 AEQ Input Gain=-80 DPHD Reference Offset=60 Hard Limiter Boost Offset=120)";
  ControlValueMap map;
  for (const auto& [name, value] : Controls(kControls)) Put(map, name, value);
  return map;
}

// The twelve blocks of that mode by the low byte of their parameters, worked out by hand.
inline const std::map<std::uint32_t, Bytes>& FullModeBlocks() {
  static const std::map<std::uint32_t, Bytes> blocks = {
      {0x01, FromHex("0100000027409e5a0300000001000000")},
      {0x02, FromHex("010000001408000000000040")},
      {0x03, FromHex("00000000157200008030d93f")},
      {0x04, FromHex("010000003373000004000000020000000000000001000000"
                     "0100000000203d2a0100000066260000")},
      {0x05, FromHex("010000009a19cd0c9a59ff7f9a190000010000000400000000000000")},
      {0x06, FromHex("0100000004000000010000009a190000")},
      {0x07, FromHex("01000000540b00109a16145ad5020000")},
      {0x08, FromHex("01000000fdffffff0c000000")},
      {0x09, FromHex("0100000027400000")},
      {0x0A, FromHex("0100000023000000fbffffff00000000")},
      {0x0B, FromHex("0100000000200000780000000100000000400000")},
      {0x0C, FromHex("00001572ad659e5ac350fb4727402d39f532ed1f209eec0f")}};
  return blocks;
}

}  // namespace orv
