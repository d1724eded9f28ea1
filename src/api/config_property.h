// One free-form property of an endpoint's configuration.
#pragma once

#include <optional>

#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "values/value.h"

namespace orv {

// Holds a copy of key and value and nothing else; may be used from any thread. A property that a
// client made by itself has neither: both operations give E_UNEXPECTED.
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

}  // namespace orv
