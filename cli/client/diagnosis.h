// What can be wrong with an endpoint between its driver and the component, looked at piece by
// piece.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/context.h"
#include "endpoints/endpoint_info.h"

namespace orv::cli {

struct Check {
  std::string endpoint;  // empty when the whole machine is meant
  std::string name;
  bool ok = false;
  std::string detail;
  std::string remedy;  // empty when all is well
};

// Every active render endpoint, also those that the component passes over. One that cannot be read
// to the end has an empty key path, one that cannot be read at all no name either.
std::vector<ORVAPOEndpointInfo> ReadEndpoints(Session& session);

// For people: its name, or its identifier when it has none.
std::string NameOf(const ORVAPOEndpointInfo& info);

class Diagnosis {
 public:
  explicit Diagnosis(Context& context) : context_(context), machine_(context.session().machine()) {}

  void ExamineTechnology();
  // The endpoint as the component gives it when all of it could be asked for; what is left to
  // examine is its DSP.
  std::optional<Endpoint> Examine(const ORVAPOEndpointInfo& info);
  // A check of what was examined last.
  void Add(const char* name, bool ok, const std::string& detail, const std::string& remedy) {
    checks_.push_back({label_, name, ok, detail, ok ? std::string() : remedy});
  }
  const std::vector<Check>& checks() const noexcept { return checks_; }

 private:
  void ExamineEffects(const ORVAPOEndpointInfo& info);
  void ExamineConfiguration(const ORVAPOEndpointInfo& info);
  void ExamineRights(const ORVAPOEndpointInfo& info);
  void ExamineStored(const ORVAPOEndpointInfo& info, const Endpoint& endpoint,
                     const std::vector<Mode>& modes);
  std::string ImageFaults(const std::string& value, const ImageBytes& bytes);
  std::optional<Endpoint> ExamineThroughComponent(const ORVAPOEndpointInfo& info);
  std::string MachineFolder() const;  // one word of a command line; empty for the system's machine

  Context& context_;
  Machine& machine_;
  std::string label_;
  std::vector<Check> checks_;
};

}  // namespace orv::cli
