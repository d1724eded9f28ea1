#include "config/configuration_document.h"

#include <tinyxml2.h>

#include <algorithm>
#include <optional>

namespace orv {
namespace {

struct DocumentCache {
  std::mutex lock;
  std::map<std::pair<std::uint64_t, std::wstring>, std::shared_ptr<ConfigurationDocument>>
      documents;
};

DocumentCache& Cache() {
  static DocumentCache cache;
  return cache;
}

std::shared_ptr<ConfigurationDocument> LoadDocument(Machine& machine, const std::wstring& path) {
  const std::optional<std::string> host_path = machine.HostPath(path);
  if (!host_path) return nullptr;
  const auto document = std::make_shared<tinyxml2::XMLDocument>();
  if (document->LoadFile(host_path->c_str()) != tinyxml2::XML_SUCCESS) return nullptr;
  DecodeDocument(*document);
  return std::make_shared<ConfigurationDocument>(document);
}

}  // namespace

std::shared_ptr<ConfigurationDocument> ConfigurationDocument::Shared(Machine& machine,
                                                                     const std::wstring& path) {
  DocumentCache& cache = Cache();
  const std::scoped_lock lock(cache.lock);
  const auto key = std::make_pair(machine.id(), path);
  if (const auto found = cache.documents.find(key); found != cache.documents.end())
    return found->second;
  auto document = LoadDocument(machine, path);
  if (document) cache.documents.emplace(key, document);
  return document;
}

const void* ConfigurationDocument::root() const { return document_->RootElement(); }

const ConfigurationDocument::Reading& ConfigurationDocument::Read(std::uint32_t config_type,
                                                                  std::uint32_t location) {
  // All types and locations beyond the known ones read the same.
  const auto key = std::make_pair(std::clamp(config_type, 0U, kConfigTypeCount),
                                  std::clamp(location, 0U, kLocationCount));
  const std::scoped_lock lock(lock_);
  if (const auto found = readings_.find(key); found != readings_.end()) return found->second;
  Reading reading;
  reading.status = ReadConfigurationDeferred(document_, key.first, key.second, reading.content);
  return readings_.emplace(key, std::move(reading)).first->second;
}

}  // namespace orv
