#include "config/mode_selector.h"

#include <utility>

namespace orv {
namespace {

constexpr std::uint32_t kModeAccess = kKeyQueryValue | kKeySetValue | kKeyNotify | kKeyWow64_64;
static_assert(kModeAccess == 0x113);

}  // namespace

class ORVAPOModeSelector::ListenerCall {
 public:
  explicit ListenerCall(ORVAPOModeSelector& selector)
      : selector_(selector),
        outer_(selector.calling_thread_.exchange(std::this_thread::get_id())) {}
  ~ListenerCall() { selector_.calling_thread_ = outer_; }
  ListenerCall(const ListenerCall&) = delete;
  ListenerCall& operator=(const ListenerCall&) = delete;

 private:
  ORVAPOModeSelector& selector_;
  std::thread::id outer_;
};

// Keeps the changes of one operation from the listener until the operation is complete: a listener
// that reads the mode in between would undo half of it. Lives under the data lock.
class ORVAPOModeSelector::ChangeBatch {
 public:
  explicit ChangeBatch(ORVAPOModeSelector& selector)
      : selector_(selector), outer_(std::exchange(selector.batch_, this)) {}
  ~ChangeBatch() { selector_.batch_ = outer_; }
  ChangeBatch(const ChangeBatch&) = delete;
  ChangeBatch& operator=(const ChangeBatch&) = delete;

  void Add() noexcept { ++changes_; }
  void Deliver() {
    selector_.batch_ = outer_;
    for (; changes_ != 0; --changes_) selector_.CallTarget();
  }

 private:
  ORVAPOModeSelector& selector_;
  ChangeBatch* outer_;
  std::size_t changes_ = 0;
};

ORVAPOModeSelector::ORVAPOModeSelector(Machine& machine) : machine_(machine) {
  binding_.SetReloadLock(&data_lock_);
  // The selector stays registered, target or not: removing it from inside a listener call would
  // change the set's listeners while the set goes through them.
  set_.AddNotify(this);
}

ORVAPOModeSelector::~ORVAPOModeSelector() {
  ORVAPOModeSelector::SetNotifyTarget(nullptr);
  set_.RemoveNotify(this);
}

bool ORVAPOModeSelector::InListenerCall() const noexcept {
  return calling_thread_.load() == std::this_thread::get_id();
}

bool ORVAPOModeSelector::HasTarget() {
  const std::scoped_lock lock(data_lock_);
  return target_ != nullptr;
}

void ORVAPOModeSelector::CallTarget() {
  if (target_ == nullptr) return;
  const ListenerCall call(*this);
  target_->OnModeChanged();
}

void ORVAPOModeSelector::OnPropertyChanged(ORVPropertySet&, const ORVPropertyEntry& entry) {
  const std::scoped_lock lock(data_lock_);
  ORVQVTValue value;
  if (!AssignFromProperty(entry.value, value)) return;
  if (batch_ != nullptr)
    batch_->Add();
  else
    CallTarget();
}

bool ORVAPOModeSelector::OnPropertyChanging(ORVPropertySet&, const ORVPropertyEntry&) {
  return false;
}

bool ORVAPOModeSelector::Init(const std::wstring& registry_path, const ORVAPOModeKey& default_key) {
  const std::scoped_lock lock(watch_lock_);
  // A running watch uses the binding's key and follows a duplicate of it: it ends before the key
  // changes.
  binding_.StartWatch(false, kCurrentModeValue);
  const bool bound = Bind(registry_path, default_key);
  SwitchWatch();
  return bound;
}

bool ORVAPOModeSelector::Bind(const std::wstring& registry_path, const ORVAPOModeKey& default_key) {
  const std::scoped_lock lock(data_lock_);
  ChangeBatch batch(*this);
  default_key.AsList().SaveToPropertySet(set_);
  key_.reset();
  binding_.SetKey(nullptr);
  // An endpoint without a path is bound to nothing: the empty path would be the root.
  const bool opened =
      !registry_path.empty() && machine_.registry().OpenKey(RegRoot::LocalMachine, registry_path,
                                                            kModeAccess, key_) == kRegOk;
  if (opened) {
    binding_.SetKey(key_.get());
    binding_.SetPropertySet(&set_);
    binding_.LoadBinary(kCurrentModeValue, true, true, true);
  }
  batch.Deliver();
  return opened;
}

bool ORVAPOModeSelector::SetCurrentMode(const ORVAPOModeKey& key) {
  bool saved = false;
  {
    const std::scoped_lock lock(data_lock_);
    ChangeBatch batch(*this);
    key.AsList().SaveToPropertySet(set_);
    saved = binding_.GetKey() != nullptr && binding_.SaveBinary(kCurrentModeValue);
    batch.Deliver();
  }
  FollowTarget();
  return saved;
}

bool ORVAPOModeSelector::GetCurrentMode(ORVAPOModeKey& key) {
  bool loaded = false;
  {
    const std::scoped_lock lock(data_lock_);
    ChangeBatch batch(*this);
    // The replacing load tells nobody, and the watch would find nothing left to tell.
    if (target_ != nullptr && !InListenerCall())
      binding_.LoadBinary(kCurrentModeValue, true, true, false);
    loaded =
        binding_.GetKey() != nullptr && binding_.LoadBinary(kCurrentModeValue, false, true, true);
    ORVQVTValueList list;
    list.LoadFromPropertySet(set_);
    key.ReadFrom(list);
    batch.Deliver();
  }
  FollowTarget();
  return loaded && key.IsValid();
}

bool ORVAPOModeSelector::SetNotifyTarget(IORVModeNotify* target) {
  {
    const std::scoped_lock lock(data_lock_);
    target_ = target;
  }
  if (InListenerCall()) {
    watch_outdated_ = true;
    return true;
  }
  const std::scoped_lock lock(watch_lock_);
  return SwitchWatch();
}

bool ORVAPOModeSelector::SwitchWatch() {
  watch_outdated_ = false;
  // Stopping takes no memory: the destructor does it, too.
  return HasTarget() ? binding_.StartWatch(true, kCurrentModeValue)
                     : binding_.StartWatch(false, std::wstring());
}

void ORVAPOModeSelector::FollowTarget() {
  if (!watch_outdated_ || InListenerCall()) return;
  const std::scoped_lock lock(watch_lock_);
  SwitchWatch();
}

bool ORVAPOModeSelector::DeleteStoredMode() {
  const std::scoped_lock lock(data_lock_);
  return key_ != nullptr && key_->DeleteValue(kCurrentModeValue) == kRegOk;
}

}  // namespace orv
