// What differs between systems: how the first object is made, and how a client learns that the
// values of an endpoint have changed.
#pragma once

#include <memory>

#include "orv_apo/orv_apo.h"

// For a thread of a single-threaded apartment, or of the multithreaded one; natively there are
// none.
HRESULT CreateSystem(bool single_threaded, IORVAPOSystem** system);

class KeyWatch {
 public:
  virtual ~KeyWatch() = default;
  // Every change from now on ends the next Wait.
  virtual void Arm() = 0;
  // Returns when something has changed since Arm.
  virtual void Wait() = 0;
};

// Watches a key below HKEY_LOCAL_MACHINE; null if it cannot be opened.
std::unique_ptr<KeyWatch> WatchKey(const wchar_t* key);
