// Finds what can be wrong with an endpoint between its driver and the component.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/context.h"
#include "endpoints/endpoint_info.h"

namespace orv::cli {

struct Check {
  std::string endpoint;  // empty if the whole machine is meant
  std::string name;
  bool ok = false;
  std::string detail;
  std::string remedy;  // empty if the check is ok
};

// Every active render endpoint, also those that the component leaves out. One whose values cannot
// all be read has an empty key path, one that cannot be read at all has no name either.
std::vector<ORVAPOEndpointInfo> ReadEndpoints(Session& session);

// The endpoint's name, or its identifier if it has none.
std::string NameOf(const ORVAPOEndpointInfo& info);

class Diagnosis {
 public:
  // Rights are examined by writing and removing a value, with `read_only` by opening the key alone.
  Diagnosis(Context& context, bool read_only)
      : context_(context), machine_(context.session().machine()), read_only_(read_only) {}

  void ExamineTechnology();
  // Examines all but the DSP. Returns the endpoint if the component opens it and answers every
  // request.
  std::optional<Endpoint> Examine(const ORVAPOEndpointInfo& info);
  // A check of what was examined last.
  void Add(const char* name, bool ok, const std::string& detail, const std::string& remedy) {
    checks_.push_back({label_, name, ok, detail, ok ? std::string() : remedy});
  }
  const std::vector<Check>& checks() const noexcept { return checks_; }

 private:
  void ExamineEffects(const ORVAPOEndpointInfo& info);
  void ExamineConfiguration(const ORVAPOEndpointInfo& info);
  void ExamineControls(const ORVAPOEndpointInfo& info);
  void ExamineRights(const ORVAPOEndpointInfo& info);
  void ExamineStored(const ORVAPOEndpointInfo& info, const Endpoint& endpoint,
                     const std::vector<Mode>& modes);
  std::string ImageFaults(const std::string& value, const ImageBytes& bytes);
  std::optional<Endpoint> ExamineThroughComponent(const ORVAPOEndpointInfo& info);

  Context& context_;
  Machine& machine_;
  bool read_only_;
  std::string label_;
  std::vector<Check> checks_;
};

}  // namespace orv::cli
