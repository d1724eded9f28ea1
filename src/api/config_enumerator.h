// The free-form properties of an endpoint's configuration, in key order.
#pragma once

#include <mutex>

#include "api/endpoint_context.h"
#include "frame/counted_part.h"
#include "frame/object_creation.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "values/value_list.h"

namespace orv {

// May be used from any thread. Returns the properties as they were when it was made. An enumerator
// that a client made by itself belongs to no endpoint: its operations give E_UNEXPECTED.
class CORVAPOConfigEnumerator final : public RefCounted<Chain<IORVAPOConfigEnumerator>> {
 public:
  explicit CORVAPOConfigEnumerator(Module& module)
      : RefCounted(&module), cursor_(properties_.begin()) {}
  CORVAPOConfigEnumerator(Module& module, EndpointContext& endpoint,
                          const ORVQVTValueList& properties)
      : RefCounted(&module),
        endpoint_(endpoint),
        properties_(properties),
        cursor_(properties_.begin()) {}

  HRESULT STDMETHODCALLTYPE Next(IORVAPOConfigProperty** prop) override;
  HRESULT STDMETHODCALLTYPE get_ConfigProperty(BSTR key, IORVAPOConfigProperty** prop) override;

 private:
  HRESULT MakeProperty(const ORVQVTValue& property, IORVAPOConfigProperty** prop);

  CountedPart<EndpointContext> endpoint_;
  const ORVQVTValueList properties_;
  std::mutex critical_section_;  // guards the cursor
  ORVQVTValueList::Map::const_iterator cursor_;
};

}  // namespace orv
