#include "cli/client/journal.h"

#include <fmt/chrono.h>

#include <chrono>

#include "cli/client/host.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

constexpr int kJournalVersion = 1;
constexpr std::size_t kJournalSizeLimit = 64U << 20;  // bytes

Json EntryJson(const JournalEntry& entry) {
  Json changes = Json::array();
  for (const Change& change : entry.changes)
    changes.push_back({{"what", change.what},
                       {"mode", change.mode},
                       {"name", change.name},
                       {"from", change.from},
                       {"to", change.to}});
  return {{"time", entry.time}, {"command", entry.command}, {"changes", changes}};
}

// A value that a change can have. Throws Json::exception for other kinds.
Json ValueFrom(const Json& json) {
  if (json.is_null() || json.is_boolean() || json.is_string()) return json;
  return json.get<std::int32_t>();
}

// Throws Json::exception for what EntryJson does not make.
JournalEntry EntryFrom(const Json& json) {
  JournalEntry entry{.time = json.at("time"), .command = json.at("command"), .changes = {}};
  for (const Json& change : json.at("changes"))
    entry.changes.push_back({change.at("what"), change.at("mode"), change.at("name"),
                             ValueFrom(change.at("from")), ValueFrom(change.at("to"))});
  return entry;
}

}  // namespace

Journal::Journal(const std::filesystem::path& folder, const std::string& registry_path)
    : file_(folder / ("." + ChangeLock::NameOf(registry_path) + ".changes.json")) {}

std::vector<JournalEntry> Journal::Read() const {
  std::vector<JournalEntry> entries;
  if (std::error_code error; !std::filesystem::exists(file_, error)) return entries;
  try {
    const Json json = Json::parse(ReadWholeFile(PathText(file_), kJournalSizeLimit));
    if (json.at("version") == kJournalVersion) {
      for (const Json& entry : json.at("entries")) entries.push_back(EntryFrom(entry));
      return entries;
    }
  } catch (const Json::exception&) {
    // Reported as another version is.
  }
  throw Failure(
      kRefused,
      "{} does not hold changes of this program's version.\nRemove it to start with none.",
      PathText(file_));
}

void Journal::Add(const std::string& command, const std::vector<Change>& changes) const {
  if (changes.empty()) return;
  std::vector<JournalEntry> entries = Read();
  const auto now =
      std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
  entries.push_back({fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(now)), command, changes});
  if (entries.size() > kMostEntries)
    entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(kMostEntries));
  Write(entries);
}

void Journal::Write(const std::vector<JournalEntry>& entries) const {
  Json array = Json::array();
  for (const JournalEntry& entry : entries) array.push_back(EntryJson(entry));
  std::filesystem::create_directories(file_.parent_path());
  ReplaceFile(PathText(file_),
              Json{{"version", kJournalVersion}, {"entries", array}}.dump() + "\n");
}

}  // namespace orv::cli
