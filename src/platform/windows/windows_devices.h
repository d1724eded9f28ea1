// Device interfaces, device files and named events of the machine this process runs on.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orv_apo/com.h"
#include "platform/device_io.h"

namespace orv {

std::vector<std::wstring> PresentDeviceInterfaces(REFGUID interface_class);
std::unique_ptr<DeviceFile> OpenDeviceFile(const std::wstring& path, std::uint32_t& error);
std::unique_ptr<NamedEvent> OpenExistingEvent(const std::wstring& name, std::uint32_t& error);

}  // namespace orv
