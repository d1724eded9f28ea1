#include "cli/client/journal.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "cli/client/change_lock.h"
#include "cli/offline/files.h"
#include "cli/show/clock.h"
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
  Json json = {{"time", entry.time}, {"command", entry.command}, {"changes", changes}};
  if (!entry.gesture.empty()) json["gesture"] = entry.gesture;
  return json;
}

// A value that a change can have. Throws Json::exception for other kinds.
Json ValueFrom(const Json& json) {
  if (json.is_null() || json.is_boolean() || json.is_string()) return json;
  return json.get<std::int32_t>();
}

// Throws Json::exception for what EntryJson does not make.
JournalEntry EntryFrom(const Json& json) {
  JournalEntry entry{.time = json.at("time"),
                     .command = json.at("command"),
                     .changes = {},
                     .gesture = json.value("gesture", "")};
  for (const Json& change : json.at("changes"))
    entry.changes.push_back({change.at("what"), change.at("mode"), change.at("name"),
                             ValueFrom(change.at("from")), ValueFrom(change.at("to"))});
  return entry;
}

// The changes as one with those before them; nullopt if one of them does not begin where the one
// before it ended.
std::optional<std::vector<Change>> Joined(std::vector<Change> before,
                                          const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    const auto same = std::ranges::find_if(before, [&](const Change& one) {
      return one.what == change.what && one.mode == change.mode && one.name == change.name;
    });
    if (same == before.end()) {
      before.push_back(change);
    } else if (same->to == change.from) {
      same->to = change.to;
    } else {
      return std::nullopt;
    }
  }
  std::erase_if(before, [](const Change& change) { return change.from == change.to; });
  return before;
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

void Journal::Add(const std::string& command, const std::vector<Change>& changes,
                  const std::string& gesture) const {
  if (changes.empty()) return;
  std::vector<JournalEntry> entries = Read();
  std::optional<std::vector<Change>> joined;
  if (!gesture.empty() && !entries.empty() && entries.back().gesture == gesture &&
      entries.back().command == command)
    joined = Joined(entries.back().changes, changes);
  if (joined) entries.pop_back();
  if (!joined) joined = changes;
  if (!joined->empty())
    entries.push_back(
        {UtcText(std::chrono::system_clock::now(), Precision::Seconds), command, *joined, gesture});
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
