// A character locale for the length of a test.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <clocale>
#include <string>

namespace orv {

class Locale : boost::noncopyable {
 public:
  explicit Locale(const char* name) { known = std::setlocale(LC_CTYPE, name) != nullptr; }
  ~Locale() { std::setlocale(LC_CTYPE, before_.c_str()); }
  bool known = false;  // an unknown name changes nothing

 private:
  std::string before_ = std::setlocale(LC_CTYPE, nullptr);
};

}  // namespace orv
