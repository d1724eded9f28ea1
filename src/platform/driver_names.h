// Names of the DSP drivers and of their requests, in files and in the output.
#pragma once

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

}  // namespace orv
