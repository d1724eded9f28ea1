// What a control uses of the operating mode it belongs to.
#pragma once

#include "orv_apo/com.h"
#include "values/control_info.h"
#include "values/value.h"

namespace orv {

class ControlOwner {
 public:
  // Replaces the value's number by the one the mode holds under its name; false when it holds none.
  virtual bool GetValue(ORVQVTValue& value) = 0;
  // The same, but a text that is one of the choices gives that choice's position.
  virtual bool GetValue(ORVQVTValue& value, const ORVQVTNameList& choices) = 0;
  // Stores the value's number under its name; false when the mode holds none or it cannot be
  // stored.
  virtual bool PutValue(ORVQVTValue value) = 0;
  // The same, but a text that is one of the choices is stored as text.
  virtual bool PutValue(ORVQVTValue value, const ORVQVTNameList& choices) = 0;
  // Fills `info` with the description of the control that the value names; leaves it unchanged if
  // the control has no description.
  virtual void Describe(const ORVQVTValue& value, ORVQVTControlInfo& info) = 0;
  // The operating mode object; a reference to it keeps all of this alive.
  virtual IUnknown* unknown() noexcept = 0;

 protected:
  ~ControlOwner() = default;
};

}  // namespace orv
