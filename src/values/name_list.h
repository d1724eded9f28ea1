// Control names (or choices) in order; duplicates are allowed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "values/overridable.h"

namespace orv {

class ORVQVTNameList : public Overridable {
 public:
  virtual bool Contains(const std::string& text) const {  // case-sensitive
    return std::ranges::find(names_, text) != names_.end();
  }
  virtual void Remove(const std::string& text) {  // the first equal one
    const auto found = std::ranges::find(names_, text);
    if (found != names_.end()) names_.erase(found);
  }

  void Add(std::string text) { names_.push_back(std::move(text)); }
  std::size_t Count() const noexcept { return names_.size(); }
  const std::string& operator[](std::size_t position) const { return names_[position]; }
  void Clear() noexcept { names_.clear(); }
  std::vector<std::string>::const_iterator begin() const noexcept { return names_.begin(); }
  std::vector<std::string>::const_iterator end() const noexcept { return names_.end(); }

 private:
  std::vector<std::string> names_;
};

}  // namespace orv
