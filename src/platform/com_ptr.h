// A counted reference to a COM object, as clients have it.
#pragma once

#include "orv_apo/com_ptr.h"

namespace orv {
using orv_apo::ComPtr;
}
