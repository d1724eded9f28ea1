#include "config/configuration_file.h"

#include <tinyxml2.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/diagnostics.h"

namespace orv {
namespace {

// One parsed file with everything that was read from it so far. May be used from any thread.
class Document {
 public:
  struct Reading {
    LoadStatus status = LoadStatus::NoDocument;
    ConfigurationContent content;
  };

  // The document of a path on a machine, parsed on first success and kept until the process ends;
  // null if the file cannot be read or parsed (that is tried again next time).
  static std::shared_ptr<Document> Shared(Machine& machine, const std::wstring& path);

  explicit Document(std::shared_ptr<const tinyxml2::XMLDocument> document) {
    document_->document = std::move(document);
  }

  const void* root() const { return document_->document->RootElement(); }
  // Walked once for each configuration type and location; modes read their lists when they are
  // asked for. Valid as long as the document.
  const Reading& Read(std::uint32_t config_type, std::uint32_t location);

 private:
  const std::shared_ptr<SharedDocument> document_ = std::make_shared<SharedDocument>();
  std::mutex lock_;
  std::map<std::pair<std::uint32_t, std::uint32_t>, Reading> readings_;
};

struct DocumentCache {
  std::mutex lock;
  std::map<std::pair<std::uint64_t, std::wstring>, std::shared_ptr<Document>> documents;
};

std::shared_ptr<Document> LoadDocument(Machine& machine, const std::wstring& path) {
  const std::optional<std::string> host_path = machine.HostPath(path);
  if (!host_path) return nullptr;
  const auto document = std::make_shared<tinyxml2::XMLDocument>();
  if (document->LoadFile(host_path->c_str()) != tinyxml2::XML_SUCCESS) return nullptr;
  return std::make_shared<Document>(document);
}

std::shared_ptr<Document> Document::Shared(Machine& machine, const std::wstring& path) {
  static DocumentCache cache;
  const std::scoped_lock lock(cache.lock);
  const auto key = std::make_pair(machine.id(), path);
  if (const auto found = cache.documents.find(key); found != cache.documents.end())
    return found->second;
  auto document = LoadDocument(machine, path);
  if (document) cache.documents.emplace(key, document);
  return document;
}

const Document::Reading& Document::Read(std::uint32_t config_type, std::uint32_t location) {
  // All types and locations beyond the known ones read the same.
  const auto key = std::make_pair(std::clamp(config_type, 0U, kConfigTypeCount),
                                  std::clamp(location, 0U, kLocationCount));
  const std::scoped_lock lock(lock_);
  if (const auto found = readings_.find(key); found != readings_.end()) return found->second;
  Reading reading;
  reading.status = ReadConfigurationDeferred(document_, key.first, key.second, reading.content);
  return readings_.emplace(key, std::move(reading)).first->second;
}

}  // namespace

LoadStatus ORVAPOConfigurationFile::Load(const std::wstring& path, std::uint32_t config_type,
                                         std::uint32_t location) {
  config_type_ = config_type;
  product_name_.clear();
  properties_.Clear();
  modes_.clear();

  const auto document = Document::Shared(machine_, path);
  Diagnose(ORV_HERE("ORVAPOConfigurationFile::Load"), L"pXML->load %d\n", document ? 1 : 0);
  if (!document) return LoadStatus::NoDocument;
  Diagnose(ORV_HERE("ORVAPOConfigurationFile::Load"), L"pXML->get_documentElement 0x%p\n",
           document->root());

  const Document::Reading& reading = document->Read(config_type, location);
  properties_ = reading.content.properties;
  product_name_ = reading.content.product_name;
  modes_ = reading.content.modes;
  if (IsUsable(reading.status)) SetDefaultMode();
  return reading.status;
}

bool ORVAPOConfigurationFile::SetDefaultMode() {
  if (default_key_.ReadFrom(properties_)) return true;
  if (!modes_.empty()) {
    default_key_ = modes_.front()->GetModeKey();
    return true;
  }
  Diagnose(ORV_HERE("ORVAPOConfigurationFile::SetDefaultMode"),
           L"SetDefaultMode returning false...no modes available.\n");
  return false;
}

bool ORVAPOConfigurationFile::FindMode(const ORVAPOModeKey& key, ORVAPOOperatingMode& mode) const {
  std::size_t matches = 0;
  const ORVAPOOperatingMode* last = nullptr;
  for (const auto& one : modes_) {
    if (!one->GetModeKey().Equals(key)) continue;
    last = one.get();
    ++matches;
  }
  if (last != nullptr) mode = *last;
  return matches == 1;
}

bool ORVAPOConfigurationFile::FindModeForKey(const ORVAPOModeKey& key,
                                             ORVAPOOperatingMode& mode) const {
  const std::string speaker_type = key.speaker_type().ToString();
  std::size_t stand_ins = 0;
  const ORVAPOOperatingMode* exact = nullptr;
  const ORVAPOOperatingMode* stand_in = nullptr;
  for (const auto& one : modes_) {
    if (one->GetModeKey().Equals(key)) {
      exact = one.get();
    } else if (one->IsAutoMic() &&
               one->GetModeKey().speaker_type().EqualsText(speaker_type.c_str())) {
      stand_in = one.get();
      ++stand_ins;
    }
  }
  const ORVAPOOperatingMode* chosen = stand_in != nullptr ? stand_in : exact;
  if (chosen == nullptr) return false;
  mode = *chosen;
  return stand_ins <= 1;
}

}  // namespace orv
