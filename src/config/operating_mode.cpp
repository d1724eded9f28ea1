#include "config/operating_mode.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace orv {
namespace {

std::string TextOr(const ORVQVTValueList& list, const char* name, const char* fallback) {
  const ORVQVTValue* value = list.Find(name);
  return value != nullptr ? value->ToString() : fallback;
}

ORVAPOModeKey Complete(ORVAPOModeContent& content) {
  ORVAPOModeKey key;
  key.ReadFrom(content.private_controls);
  content.private_controls.Merge(key.AsList(), kORVQVT_Merge_Remove);
  content.default_controls.Merge(content.public_controls, kORVQVT_Merge_Replace);
  content.default_controls.Merge(content.private_controls, kORVQVT_Merge_UpdateAndAdd);
  return key;
}

}  // namespace

ORVAPOModeKey::ORVAPOModeKey() { ReadFrom({}); }

bool ORVAPOModeKey::IsValid() const {
  return !operating_mode_.EqualsText(kUndefinedOperatingMode) &&
         !speaker_type_.EqualsText(kDisabledSpeakerType);
}

bool ORVAPOModeKey::ReadFrom(const ORVQVTValueList& list) {
  operating_mode_.SetName(kOperatingModeControl);
  operating_mode_.SetValue(TextOr(list, kOperatingModeControl, kUndefinedOperatingMode));
  speaker_type_.SetName(kSpeakerTypeControl);
  speaker_type_.SetValue(TextOr(list, kSpeakerTypeControl, kDisabledSpeakerType));
  texts_ = operating_mode_.ToString() + '/' + speaker_type_.ToString();
  return IsValid();
}

std::wstring ORVAPOModeKey::GetModeName() const {
  return L"ApoOpMode:" + operating_mode_.ToWString() + L"/" + speaker_type_.ToWString();
}

bool ORVAPOModeKey::Equals(const ORVAPOModeKey& other) const {
  return operating_mode_.Equals(other.operating_mode_) && speaker_type_.Equals(other.speaker_type_);
}

ORVQVTValueList ORVAPOModeKey::AsList() const {
  ORVQVTValueList list;
  list.GetOrAdd(operating_mode_.GetName()) = operating_mode_;
  list.GetOrAdd(speaker_type_.GetName()) = speaker_type_;
  return list;
}

bool ORVAPOChainDefinition::FindChain(std::uint32_t input_mask, std::uint32_t output_mask,
                                      ORVAPOChain& chain, bool render) const {
  const auto names_layouts = [](std::uint32_t mask) { return mask != 0 && mask != kAnyLayout; };
  if (!names_layouts(input_mask) || !names_layouts(output_mask)) return false;
  const auto found = std::ranges::find_if(*this, [&](const ORVAPOChain& one) {
    return (one.input_layouts & input_mask) != 0 && (one.output_layouts & output_mask) != 0 &&
           one.render == render;
  });
  if (found == end()) return false;
  chain = *found;
  return true;
}

class ORVAPOOperatingMode::DeferredContent {
 public:
  explicit DeferredContent(ContentReader reader) : reader_(std::move(reader)) {}

  const ORVAPOModeContent& Get() {
    const std::scoped_lock lock(lock_);
    if (reader_) {
      ORVAPOModeContent content;
      reader_(content);
      Complete(content);
      content_ = std::move(content);
      reader_ = nullptr;
    }
    return content_;
  }

 private:
  std::mutex lock_;
  ContentReader reader_;  // empty once the content is there
  ORVAPOModeContent content_;
};

ORVAPOOperatingMode::ORVAPOOperatingMode(ORVAPOModeKey key, bool auto_mic, ContentReader reader)
    : key_(std::move(key)),
      auto_mic_(auto_mic),
      deferred_(std::make_shared<DeferredContent>(std::move(reader))) {}

const ORVAPOModeContent& ORVAPOOperatingMode::content() const {
  return deferred_ ? deferred_->Get() : content_;
}

bool ORVAPOOperatingMode::CompleteRead() {
  key_ = Complete(content_);
  return key_.IsValid();
}

}  // namespace orv
