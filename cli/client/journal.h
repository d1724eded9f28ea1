// What this program changed on an endpoint, kept so that it can be taken back.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "cli/client/state.h"

namespace orv::cli {

struct JournalEntry {
  std::string time;     // UTC, "2026-03-02T09:14:07Z"
  std::string command;  // the command's name
  std::vector<Change> changes;
  std::string gesture = {};  // of the user's hand that made it in steps; empty: made at once
};

// The last entries of one endpoint, oldest first, in a file of the machine's data folder: a line of
// JSON each. Holders of the endpoint's ChangeLock only.
class Journal {
 public:
  static constexpr std::size_t kMostEntries = 50;

  Journal(const std::filesystem::path& folder, const std::string& registry_path);

  // Throws Failure if the file is there but cannot be read or is not a journal.
  std::vector<JournalEntry> Read() const;
  // Adds an entry with the present time; the oldest make room. No changes add nothing. Changes of
  // the last entry's gesture (not empty) go on with that entry, unless something else has changed
  // its values since. Throws Failure if the file cannot be written or read.
  void Add(const std::string& command, const std::vector<Change>& changes,
           const std::string& gesture = {}) const;
  // Replaces all entries. Throws Failure if the file cannot be written.
  void Write(const std::vector<JournalEntry>& entries) const;

 private:
  // Each with its line feed; none if there is no file.
  std::string ReadLines() const;
  void WriteLines(const std::string& lines) const;
  // Throws Failure if the line is not an entry.
  JournalEntry EntryOf(std::string_view line) const;

  std::filesystem::path file_;
};

}  // namespace orv::cli
