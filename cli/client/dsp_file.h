// A configuration file that goes into an Intel DSP.
#pragma once

#include <string>

#include "platform/machine.h"
#include "values/value_list.h"

namespace orv::cli {

// The controls of the file's default mode, which the component sends; none if it has no such mode.
// `path` is the machine's, `name` what the user calls the file. Throws Failure if it cannot be
// read.
ORVQVTValueList::Map DspFileControls(Machine& machine, const std::wstring& path,
                                     const std::string& name);

}  // namespace orv::cli
