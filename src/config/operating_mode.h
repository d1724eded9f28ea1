// One operating mode of the processing stack: its key, its three control lists, its processing
// chains.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "values/overridable.h"
#include "values/value_list.h"

namespace orv {

inline constexpr char kOperatingModeControl[] = "ZAPO3-Operating Mode";
inline constexpr char kSpeakerTypeControl[] = "ZAPO3-Speaker Type";
inline constexpr char kUndefinedOperatingMode[] = "ZAPO3-Undefined";
inline constexpr char kDisabledSpeakerType[] = "ZAPO3-Disabled";

// Identifies a mode: an operating mode text and a speaker type text.
class ORVAPOModeKey {
 public:
  ORVAPOModeKey();  // both texts at their defaults: not valid

  bool IsValid() const;  // neither text is its default
  // Takes both texts from the list (defaults for missing ones); the result is IsValid.
  bool ReadFrom(const ORVQVTValueList& list);
  // "ApoOpMode:" operating mode "/" speaker type
  std::wstring GetModeName() const;
  // The same as a comparison of the mode names, without making them.
  bool HasSameName(const ORVAPOModeKey& other) const noexcept { return texts_ == other.texts_; }
  bool Equals(const ORVAPOModeKey& other) const;

  const ORVQVTValue& operating_mode() const noexcept { return operating_mode_; }
  const ORVQVTValue& speaker_type() const noexcept { return speaker_type_; }
  // Both values as a list (to be saved, or removed from another list).
  ORVQVTValueList AsList() const;

 private:
  ORVQVTValue operating_mode_;
  ORVQVTValue speaker_type_;
  std::string texts_;  // operating mode "/" speaker type
};

inline constexpr std::uint32_t kAnyLayout = 0xFFFFFFFF;
inline constexpr std::uint32_t kLayoutMono = 0x1;
inline constexpr std::uint32_t kLayoutStereo = 0x2;
inline constexpr std::uint32_t kLayout51 = 0x4;
inline constexpr std::uint32_t kLayout71 = 0x8;

struct ORVAPOProcessReference {
  std::string technology;  // never empty
  std::string instance;
  std::string hook;

  bool operator==(const ORVAPOProcessReference&) const = default;
};

struct ORVAPOChain {
  std::uint32_t input_layouts = kAnyLayout;
  std::uint32_t output_layouts = kAnyLayout;
  bool render = true;
  std::vector<ORVAPOProcessReference> processes;
  ORVQVTValueList controls;
};

// Chains in document order.
class ORVAPOChainDefinition : public std::vector<ORVAPOChain>, public Overridable {
 public:
  // Copies the first chain that shares a layout with each mask and runs in the wanted direction.
  // Returns false if there is none or if a mask is 0 or all bits.
  virtual bool FindChain(std::uint32_t input_mask, std::uint32_t output_mask, ORVAPOChain& chain,
                         bool render) const;
};

// What a mode holds besides its identity.
struct ORVAPOModeContent {
  ORVQVTValueList public_controls;
  ORVQVTValueList private_controls;
  ORVQVTValueList default_controls;
  ORVAPOChainDefinition chains;
};

// Built by the configuration reader, completed once, then only read, by any number of threads.
class ORVAPOOperatingMode : public Overridable {
 public:
  // Puts public and private controls (the key among them) and the chains into an empty content.
  using ContentReader = std::function<void(ORVAPOModeContent&)>;

  ORVAPOOperatingMode() = default;
  // A complete mode whose content is read on first use, by one thread at a time; `key` is the key
  // that CompleteRead would find in it. Copies share the content.
  ORVAPOOperatingMode(ORVAPOModeKey key, bool auto_mic, ContentReader reader);

  virtual const ORVAPOModeKey& GetModeKey() const { return key_; }
  virtual const ORVQVTValueList& GetPublicControls() const { return content().public_controls; }
  virtual const ORVQVTValueList& GetPrivateControls() const { return content().private_controls; }
  virtual const ORVQVTValueList& GetDefaultControls() const { return content().default_controls; }
  virtual const ORVAPOChainDefinition& GetChainDefinition() const { return content().chains; }
  virtual bool IsAutoMic() const { return auto_mic_; }

  // For the reader of a mode that is not deferred: the lists and chains to fill, then CompleteRead,
  // which takes the key out of the private controls and forms the default controls. Returns false
  // if there is no valid key: discard the mode.
  ORVAPOModeContent& own_content() noexcept { return content_; }
  void SetAutoMic(bool auto_mic) noexcept { auto_mic_ = auto_mic; }
  bool CompleteRead();

 private:
  class DeferredContent;
  const ORVAPOModeContent& content() const;

  ORVAPOModeKey key_;
  bool auto_mic_ = false;
  ORVAPOModeContent content_;                  // unused while `deferred_` is set
  std::shared_ptr<DeferredContent> deferred_;  // read once, the same for all copies
};

}  // namespace orv
