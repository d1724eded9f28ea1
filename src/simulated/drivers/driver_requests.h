// The requests that each simulated driver knows.
#pragma once

#include <string_view>

#include "platform/driver_names.h"
#include "simulated/drivers/driver_description.h"

namespace orv {

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
