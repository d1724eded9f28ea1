// Named, typed values with listeners. Names are compared without regard to letter case; an entry
// keeps the spelling it was first stored under and its place in the order of insertion.
#pragma once

#include <atomic>
#include <boost/core/noncopyable.hpp>
#include <functional>
#include <map>
#include <mutex>
#include <span>

#include "platform/synchronization.h"
#include "properties/property_image.h"

namespace orv {

class ORVPropertySet;
using ImageUse = std::function<bool(std::span<const std::uint8_t> image)>;

// Notified of changes on the thread that makes them, while the set's lock (if it has one) is held.
// During the call a listener may change the set and its listeners. It removes itself before it is
// destroyed.
class IORVPropertySetNotify {
 public:
  virtual ~IORVPropertySetNotify() = default;
  // The entry's value has just changed, or the entry was just added.
  virtual void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) = 0;
  // An existing entry is about to receive this value (it may equal the current one). The set
  // ignores the result.
  virtual bool OnPropertyChanging(ORVPropertySet&, const ORVPropertyEntry&) { return false; }
};

// Not locked: the owner serialises access, or uses ORVPropertySetThreadsafe. Failures are
// reported by the boolean results; only the integer getter throws (boost::bad_lexical_cast), and
// memory may run out.
class ORVPropertySet : boost::noncopyable {
 public:
  virtual ~ORVPropertySet() = default;

  virtual void GetAllProperties(ORVPropertyList& out);
  // Returns false if an entry was left out of the image.
  virtual bool GetAllPropertiesBinary(ImageBytes& out);
  // Replaces the content and calls no listener. After a false result the set has the entries before
  // the fault.
  virtual bool SetAllPropertiesBinary(const ImageBytes& image);
  virtual void MergePropertiesBinary(const ImageBytes& image, bool overwrite_existing,
                                     bool add_new);
  virtual void Clear();  // calls no listener
  virtual void SetAllProperties(const ORVPropertyList& list, bool notify);
  virtual void CopyFrom(ORVPropertySet& other);
  virtual void MergeProperties(const ORVPropertyList& list, bool overwrite_existing, bool add_new);
  virtual void MergeProperties(const ORVPropertySet& other, bool overwrite_existing, bool add_new);

  virtual void SetProperty(const wchar_t* name, const boost::any& value) {
    SetProperty(name, boost::any(value));
  }
  virtual void SetProperty(const std::wstring& name, const char* value) {
    SetProperty(name.c_str(), value);
  }
  virtual void SetProperty(const std::wstring& name, const std::string& value) {
    SetProperty(name.c_str(), value);
  }
  virtual void SetProperty(const wchar_t* name, const char* value) {
    SetProperty(name, boost::any(std::string(value)));
  }
  virtual void SetProperty(const wchar_t* name, const std::string& value) {
    SetProperty(name, boost::any(value));
  }
  virtual void SetProperty(const std::wstring& name, const wchar_t* value) {
    SetProperty(name.c_str(), value);
  }
  virtual void SetProperty(const std::wstring& name, const std::wstring& value) {
    SetProperty(name.c_str(), value);
  }
  virtual void SetProperty(const wchar_t* name, const wchar_t* value) {
    SetProperty(name, boost::any(std::wstring(value)));
  }
  virtual void SetProperty(const wchar_t* name, const std::wstring& value) {
    SetProperty(name, boost::any(value));
  }
  // Stored as the long kind.
  virtual void SetProperty(const std::wstring& name, std::int32_t value) {
    SetProperty(name.c_str(), value);
  }
  virtual void SetProperty(const wchar_t* name, std::int32_t value) {
    SetProperty(name, boost::any(LongValue{value}));
  }

  // Returns false and leaves `out` unchanged if the entry does not exist or its kind has no such
  // form.
  virtual bool GetProperty(const wchar_t* name, boost::any& out);
  virtual bool GetProperty(const std::wstring& name, std::string& out) {
    return GetProperty(name.c_str(), out);
  }
  virtual bool GetProperty(const wchar_t* name, std::string& out);
  virtual bool GetProperty(const std::wstring& name, std::wstring& out) {
    return GetProperty(name.c_str(), out);
  }
  virtual bool GetProperty(const wchar_t* name, std::wstring& out);
  virtual bool GetProperty(const std::wstring& name, std::int32_t& out) {
    return GetProperty(name.c_str(), out);
  }
  virtual bool GetProperty(const wchar_t* name, std::int32_t& out);

  virtual void SetModified(bool modified) { modified_ = modified; }
  virtual bool IsModified() const { return modified_; }
  virtual void AddNotify(IORVPropertySetNotify* listener);
  virtual void RemoveNotify(IORVPropertySetNotify* listener);
  virtual void NotifyChanged(const ORVPropertyEntry& entry);
  virtual bool NotifyChanging(const ORVPropertyEntry& entry);

  // Operations of this build alone; they follow the others, whose order is fixed.

  // Passes the image to `use`, without a copy, while the set's lock (if it has one) is held; `use`
  // does not change the set. Returns the result of `use`, or false without a call if an entry had
  // to be left out.
  virtual bool UseAllPropertiesBinary(const ImageUse& use);
  virtual bool HasProperty(const wchar_t* name) const;
  void SetProperty(const wchar_t* name, boost::any&& value);
  // The set's own lock, for a caller that must not wait for it without limit; null if it has none.
  virtual RecursiveMutex* lock() const { return nullptr; }

 private:
  std::unique_lock<RecursiveMutex> Locked() const;
  // Index of the first entry with this name; the list's size without one.
  std::size_t FindEntry(const wchar_t* name) const;
  // Returns false if the entry at `index` (the size of the list for a new one) has the value
  // already.
  bool Store(std::size_t index, const wchar_t* name, boost::any&& value);
  template <class Call>
  void ForEachListener(Call call);

  std::atomic<bool> modified_{false};
  std::map<IORVPropertySetNotify*, bool> listeners_;
  ORVPropertyList list_;
  bool unique_names_ = true;  // false for a list that was taken over as a whole
  // Names are mostly asked for again or in their order.
  mutable std::size_t last_found_ = 0;
  KeptImage image_;
};

// The same with one recursive lock around every single step, and around a whole merge from another
// set (whose own lock is not taken). The modified flag needs no lock.
class ORVPropertySetThreadsafe : public ORVPropertySet {
 public:
  RecursiveMutex* lock() const override { return &lock_; }

 private:
  mutable RecursiveMutex lock_;
};

}  // namespace orv
