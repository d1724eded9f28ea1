#include "properties/property_set_registry.h"

#include <gtest/gtest.h>

#include "properties/property_fixture.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using test::BoundSet;
using test::Content;
using Bytes = std::vector<std::uint8_t>;

class PropertySetRegistry : public testing::Test {
 protected:
  // Type and bytes of a stored value; type 0xFFFFFFFF when there is none.
  std::pair<std::uint32_t, Bytes> Stored(const std::wstring& name) {
    std::uint32_t type = 0;
    Bytes bytes;
    if (ReadValue(*bound_.key, name, type, bytes) != kRegOk) return {0xFFFFFFFF, {}};
    return {type, bytes};
  }
  void Store(const std::wstring& name, std::uint32_t type, const Bytes& bytes) {
    ASSERT_EQ(SetBytes(*bound_.key, name, bytes, type), kRegOk);
  }
  void StoreImage(const std::wstring& name, const ORVPropertyList& list) {
    ImageBytes image;
    ASSERT_TRUE(EncodeImage(list, image));
    Store(name, kRegBinary, image);
  }
  std::wstring StoredContent(const std::wstring& name) {
    ORVPropertyList list;
    DecodeImage(Stored(name).second, ImageReading::Replace, list);
    return Content(list);
  }

  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
  BoundSet bound_{*machine_};
  ORVPropertySet& set_ = bound_.set;
  ORVPropertySetRegistry& binding_ = bound_.binding;
};

TEST_F(PropertySetRegistry, LoadsMergesAndSavesAnImage) {
  StoreImage(L"Mode", {{L"a", 7}, {L"b", 8}});
  set_.SetProperty(L"A", 1);
  EXPECT_TRUE(binding_.LoadBinary(L"Mode", true, true, false));
  EXPECT_EQ(Content(set_), L"A=7");
  EXPECT_TRUE(binding_.LoadBinary(L"Mode", false, false, false));
  EXPECT_EQ(Content(set_), L"a=7 b=8");
  set_.SetProperty(L"b", 9);
  EXPECT_TRUE(binding_.SaveBinary(nullptr));
  EXPECT_EQ(StoredContent(L"Mode"), L"a=7 b=9");
  EXPECT_TRUE(binding_.SaveBinary(L"Other"));
  EXPECT_EQ(StoredContent(L"Other"), L"a=7 b=9");
  set_.SetProperty(L"b", 10);
  EXPECT_TRUE(binding_.SaveBinary(nullptr));
  EXPECT_EQ(StoredContent(L"Other"), L"a=7 b=10") << "the value last saved is the current one";
  EXPECT_EQ(StoredContent(L"Mode"), L"a=7 b=9");
}

TEST_F(PropertySetRegistry, LoadBinaryRejectsOtherContent) {
  StoreImage(L"Mode", {{L"a", 7}});
  ASSERT_TRUE(binding_.LoadBinary(L"Mode", false, false, false));
  Store(L"Number", kRegDword, {1, 2, 3, 4});
  Store(L"Empty", kRegBinary, {});
  for (const wchar_t* name : {L"Number", L"Empty", L"Missing"})
    for (const bool merge : {false, true})
      EXPECT_FALSE(binding_.LoadBinary(name, merge, true, true)) << merge;
  EXPECT_EQ(Content(set_), L"a=7");
  Store(L"Junk", kRegBinary, {1, 2, 3});
  EXPECT_TRUE(binding_.LoadBinary(L"Junk", true, true, true)) << "nothing usable, yet merged";
  EXPECT_EQ(Content(set_), L"a=7");
  EXPECT_FALSE(binding_.LoadBinary(L"Junk", false, true, true));
  set_.SetProperty(L"b", 1);
  EXPECT_TRUE(binding_.SaveBinary(nullptr));
  EXPECT_EQ(StoredContent(L"Junk"), L"b=1") << "the value of the last load that succeeded";
}

TEST_F(PropertySetRegistry, FailedSaveLeavesTheStoredValue) {
  StoreImage(L"Mode", {{L"a", 7}});
  const DiagnosticLog log;
  EXPECT_FALSE(binding_.SaveBinary(L"Mode"));
  EXPECT_TRUE(log.Contains(L"GetAllPropertiesBinary returned 0 length.\n"));
  ASSERT_TRUE(binding_.LoadBinary(L"Mode", false, false, false));
  const ORVPropertyEntry refused[] = {
      {L"b", std::string()}, {L"", 1}, {std::wstring(1105, L'x'), 1}};
  for (const ORVPropertyEntry& entry : refused) {
    set_.SetAllProperties({{L"a", 1}, entry}, false);
    EXPECT_FALSE(binding_.SaveBinary(L"Mode"));
  }
  EXPECT_EQ(StoredContent(L"Mode"), L"a=7");
  set_.SetAllProperties({{L"a", 8}}, false);
  machine_->faults().FailNth("registry.set_value", 1, kRegAccessDenied);
  EXPECT_FALSE(binding_.SaveBinary(L"Other"));
  EXPECT_TRUE(binding_.SaveBinary(nullptr));
  EXPECT_EQ(StoredContent(L"Mode"), L"a=8") << "the value of the last success is the current one";
  EXPECT_FALSE(binding_.SetKey(nullptr));
  EXPECT_FALSE(binding_.SaveBinary(L"Mode") || binding_.SaveValues());
  EXPECT_FALSE(binding_.LoadBinary(L"Mode", true, true, true) || binding_.LoadValues());
}

