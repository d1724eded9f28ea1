#include "cli/client/journal.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <sstream>
#include <utility>

#include "cli/client/change_lock.h"
#include "cli/offline/files.h"
#include "cli/show/clock.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

constexpr std::size_t kJournalSizeLimit = 64U << 20;  // bytes

std::string LineOf(const JournalEntry& entry) {
  Json changes = Json::array();
  for (const Change& change : entry.changes)
    changes.push_back({{"what", change.what},
                       {"mode", change.mode},
                       {"name", change.name},
                       {"from", change.from},
                       {"to", change.to}});
  Json json = {{"time", entry.time}, {"command", entry.command}, {"changes", changes}};
  if (!entry.gesture.empty()) json["gesture"] = entry.gesture;
  return json.dump() + '\n';
}

// A value that a change can have. Throws Json::exception for other kinds.
Json ValueFrom(const Json& json) {
  if (json.is_null() || json.is_boolean() || json.is_string()) return json;
  return json.get<std::int32_t>();
}

// Throws Json::exception for what LineOf does not make.
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
    : file_(folder / ("." + ChangeLock::NameOf(registry_path) + ".changes.jsonl")) {}

std::string Journal::ReadLines() const {
  std::error_code error;
  if (!std::filesystem::exists(file_, error)) return {};
  std::string lines = ReadWholeFile(PathText(file_), kJournalSizeLimit);
  if (!lines.empty() && lines.back() != '\n') lines += '\n';
  return lines;
}

JournalEntry Journal::EntryOf(std::string_view line) const {
  try {
    return EntryFrom(Json::parse(line));
  } catch (const Json::exception&) {
    throw Failure(
        kRefused,
        "{} does not hold changes of this program's version.\nRemove it to start with none.",
        PathText(file_));
  }
}

std::vector<JournalEntry> Journal::Read() const {
  std::vector<JournalEntry> entries;
  std::istringstream lines(ReadLines());
  for (std::string line; std::getline(lines, line);) entries.push_back(EntryOf(line));
  return entries;
}

// Parses no entry but the last one, which spares "set" a good part of its time.
void Journal::Add(const std::string& command, const std::vector<Change>& changes,
                  const std::string& gesture) const {
  if (changes.empty()) return;
  std::string lines = ReadLines();
  std::optional<std::vector<Change>> joined;
  if (!lines.empty()) {
    const std::size_t begin = lines.rfind('\n', lines.size() - 2) + 1;
    const JournalEntry last = EntryOf(std::string_view(lines).substr(begin));
    if (!gesture.empty() && last.gesture == gesture && last.command == command)
      joined = Joined(last.changes, changes);
    if (joined) lines.resize(begin);
  }
  if (!joined) joined = changes;
  if (!joined->empty())
    lines += LineOf(
        {UtcText(std::chrono::system_clock::now(), Precision::Seconds), command, *joined, gesture});
  while (std::cmp_greater(std::ranges::count(lines, '\n'), kMostEntries))
    lines.erase(0, lines.find('\n') + 1);
  WriteLines(lines);
}

void Journal::Write(const std::vector<JournalEntry>& entries) const {
  std::string lines;
  for (const JournalEntry& entry : entries) lines += LineOf(entry);
  WriteLines(lines);
}

void Journal::WriteLines(const std::string& lines) const {
  std::filesystem::create_directories(file_.parent_path());
  ReplaceFile(PathText(file_), lines);
}

}  // namespace orv::cli
