#include "api/operating_mode.h"

#include <iterator>
#include <utility>

#include "frame/object_creation.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {
namespace {

// By ORVAPOControlType.
constexpr const ORVQVTValueList& (ORVAPOOperatingMode::*kLists[])() const = {
    &ORVAPOOperatingMode::GetPublicControls, &ORVAPOOperatingMode::GetPrivateControls,
    &ORVAPOOperatingMode::GetDefaultControls};
static_assert(std::size(kLists) == kORVAPO_Cont_NumControls);

ORVQVTValueList Reread(ORVAPOPublicSettings& settings,
                       bool (ORVAPOPublicSettings::*read)(ORVQVTValueList&, bool) =
                           &ORVAPOPublicSettings::ReadControls) {
  ORVQVTValueList fresh;
  (settings.*read)(fresh, true);
  return fresh;
}

}  // namespace

CORVOperatingMode::CORVOperatingMode(Module& module, EndpointContext& endpoint,
                                     std::shared_ptr<const ORVAPOOperatingMode> mode)
    : RefCounted(&module),
      endpoint_(endpoint),
      mode_(std::move(mode)),
      global_settings_(endpoint.record().machine()) {}

HRESULT CORVOperatingMode::FinalConstruct() {
  Diagnose(ORV_HERE("CORVOperatingMode::Init"), L"CORVOperatingMode::Init\n");
  Diagnose(ORV_HERE("CORVOperatingMode::SetOpMode"), L"op mode: %s\n",
           mode_->GetModeKey().GetModeName());
  public_ = ReadPublicValues(nullptr);
  if (global_settings_.InitGlobal(endpoint_->record())) global_values_ = Reread(global_settings_);
  return S_OK;
}

std::unique_ptr<CORVOperatingMode::PublicValues> CORVOperatingMode::ReadPublicValues(
    bool* opened) const {
  auto fresh = std::make_unique<PublicValues>(endpoint_->record().machine());
  const bool found = fresh->settings.Init(endpoint_->record(), *mode_);
  if (opened != nullptr) *opened = found;
  return fresh;
}

ORVQVTValueList& CORVOperatingMode::values() {
  PublicValues& held = *(update_ ? update_->pending : public_);
  if (!held.values) {
    ORVQVTValueList values;
    held.settings.CopyControls(values);
    held.values = std::move(values);
  }
  return *held.values;
}

HRESULT CORVOperatingMode::get_ORVAPOControlEnumerator(ORVAPOControlType type,
                                                       IORVAPOControlEnumerator** enumerator) {
  return Guard([&]() -> HRESULT {
    if (type < 0 || type >= kORVAPO_Cont_NumControls) return E_INVALIDARG;
    if (enumerator == nullptr) return E_POINTER;
    if (const std::scoped_lock lock(lock_); !update_) {
      public_->values = Reread(public_->settings, type == kORVAPO_Cont_Default
                                                      ? &ORVAPOPublicSettings::ReadDefaultControls
                                                      : &ORVAPOPublicSettings::ReadControls);
    }
    return HandOut<CORVAPOControlEnumerator>(enumerator, module(), *this,
                                             ((*mode_).*kLists[type])());
  });
}

HRESULT CORVOperatingMode::get_Name(BSTR* name) {
  return Guard([&]() -> HRESULT {
    if (name == nullptr) return E_POINTER;
    return ReturnText(mode_->GetModeKey().GetModeName(), name);
  });
}

HRESULT CORVOperatingMode::RestoreDefaults() {
  return Guard([&]() -> HRESULT {
    const std::scoped_lock lock(lock_);
    public_->settings.WriteControls(mode_->GetDefaultControls());
    public_->values = Reread(public_->settings);
    return S_OK;
  });
}

HRESULT CORVOperatingMode::get_APOEnable(LONG* enabled) {
  return Guard([&]() -> HRESULT {
    if (enabled == nullptr) return E_POINTER;
    const std::scoped_lock lock(lock_);
    const ORVQVTValue* held = std::as_const(global_values_).Find(kProcessEnableControl);
    if (held == nullptr) {
      Diagnose(ORV_HERE("CORVOperatingMode::get_APOEnable"),
               L"CORVOperatingMode::get_APOEnable can't find the control!\n");
      return E_FAIL;
    }
    *enabled = held->ToLong() != 0 ? 1 : 0;
    Diagnose(ORV_HERE("CORVOperatingMode::get_APOEnable"),
             L"CORVOperatingMode::get_APOEnable returning %d\n", *enabled);
    return S_OK;
  });
}