TEST_F(PropertySetRegistry, ValuesOfTheKeyBecomePropertiesByTheirType) {
  // With the text and kind of what is loaded, if it is.
  constexpr auto kWide = PropertyKind::WideText;
  const std::tuple<std::uint32_t, Bytes, std::optional<std::wstring>, PropertyKind> cases[] = {
      {kRegDword, {0xFE, 0xFF, 0xFF, 0xFF}, L"-2", PropertyKind::Long},
      {kRegDword, {1, 2}, std::nullopt, kWide},
      {kRegDword, {1, 2, 3, 4, 5}, std::nullopt, kWide},
      {kRegBinary, {0xFF, 0}, L"FF00", PropertyKind::SignedBytes},
      {kRegSz, {'a', 0, 0, 0}, L"a", kWide},
      {kRegSz, {}, L"", kWide},
      {kRegSz, {'a', 0, 0, 0, 'b', 0, 0, 0}, L"a", kWide},
      {kRegSz, {'a', 0}, std::nullopt, kWide},
      {kRegSz, {'a', 0, 0}, std::nullopt, kWide},
      {kRegExpandSz, {'%', 0, 'x', 0, '%', 0, 0, 0}, L"%x%", kWide},
      {kRegMultiSz, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}, L"a", kWide},
      {kRegMultiSz, {0, 0}, L"", kWide},
      {kRegMultiSz, {'a', 0}, std::nullopt, kWide},
      {kRegMultiSz, {'a', 0, 0, 0}, std::nullopt, kWide},
      {kRegMultiSz, {'a', 0, 0, 0, 0}, std::nullopt, kWide},
      {kRegMultiSz, {}, std::nullopt, kWide},
      {kRegQword, {1, 2, 3, 4, 5, 6, 7, 8}, std::nullopt, kWide},
  };
  set_.SetProperty(L"old", 1);
  EXPECT_TRUE(binding_.LoadValues());
  EXPECT_EQ(Content(set_), L"");
  for (const wchar_t* name : {L"first", L"last"}) Store(name, kRegDword, {9, 0, 0, 0});
  for (const auto& [type, bytes, text, kind] : cases) {
    Store(L"first", type, bytes);
    EXPECT_EQ(binding_.LoadValues(), text.has_value()) << testing::PrintToString(bytes);
    boost::any loaded;
    ASSERT_EQ(set_.GetProperty(L"first", loaded), text.has_value());
    EXPECT_EQ(WideTextOf(loaded), text);
    EXPECT_EQ(KindOf(loaded), text ? std::optional(kind) : std::nullopt);
    EXPECT_EQ(test::TextOf(set_, L"last"), L"9");
  }
}

TEST_F(PropertySetRegistry, PropertiesBecomeValuesByTheirKind) {
  const std::tuple<boost::any, std::uint32_t, Bytes> cases[] = {
      {LongValue{-2}, kRegDword, {0xFE, 0xFF, 0xFF, 0xFF}},
      {7, kRegDword, {7, 0, 0, 0}},
      {static_cast<short>(-2), kRegDword, {0xFE, 0xFF, 0xFF, 0xFF}},
      {true, kRegDword, {1, 0, 0, 0}},
      {SignedBytes{-1}, kRegBinary, {0xFF}},
      {UnsignedBytes{5, 6}, kRegBinary, {5, 6}},
      {0.5F, kRegSz, {'0', 0, '.', 0, '5', 0, 0, 0}},
      {-0.5, kRegSz, {'-', 0, '0', 0, '.', 0, '5', 0, 0, 0}},
      {std::string("\xE9"), kRegSz, {0xE9, 0, 0, 0}},
      {std::wstring(L"\x20AC"), kRegSz, {0xAC, 0x20, 0, 0}},
      {std::string(), kRegDword, {0, 0, 0, 0}},
      {UnsignedBytes(), kRegDword, {0, 0, 0, 0}},
  };
  Store(L"kept", kRegDword, {9, 0, 0, 0});
  for (const auto& [value, type, bytes] : cases) {
    set_.Clear();
    set_.SetProperty(L"name", value);
    EXPECT_TRUE(binding_.SaveValues());
    set_.SetProperty(L"empty", boost::any());
    EXPECT_FALSE(binding_.SaveValues()) << "an empty value is not written, the rest is";
    EXPECT_EQ(Stored(L"name"), std::pair(type, bytes));
  }
  EXPECT_EQ(Stored(L"empty").first, 0xFFFFFFFF);
  EXPECT_EQ(Stored(L"kept").first, kRegDword);
}

TEST_F(PropertySetRegistry, AutoSaveWritesEveryChangeUnderTheCurrentName) {
  StoreImage(L"Mode", {{L"a", 1}});
  ASSERT_TRUE(binding_.LoadBinary(L"Mode", false, false, false));
  binding_.EnableAutoSave(true, L"Ignored");
  set_.SetProperty(L"a", 2);
  EXPECT_EQ(StoredContent(L"Mode"), L"a=2");

  ORVPropertySet other;
  binding_.SetPropertySet(&other);
  other.SetProperty(L"b", 4);
  EXPECT_EQ(StoredContent(L"Mode"), L"b=4");
  binding_.EnableAutoSave(false, L"");
  other.SetProperty(L"b", 5);
  EXPECT_EQ(StoredContent(L"Mode"), L"b=4");
  EXPECT_EQ(Stored(L"Ignored").first, 0xFFFFFFFF);

  binding_.SetPropertySet(&set_);
  {
    ORVPropertySetRegistry short_lived;
    short_lived.SetPropertySet(&set_);
    short_lived.EnableAutoSave(true, L"");
  }
  set_.SetProperty(L"a", 6);  // a set that outlives its binding does not call it
}

}  // namespace
}  // namespace orv
