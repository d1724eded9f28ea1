// A machine with one loaded endpoint, a mode to bind settings to, and what settings tests look at.
#pragma once

#include "endpoints/settings.h"
#include "support/endpoint_fixture.h"

namespace orv {

using ControlTexts = std::vector<std::pair<std::string, std::string>>;

inline ORVAPOOperatingMode MakeMode(const ControlTexts& public_controls,
                                    const ControlTexts& private_controls = {}) {
  const auto add = [](ORVQVTValueList& list, const std::string& name, const std::string& text) {
    list.GetOrAdd(name) = ORVQVTValue(name, boost::any(text));
  };
  ORVAPOOperatingMode mode;
  for (const auto& [name, text] : public_controls) add(mode.public_controls(), name, text);
  for (const auto& [name, text] : private_controls) add(mode.private_controls(), name, text);
  add(mode.private_controls(), kOperatingModeControl, "Movie");
  add(mode.private_controls(), kSpeakerTypeControl, "Internal");
  EXPECT_TRUE(mode.CompleteRead());
  return mode;
}

inline constexpr wchar_t kMovieValue[] = L"ApoOpMode:Movie/Internal";

inline ControlTexts Texts(const ORVQVTValueList& list) {
  ControlTexts texts;
  for (const auto& [name, value] : list) texts.emplace_back(name, value.ToString());
  return texts;
}

class SettingsFixture : public ::testing::Test {
 protected:
  SettingsFixture() {
    machine_.AddSpeakers();
    endpoint_ = machine_.Record(kSpeakers);
  }
  void Store(const ControlTexts& texts, const std::wstring& name = kMovieValue) {
    ORVPropertyList list;
    for (const auto& [control, text] : texts)
      list.push_back({std::wstring(control.begin(), control.end()), text});
    machine_.SetImage(ApoKey(kSpeakers), name, list);
  }
  // What the registry value holds, in stored order.
  ControlTexts Stored(const std::wstring& name = kMovieValue) {
    ControlTexts texts;
    for (const ORVPropertyEntry& entry : machine_.Image(ApoKey(kSpeakers), name)) {
      const auto text = boost::any_cast<std::string>(entry.value);
      texts.emplace_back(std::string(entry.name.begin(), entry.name.end()), text);
    }
    return texts;
  }

  EndpointMachine machine_;
  ORVAPOEndpointInfo endpoint_{*machine_};
};

// Remembers what it was told, as "name=text".
class ListenerLog : public IORVSettingsNotify {
 public:
  void OnSettingChanged(ORVAPOPublicSettings&, const ORVQVTValue& value) override {
    told.push_back(value.GetName() + "=" + value.ToString());
  }
  std::vector<std::string> told;
};

}  // namespace orv
