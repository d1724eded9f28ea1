// The DSP objects of an endpoint as values, and the controls that they read.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/session.h"
#include "values/value_list.h"

namespace orv::cli {

struct EqualizerBand {
  std::int32_t frequency = 0;  // Hz
  float gain_db = 0;
  float q = 0;
};

class IntelDsp {
 public:
  // Throws Failure if the endpoint has no such DSP.
  explicit IntelDsp(const Endpoint& endpoint);

  // "skylake" or "broadwell".
  std::string Kind() const;
  struct Versions {
    int api = 0;
    int features = 0;
    std::string module_name;
    std::string module_version;
    std::string component;
  };
  Versions ReadVersions() const;

  // The component's own statuses: E_FAIL when what it read back differs.
  HRESULT WriteControls(const Mode& mode, const std::string& technology, bool set_default) const;
  HRESULT ProcessConfigFile(const std::wstring& path, bool set_default, std::string& error) const;
  HRESULT GetProperty(const std::string& name, bool set_default, std::int32_t& value) const;
  HRESULT PutProperty(const std::string& name, bool set_default, const VARIANT& value) const;
  HRESULT SetEqualizer(KELChannel channel, const std::vector<EqualizerBand>& bands,
                       bool set_default) const;

 private:
  ComPtr<IKELAPOIntelDSP4> object_;
  std::string examination_;  // the remedy for a driver that refuses
};

class QualcommDsp {
 public:
  // Throws Failure if the endpoint has no such DSP.
  explicit QualcommDsp(const Endpoint& endpoint);

  int FormFactor() const;
  void SetFormFactor(int form_factor) const;
  HRESULT WriteControls(const Mode& mode) const;

 private:
  ComPtr<IORVAPOQCDSP> object_;
};

// The driver behind the endpoint, as the component finds it; empty if there is none.
std::string FindDriver(const Endpoint& endpoint);

// A mode's controls as the DSP object of this driver reads them: display name to value.
using DspControlMap = std::map<std::wstring, std::int32_t, std::less<>>;
DspControlMap DspControls(const std::string& driver, const Mode& mode, ORVAPOControlType list);

// The controls of a configuration file's default mode, which the component sends into an Intel DSP;
// none if the file has no such mode. `path` is the machine's, `name` what the user calls the file.
// Throws Failure if it cannot be read.
ORVQVTValueList::Map DspFileControls(Machine& machine, const std::wstring& path,
                                     const std::string& name);

}  // namespace orv::cli
