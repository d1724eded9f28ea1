// The component as a client finds it: its classes and its registration.
#pragma once

#include <filesystem>

#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "platform/dynamic_library.h"

namespace orv::cli {

class Component {
 public:
  // Finds and loads the component; throws Failure that names the places it looked at.
  Component();
  ~Component();  // when none of its objects is left
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  HRESULT CreateSystem(IORVAPOSystem** system) const;
  // For the machine, or for the current user.
  HRESULT Register(bool for_user) const;
  HRESULT Unregister(bool for_user) const;

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
  DynamicLibrary library_;
};

}  // namespace orv::cli
