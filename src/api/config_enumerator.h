// The free-form properties of an endpoint's configuration, in key order.
#pragma once

#include <mutex>
#include <optional>

#include "api/endpoint_context.h"
#include "frame/counted_part.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "values/value_list.h"

namespace orv {

// One property. Holds a copy of key and value and nothing else; may be used from any thread. A
// property that a client made by itself has neither: both operations give E_UNEXPECTED.
class CORVAPOConfigProperty final : public RefCounted<Chain<IORVAPOConfigProperty>> {
 public:
  explicit CORVAPOConfigProperty(Module& module) : RefCounted(&module) {}
  CORVAPOConfigProperty(Module& module, const ORVQVTValue& property)
      : RefCounted(&module), property_(property) {}

  HRESULT STDMETHODCALLTYPE get_Key(BSTR* key) override;
  HRESULT STDMETHODCALLTYPE get_Value(BSTR* value) override;

 private:
  const std::optional<ORVQVTValue> property_;
};

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
  CountedPart<EndpointContext> endpoint_;
  const ORVQVTValueList properties_;
  std::mutex critical_section_;  // guards the cursor
  ORVQVTValueList::Map::const_iterator cursor_;
};

}  // namespace orv
