// The requests of each driver by name, as misbehaviour and records of refused requests call them.
#pragma once

#include <string_view>
#include <vector>

namespace orv {

inline constexpr char kSkylakeDriver[] = "skylake";
inline constexpr char kBroadwellDriver[] = "broadwell";
inline constexpr char kQualcommDriver[] = "qualcomm";

namespace request {
inline constexpr char kParameter[] = "parameter";  // a block; has an identifier
inline constexpr char kVersion[] = "version";
inline constexpr char kModules[] = "modules";    // the module list, or module information
inline constexpr char kStatus[] = "status";      // module enabled or not
inline constexpr char kInstance[] = "instance";  // whether the module is instantiated
inline constexpr char kRegister[] = "register";  // of the control-change event
inline constexpr char kUnregister[] = "unregister";
inline constexpr char kOffloadPin[] = "offload_pin";
inline constexpr char kUnknown[] = "unknown";  // refused; not for misbehaviour
}  // namespace request

inline const std::vector<std::string_view> kSkylakeRequests = {
    request::kParameter, request::kVersion,  request::kModules,    request::kStatus,
    request::kInstance,  request::kRegister, request::kUnregister, request::kOffloadPin};
inline const std::vector<std::string_view> kBroadwellRequests = {
    request::kParameter, request::kVersion, request::kModules, request::kStatus};
inline const std::vector<std::string_view> kQualcommRequests = {request::kParameter};

}  // namespace orv
