// Parsed configuration files, shared by the whole process.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "config/configuration_reader.h"
#include "platform/machine.h"

namespace orv {

// One parsed file with everything that was read from it so far. May be used from any thread.
class ConfigurationDocument {
 public:
  struct Reading {
    LoadStatus status = LoadStatus::NoDocument;
    ConfigurationContent content;
  };

  // The document of a path on a machine, parsed on first success and kept until the process ends;
  // null when the file cannot be read or parsed (that is tried again next time).
  static std::shared_ptr<ConfigurationDocument> Shared(Machine& machine, const std::wstring& path);

  explicit ConfigurationDocument(std::shared_ptr<const tinyxml2::XMLDocument> document)
      : document_(std::move(document)) {}

  const void* root() const;
  // Walked once for each configuration type and location; modes read their lists when they are
  // asked for. Valid as long as the document.
  const Reading& Read(std::uint32_t config_type, std::uint32_t location);

 private:
  std::shared_ptr<const tinyxml2::XMLDocument> document_;
  std::mutex lock_;
  std::map<std::pair<std::uint32_t, std::uint32_t>, Reading> readings_;
};

}  // namespace orv
