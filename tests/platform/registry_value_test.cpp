#include <gtest/gtest.h>

#include <cstring>

#include "platform/registry.h"

namespace orv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A value that another process makes longer after each question for its size.
class GrowingValue : public RegistryKey {
 public:
  explicit GrowingValue(int growths) : growths_left_(growths) {}

  RegStatus QueryValue(const std::wstring&, std::uint32_t* type, void* data,
                       std::uint32_t* size) override {
    const std::uint32_t room = *size;
    *type = kRegBinary;
    *size = static_cast<std::uint32_t>(content_.size());
    if (data == nullptr) {
      if (growths_left_-- > 0) content_.push_back(9);
      return kRegOk;
    }
    if (room < content_.size()) return kRegMoreData;
    std::memcpy(data, content_.data(), content_.size());
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

 private:
  Bytes content_ = Bytes(2, 1);
  int growths_left_;
};

TEST(ReadingAValue, AsksAgainWhenItGrowsAndGivesUpOneThatNeverStandsStill) {
  std::uint32_t type = 0;
  Bytes bytes{0xCC};
  GrowingValue endless(1 << 20);
  EXPECT_EQ(ReadValue(endless, L"image", type, bytes), kRegMoreData);
  EXPECT_EQ(bytes, Bytes{0xCC});
  GrowingValue growing(3);
  EXPECT_EQ(ReadValue(growing, L"image", type, bytes), kRegOk);
  EXPECT_EQ(type, kRegBinary);
  EXPECT_EQ(bytes, (Bytes{1, 1, 9, 9, 9}));
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
