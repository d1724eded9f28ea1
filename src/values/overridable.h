// What values have in common whose operations a derived class may override.
#pragma once

namespace orv {

// Copied and moved member by member, destroyed through a pointer to a base.
class Overridable {
 public:
  virtual ~Overridable() = default;

 protected:
  Overridable() = default;
  Overridable(const Overridable&) = default;
  Overridable(Overridable&&) noexcept = default;
  Overridable& operator=(const Overridable&) = default;
  Overridable& operator=(Overridable&&) noexcept = default;
};

}  // namespace orv