HRESULT CORVOperatingMode::put_APOEnable(LONG enabled) {
  return Guard([&]() -> HRESULT {
    const std::scoped_lock lock(lock_);
    const bool written =
        global_settings_.WriteControl(ORVQVTValue(kProcessEnableControl, std::int32_t{enabled}));
    Diagnose(ORV_HERE("CORVOperatingMode::put_APOEnable"), L"put_APOEnable: %d, %d\n", enabled,
             written ? 1 : 0);
    global_values_ = Reread(global_settings_);
    return written ? S_OK : E_FAIL;
  });
}

HRESULT CORVOperatingMode::BeginUpdate() {
  return Guard([&]() -> HRESULT {
    const std::scoped_lock lock(lock_);
    if (update_) return E_UNEXPECTED;
    bool opened = false;
    auto update = std::make_unique<Update>();
    update->pending = ReadPublicValues(&opened);
    if (!opened) return E_FAIL;
    update_ = std::move(update);
    return S_OK;
  });
}

HRESULT CORVOperatingMode::CommitUpdate() {
  return Guard([&]() -> HRESULT {
    const std::scoped_lock lock(lock_);
    if (!update_) return E_UNEXPECTED;
    const auto update = std::exchange(update_, nullptr);  // is over, whatever follows
    if (update->changes.Count() == 0) return S_OK;
    PublicValues& pending = *update->pending;
    pending.values = Reread(pending.settings);  // what others have stored since stays stored
    pending.values->Merge(update->changes, kORVQVT_Merge_UpdateOnly);
    if (!pending.settings.WriteControls(update->changes)) return E_FAIL;
    public_ = std::move(update->pending);
    return S_OK;
  });
}

HRESULT CORVOperatingMode::CancelUpdate() {
  const std::scoped_lock lock(lock_);
  return std::exchange(update_, nullptr) ? S_OK : E_UNEXPECTED;
}

std::optional<std::int32_t> CORVOperatingMode::GetValue(const std::string& name,
                                                        const ORVQVTNameList* choices) {
  const std::scoped_lock lock(lock_);
  const ORVQVTValue* held = std::as_const(values()).Find(name);
  if (held == nullptr) {
    if (choices != nullptr)
      Diagnose(ORV_HERE("CORVOperatingMode::GetValue"), L"%s not found\n", Widen(name));
    return std::nullopt;
  }
  const auto choice = choices != nullptr ? ChoiceNumber(*choices, held->ToString()) : std::nullopt;
  const std::int32_t number = choice ? *choice : held->ToLong();
  Diagnose(ORV_HERE("CORVOperatingMode::GetValue"),
           choices != nullptr ? L"%s returning %d\n" : L" %s: %d\n", Widen(name), number);
  return number;
}

// The cache follows even if the settings refuse; only an exception leaves it as it was.
bool CORVOperatingMode::PutValue(ORVQVTValue value) {
  const std::scoped_lock lock(lock_);
  ORVQVTValue* held = values().Find(value.GetName());
  if (held == nullptr) return false;
  bool written = true;
  if (update_) {
    ORVQVTValue change = value;  // before the list has a place for it, because copying may fail
    update_->changes.GetOrAdd(value.GetName()) = std::move(change);
  } else {
    written = public_->settings.WriteControl(value);
  }
  *held = std::move(value);
  return written;
}

void CORVOperatingMode::Describe(const ORVQVTValue& value, ORVQVTControlInfo& info) {
  endpoint_->technology().FindControlInfo(value, info);
}

ComPtr<IORVOwnOperatingMode> OwnModeOf(IORVOperatingMode* mode) {
  ComPtr<IUnknown> answer;
  if (FAILED(mode->QueryInterface(IID_IORVOwnOperatingMode, answer.PutVoid())) || !answer)
    return {};
  // Our objects answer with a part at another address; an object that answers every identifier with
  // itself is not ours.
  if (static_cast<void*>(answer.get()) == static_cast<void*>(mode)) return {};
  return ComPtr<IORVOwnOperatingMode>::Adopt(static_cast<IORVOwnOperatingMode*>(answer.Detach()));
}

HRESULT CORVAPOOpModeEnumerator::Next(IORVOperatingMode** op_mode) {
  return Guard([&]() -> HRESULT {
    if (cursor_ == modes_.size()) return S_FALSE;
    return HandOut<CORVOperatingMode>(op_mode, module(), *endpoint_, modes_[cursor_++]);
  });
}

}  // namespace orv
