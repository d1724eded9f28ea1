// One of a mode's control lists, in name order.
#pragma once

#include "api/control_owner.h"
#include "frame/counted_part.h"
#include "frame/object_creation.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "values/value_list.h"

namespace orv {

class CORVAPOControlEnumerator final
    : public RefCounted<Chain<IORVAPOControlEnumerator, IORVAPOControlEnumerator2>> {
 public:
  CORVAPOControlEnumerator(Module& module, ControlOwner& mode, const ORVQVTValueList& list)
      : RefCounted(&module), mode_(mode), snapshot_(list), cursor_(snapshot_.begin()) {}

  HRESULT STDMETHODCALLTYPE Next(IORVAPOControl** control) override;
  HRESULT STDMETHODCALLTYPE GetControlFromName(BSTR control_name,
                                               IORVAPOControl** control) override;

 private:
  HRESULT MakeControl(const ORVQVTValue& value, IORVAPOControl** control);

  CountedPart<ControlOwner> mode_;
  const ORVQVTValueList snapshot_;
  ORVQVTValueList::Map::const_iterator cursor_;
};

}  // namespace orv
