#include <gtest/gtest.h>

#include <cstring>

#include "platform/registry.h"

namespace orv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A value that another process makes longer after each question for its size.
class GrowingValue : public RegistryKey {
 public:
  Bytes content{1, 2};
  int growths_left = 0;
  RegStatus failure = kRegOk;

  RegStatus QueryValue(const std::wstring&, std::uint32_t* type, void* data,
                       std::uint32_t* size) override {
    if (failure != kRegOk) return failure;
    const std::uint32_t room = *size;
    *type = kRegBinary;
    *size = static_cast<std::uint32_t>(content.size());
    if (data == nullptr) {
      if (growths_left-- > 0) content.push_back(9);
      return kRegOk;
    }
    if (room < content.size()) return kRegMoreData;
    std::memcpy(data, content.data(), content.size());
    return kRegOk;
  }
  RegStatus SetValue(const std::wstring&, std::uint32_t, const void*, std::uint32_t) override {
    return kRegAccessDenied;
  }
  RegStatus DeleteValue(const std::wstring&) override { return kRegAccessDenied; }
  RegStatus EnumValue(std::uint32_t, std::wstring&) override { return kRegNoMoreItems; }
  RegStatus EnumSubKey(std::uint32_t, std::wstring&) override { return kRegNoMoreItems; }
  RegStatus NotifyChange(bool, std::uint32_t, Event&) override { return kRegAccessDenied; }
  std::unique_ptr<RegistryKey> Duplicate() override { return nullptr; }
};

class ReadingAValue : public ::testing::Test {
 protected:
  RegStatus Read() { return ReadValue(key, L"image", type, bytes); }

  GrowingValue key;
  std::uint32_t type = 0xCCCCCCCC;
  Bytes bytes{0xCC};
};

TEST_F(ReadingAValue, AsksAgainWhenItGrows) {
  key.growths_left = 3;
  EXPECT_EQ(Read(), kRegOk);
  EXPECT_EQ(type, kRegBinary);
  EXPECT_EQ(bytes, (Bytes{1, 2, 9, 9, 9}));
}

TEST_F(ReadingAValue, GivesUpAValueThatNeverStandsStill) {
  key.growths_left = 1 << 20;
  EXPECT_EQ(Read(), kRegMoreData);
  EXPECT_EQ(bytes, Bytes{0xCC});
}

TEST_F(ReadingAValue, EmptyAndMissingOnes) {
  key.content.clear();
  EXPECT_EQ(Read(), kRegOk);
  EXPECT_EQ(bytes, Bytes{});
  key.failure = kRegNotFound;
  bytes = {0xCC};
  EXPECT_EQ(Read(), kRegNotFound);
  EXPECT_EQ(bytes, Bytes{0xCC});
}

TEST(RegistryTexts, GoThereAndBackAsLittleEndianUnits) {
  const auto text = [](const Bytes& bytes) { return RegistryText(bytes.data(), bytes.size()); };
  EXPECT_EQ(RegistryTextBytes(L"A\xD83C"), (Bytes{0x41, 0, 0x3C, 0xD8, 0, 0}));
  EXPECT_EQ(text(RegistryTextBytes(L"ORV \x20AC")), L"ORV \x20AC");
  EXPECT_EQ(text({0x41, 0, 0, 0, 0x42, 0}), std::nullopt) << "the end is no terminator";
  EXPECT_EQ(text({0x00}), std::nullopt);
}

}  // namespace
}  // namespace orv
