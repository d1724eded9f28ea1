// One walk over the controls of an operating mode, as the DSP objects and their clients read them.
#pragma once

#include <string_view>

#include "orv_apo/orv_apo.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"

namespace orv {

// How the walk treats a control that cannot report its value.
enum class UnreadableControl {
  LeftOut,  // the mode is read as if it did not have the control
  Zero,     // the control is visited with the value 0
};

struct ControlWalk {
  HRESULT asked;  // status of asking the mode for the list; after a failure no control is visited
  HRESULT ended;  // status of the enumerator's last answer: S_FALSE at the end of the list
};

// Calls visit(std::wstring_view name, LONG value) for each control of the list in its order. The
// name is the display name, valid during the call, and empty if the control has none or cannot
// report it. An exception of `visit` passes through.
template <class Visitor>
ControlWalk ForEachControl(IORVOperatingMode& mode, ORVAPOControlType list,
                           UnreadableControl policy, Visitor&& visit) {
  ComPtr<IORVAPOControlEnumerator> enumerator;
  ControlWalk walk = {mode.get_ORVAPOControlEnumerator(list, enumerator.Put()), E_FAIL};
  if (SUCCEEDED(walk.asked) && !enumerator) walk.asked = E_FAIL;
  if (FAILED(walk.asked)) return walk;
  for (ComPtr<IORVAPOControl> control;
       (walk.ended = enumerator->Next(control.Put())) == S_OK && control;) {
    UniqueBstr name;
    if (FAILED(control->get_DisplayValue(OutPtr(name)))) name = nullptr;
    LONG value = 0;
    if (FAILED(control->get_Value(&value))) {
      if (policy == UnreadableControl::LeftOut) continue;
      value = 0;
    }
    visit(ViewOf(name.get()), value);
  }
  return walk;
}

}  // namespace orv
