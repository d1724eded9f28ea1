#include "simulated/drivers/driver_store.h"

#include <fmt/format.h>

#include "platform/driver_names.h"
#include "simulated/drivers/block_format.h"

namespace orv {
namespace {

using Direction = DriverMisbehaviour::Direction;

constexpr std::size_t kLargestDriverMemory = std::size_t{64} << 20;  // bytes

bool IsMeantFor(const DriverMisbehaviour& rule, const DriverRequest& request) {
  if (!rule.request.empty() && rule.request != request.name) return false;
  if (rule.parameter && *rule.parameter != request.parameter) return false;
  return rule.direction == Direction::Any || (rule.direction == Direction::Get) == request.is_get;
}

}  // namespace

std::string DriverRequest::Text() const {
  if (name != std::string_view(request::kParameter)) return name;
  return fmt::format("{} {}", name, ParameterText(parameter));
}

std::string DriverRequest::Key() const {
  return fmt::format("{} {} {}", driver, is_get ? "get" : "set", Text());
}

bool DriverStore::Attach(const std::filesystem::path& folder, FileError& error) {
  const std::lock_guard guard(lock_);
  constexpr SharedFile::Form kForm = {"drivers.json", ".drivers.lock", kLargestDriverMemory, true};
  file_.emplace(folder, kForm, [this](const std::string* text, FileError& refusal) {
    std::uint64_t change = 0;
    auto memory = text == nullptr ? DriverMemory() : DecodeDriverMemory(*text, change, refusal);
    if (memory) memory_ = std::move(*memory);
    return memory ? std::optional(change) : std::nullopt;
  });
  return file_->Read(error);
}

bool DriverStore::Read(const std::function<void(const DriverMemory&)>& body) {
  const std::lock_guard guard(lock_);
  if (file_ && !file_->Refresh()) return false;
  body(memory_);
  return true;
}

bool DriverStore::Write(const Body& body, std::string& reason) {
  reason = "the machine's description has it fail";
  if (faults_->Check("drivers.save")) return false;
  // In memory, bodies change nothing before their last allocation.
  if (!file_) {
    body(memory_);
    return true;
  }
  const auto file_lock = file_->Lock(reason);
  if (!file_lock) return false;
  DriverMemory changed = memory_;
  body(changed);
  const auto encode = [&](std::uint64_t change) { return EncodeDriverMemory(changed, change); };
  if (!file_->Write(encode, reason)) return false;
  memory_ = std::move(changed);
  return true;
}

bool DriverStore::Change(const Body& body, std::string& reason) {
  const std::lock_guard guard(lock_);
  return Write(body, reason);
}

bool DriverStore::ChangeAtLeastHere(const Body& body) {
  const std::lock_guard guard(lock_);
  std::string ignored;
  if (Write(body, ignored)) return true;
  if (file_ && !file_->Refresh()) return false;
  body(memory_);
  return true;
}

void DriverStore::NoteRefusal(const DriverRequest& request, const std::string& reason,
                              bool planned) {
  const DriverRefusal refusal{request.driver, request.Text(), reason, request.parameter, planned};
  ChangeAtLeastHere([&](DriverMemory& memory) { memory.Refuse(refusal); });
}

std::optional<DriverMisbehaviour> DriverStore::Due(const std::vector<DriverMisbehaviour>& rules,
                                                   const DriverRequest& request) {
  const std::lock_guard guard(lock_);
  std::optional<DriverMisbehaviour> due;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (!IsMeantFor(rules[i], request)) continue;
    const std::uint32_t call = ++calls_[{request.driver, i}];
    if (!due && (!rules[i].nth || *rules[i].nth == call)) due = rules[i];
  }
  return due;
}

void DriverStore::NoteApplyFlag(const DriverRequest& request, std::uint32_t flag) {
  const std::lock_guard guard(lock_);
  apply_flags_[request.Key()] = flag;
}

std::optional<std::uint32_t> DriverStore::ApplyFlag(const std::string& key) {
  const std::lock_guard guard(lock_);
  const auto found = apply_flags_.find(key);
  return found == apply_flags_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace orv
