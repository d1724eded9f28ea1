// Controls of an operating mode, each as a number with a range, a scale and a name to show, and the
// walk over one of the mode's lists.
#pragma once

#include <optional>

#include "frame/counted_part.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "values/control_info.h"
#include "values/value_list.h"

namespace orv {

// What a control uses of the operating mode it belongs to.
class ControlOwner {
 public:
  // The number that the mode holds under this name; with `choices`, a text that is one of them
  // gives that choice's position. Returns nullopt if the mode does not hold the control.
  virtual std::optional<std::int32_t> GetValue(const std::string& name,
                                               const ORVQVTNameList* choices) = 0;
  // Stores the value under its name; false if the mode does not hold it or it cannot be stored.
  virtual bool PutValue(ORVQVTValue value) = 0;
  // Fills `info` with the description of the control that the value names; leaves it unchanged if
  // the control has no description.
  virtual void Describe(const ORVQVTValue& value, ORVQVTControlInfo& info) = 0;
  // The operating mode object; a reference to it keeps all of this alive.
  virtual IUnknown* unknown() noexcept = 0;

 protected:
  ~ControlOwner() = default;
};

// A control that a client made by itself belongs to no mode: every operation of it gives
// E_UNEXPECTED (E_POINTER for a null out-parameter).
class CORVAPOCOMControl final : public RefCounted<Chain<IORVAPOControl>> {
 public:
  explicit CORVAPOCOMControl(Module& module) : RefCounted(&module) {}
  CORVAPOCOMControl(Module& module, ControlOwner& mode, const ORVQVTValue& value)
      : RefCounted(&module), mode_(mode), value_(value) {
    mode_->Describe(value_, description_);
  }

  HRESULT STDMETHODCALLTYPE get_DisplayValue(BSTR* display_value) override;
  HRESULT STDMETHODCALLTYPE get_Scale(ORV_QVT_SCALE* scale) override;
  HRESULT STDMETHODCALLTYPE get_MinValue(LONG* minimum) override;
  HRESULT STDMETHODCALLTYPE get_MaxValue(LONG* maximum) override;
  HRESULT STDMETHODCALLTYPE get_Value(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_Value(LONG value) override;

 private:
  // What every getter checks first.
  HRESULT CheckResult(const void* result) const noexcept;
  template <class T>
  HRESULT Return(T value, T* result) const noexcept;

  CountedPart<ControlOwner> mode_;
  ORVQVTValue value_;  // as it was in the list the control was taken from
  ORVQVTControlInfo description_;
};

// One of a mode's control lists, in name order.
class CORVAPOControlEnumerator final
    : public RefCounted<Chain<IORVAPOControlEnumerator, IORVAPOControlEnumerator2>> {
 public:
  // The mode keeps the list, which does not change.
  CORVAPOControlEnumerator(Module& module, ControlOwner& mode, const ORVQVTValueList& list)
      : RefCounted(&module), mode_(mode), list_(list), cursor_(list_.begin()) {}

  HRESULT STDMETHODCALLTYPE Next(IORVAPOControl** control) override;
  HRESULT STDMETHODCALLTYPE GetControlFromName(BSTR control_name,
                                               IORVAPOControl** control) override;

 private:
  CountedPart<ControlOwner> mode_;
  const ORVQVTValueList& list_;
  ORVQVTValueList::Map::const_iterator cursor_;
};

}  // namespace orv
