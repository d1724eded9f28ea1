// Configuration files of any size.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace orv {

inline std::string ControlName(int number) { return "VQ3D-Setting " + std::to_string(number); }

// Drive C: with the file C:\config.xml, whose modes have as many public and as many private
// controls, besides the two that name the mode. Exists as long as this object.
class ConfigurationFolder : boost::noncopyable {
 public:
  ConfigurationFolder(int modes, int public_controls, int private_controls)
      : path_(std::filesystem::temp_directory_path() / "orv-bench") {
    std::filesystem::create_directories(path_);
    std::ofstream out(path_ / "config.xml");
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<orv_configuration>\n  <properties>\n"
           "    <control name=\"Product Name\">Bench</control>\n  </properties>\n";
    for (int mode = 0; mode < modes; ++mode) {
      out << "  <operating_mode>\n    <control name=\"ZAPO3-Operating Mode\">Mode" << mode
          << "</control>\n    <control name=\"ZAPO3-Speaker Type\">Internal</control>\n";
      for (int control = 0; control < public_controls + private_controls; ++control) {
        out << "    <control name=\"" << ControlName(control) << "\" public=\""
            << (control < public_controls ? "true" : "false") << "\">" << control * 7
            << "</control>\n";
      }
      out << "  </operating_mode>\n";
    }
    out << "</orv_configuration>\n";
  }
  ~ConfigurationFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }
  std::string file() const { return (path_ / "config.xml").string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace orv
