#include "platform/file_error.h"

namespace orv {

std::string FileError::Text() const {
  std::string text = file.generic_string();
  if (line > 0) text += ":" + std::to_string(line);
  if (!text.empty()) text += ": ";
  return text + reason;
}

}  // namespace orv
