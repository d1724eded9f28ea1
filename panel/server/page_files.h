// The files of the page as they were built into this program.
#pragma once

#include <span>
#include <string_view>

namespace orv::panel {

struct PageFile {
  std::string_view path;  // "/" for the page itself, "/panel.css"
  std::string_view type;  // of its content
  std::string_view tag;   // weak, as it is the same for both forms; another one for another content
  std::string_view content;
  std::string_view zipped;  // the content, compressed by gzip
};

std::span<const PageFile> PageFiles();

}  // namespace orv::panel
