#include "cli/client/dsp_file.h"

#include <filesystem>

#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "config/configuration_file.h"
#include "config/configuration_reader.h"
#include "orv_apo/orv_apo.h"

namespace orv::cli {

ORVQVTValueList::Map DspFileControls(Machine& machine, const std::wstring& path,
                                     const std::string& name) {
  ORVAPOConfigurationFile file(machine);
  const LoadStatus status = file.Load(path, kORVAPO_EPCfg_DSP, kEndpointLocation);
  if (!IsUsableByDsp(status)) {
    const std::string asked = "the configuration file " + name + " cannot be read (load status " +
                              std::to_string(NumberOf(status));
    if (!machine.FileExists(path)) throw Failure(kRefused, asked + "): there is no such file.");
    const auto host = machine.HostFile(path);
    if (host && !std::filesystem::is_regular_file(*host))
      throw Failure(kRefused, asked + "): it is not a file.");
    if (!machine.HostPath(path)) {
      throw Failure(kRefused, asked +
                                  "): the component opens only paths whose characters are not "
                                  "beyond U+00FF.\nCopy the file to such a path.");
    }
    throw Failure(kRefused, asked + ").\nWhat reports its faults: " +
                                CommandLine("check " + ShellWord(host ? PathText(*host) : name)));
  }
  ORVAPOOperatingMode mode;
  if (!file.FindMode(file.GetDefaultModeKey(), mode)) return {};
  const ORVQVTValueList& list = mode.GetDefaultControls();
  return {list.begin(), list.end()};
}

}  // namespace orv::cli
