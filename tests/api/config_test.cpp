// The configuration's free-form properties.
#include "api_fixture.h"

namespace orv {
namespace {

class ConfigTest : public ApiTest {
 protected:
  static ComPtr<IORVAPOConfigEnumerator> Properties(const ComPtr<IORVEndpointInfo5>& endpoint) {
    return From(endpoint, &IORVEndpointInfo5::get_config_enum);
  }
  static std::pair<std::wstring, std::wstring> Texts(IORVAPOConfigProperty& property) {
    BSTR key = nullptr;
    BSTR value = nullptr;
    EXPECT_EQ(property.get_Key(&key), S_OK);
    EXPECT_EQ(property.get_Value(&value), S_OK);
    return {TakeText(key), TakeText(value)};
  }
};

TEST_F(ConfigTest, PropertiesComeInKeyOrderAndAreFoundByKeyWhateverTheLetterCase) {
  const auto properties = Properties(Endpoint());
  ComPtr<IORVAPOConfigProperty> property;
  EXPECT_EQ(properties->get_ConfigProperty(Bstr(L"product"), property.Put()), E_INVALIDARG);
  ASSERT_EQ(properties->get_ConfigProperty(Bstr(L"product name"), property.Put()), S_OK);
  EXPECT_EQ(Texts(*property),
            std::pair(std::wstring(L"Product Name"), std::wstring(L"Example Audio")));
  EXPECT_THAT((Answers{properties->get_ConfigProperty(nullptr, property.Put()),
                       properties->get_ConfigProperty(Bstr(L"product name"), nullptr),
                       properties->Next(nullptr)}),
              Each(E_POINTER));
  std::vector<std::wstring> keys;
  while (properties->Next(property.Put()) == S_OK) keys.push_back(Texts(*property).first);
  EXPECT_EQ(keys, (std::vector<std::wstring>{L"Product Name", L"ZAPO3-Operating Mode",
                                             L"ZAPO3-Speaker Type"}));
  EXPECT_EQ(properties->Next(property.Put()), S_FALSE);
}

TEST_F(ConfigTest, PropertiesOutliveTheirEndpointAndItsReload) {
  auto endpoint = Endpoint();
  auto properties = Properties(endpoint);
  EXPECT_EQ(endpoint->SetConfig(kORVAPO_EPCfg_DSP), S_OK);
  endpoint.Reset();
  ComPtr<IORVAPOConfigProperty> property;
  ASSERT_EQ(properties->Next(property.Put()), S_OK);
  properties.Reset();
  EXPECT_EQ(Texts(*property).second, L"Example Audio");
}

TEST_F(ConfigTest, ObjectsWithoutAnEndpointFailCleanly) {
  const auto properties = Create<IORVAPOConfigEnumerator>(CLSID_ORVAPOConfigEnumerator);
  const auto lone = Create<IORVAPOConfigProperty>(CLSID_ORVAPOConfigProperty);
  auto* property = Poison<IORVAPOConfigProperty>();
  BSTR text = Poison<wchar_t>();
  EXPECT_THAT(
      (Answers{properties->Next(&property), properties->get_ConfigProperty(Bstr(L"x"), &property),
               lone->get_Key(&text), lone->get_Value(&text)}),
      Each(E_UNEXPECTED));
  EXPECT_EQ(property, Poison<IORVAPOConfigProperty>());
  EXPECT_EQ(text, Poison<wchar_t>());
}

}  // namespace
}  // namespace orv
