// The requests of each driver by name, as misbehaviour and records of refused requests call them.
#pragma once

#include <string_view>

#include "platform/simulated/drivers/driver_description.h"

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

// A request and whether it only asks or only sets.
struct RequestFormat {
  std::string_view name;
  DriverMisbehaviour::Direction direction;
};

inline constexpr RequestFormat kSkylakeRequests[] = {
    {request::kParameter, DriverMisbehaviour::Direction::Any},
    {request::kVersion, DriverMisbehaviour::Direction::Get},
    {request::kModules, DriverMisbehaviour::Direction::Get},
    {request::kStatus, DriverMisbehaviour::Direction::Any},
    {request::kInstance, DriverMisbehaviour::Direction::Get},
    {request::kRegister, DriverMisbehaviour::Direction::Set},
    {request::kUnregister, DriverMisbehaviour::Direction::Set},
    {request::kOffloadPin, DriverMisbehaviour::Direction::Get}};
inline constexpr RequestFormat kBroadwellRequests[] = {
    {request::kParameter, DriverMisbehaviour::Direction::Any},
    {request::kVersion, DriverMisbehaviour::Direction::Get},
    {request::kModules, DriverMisbehaviour::Direction::Get},
    {request::kStatus, DriverMisbehaviour::Direction::Set}};
inline constexpr RequestFormat kQualcommRequests[] = {
    {request::kParameter, DriverMisbehaviour::Direction::Set}};

}  // namespace orv
