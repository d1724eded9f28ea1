// A machine with one loaded endpoint, a mode to bind settings to, and the stored values.
#pragma once

#include "config/control_lists.h"
#include "endpoints/settings.h"
#include "support/endpoint_fixture.h"

namespace orv {

inline ORVAPOOperatingMode MakeMode(const ControlTexts& public_controls,
                                    ControlTexts private_controls = {}) {
  private_controls.emplace_back(kOperatingModeControl, "Movie");
  private_controls.emplace_back(kSpeakerTypeControl, "Internal");
  ORVAPOOperatingMode mode;
  mode.own_content().public_controls = ListOf(public_controls);
  mode.own_content().private_controls = ListOf(private_controls);
  EXPECT_TRUE(mode.CompleteRead());
  return mode;
}

inline constexpr wchar_t kMovieValue[] = L"ApoOpMode:Movie/Internal";

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

// Records its notifications as "name=text".
class ListenerLog : public IORVSettingsNotify {
 public:
  void OnSettingChanged(ORVAPOPublicSettings&, const ORVQVTValue& value) override {
    changes.push_back(value.GetName() + "=" + value.ToString());
  }
  std::vector<std::string> changes;
};

}  // namespace orv
