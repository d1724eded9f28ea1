// The type library inside the built component, walked with the platform's own calls, says what the
// public header says, and of each operation what type_library_operations.h says beyond it.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "type_library_operations.h"

namespace orv {
namespace {

struct HeaderConstant {
  const wchar_t* enumeration;
  const wchar_t* name;
  LONG value;
};
struct HeaderInterface {
  const wchar_t* name;
  const IID* id;
  const wchar_t* base;
};
struct HeaderOperation {
  const wchar_t* interface_name;
  const wchar_t* name;
  INVOKEKIND kind;
  const wchar_t* parameters;
};
struct HeaderClass {
  const wchar_t* name;
  const CLSID* id;
};

#include "public_interface.inc"

static_assert(std::size(kLibraryOperations) == std::size(kOperations));

using Names = std::vector<std::wstring>;

std::wstring Take(BSTR text) {
  const std::wstring result(text, SysStringLen(text));
  SysFreeString(text);
  return result;
}

class Type {
 public:
  explicit Type(ComPtr<ITypeInfo> info) : info_(std::move(info)) {
    EXPECT_EQ(info_->GetTypeAttr(&attributes_), S_OK);
  }
  ~Type() { info_->ReleaseTypeAttr(attributes_); }
  Type(const Type&) = delete;
  Type& operator=(const Type&) = delete;

  ITypeInfo* operator->() const { return info_.get(); }
  const TYPEATTR& attributes() const { return *attributes_; }
  std::wstring Name(MEMBERID member = MEMBERID_NIL) const {
    BSTR name = nullptr;
    EXPECT_EQ(info_->GetDocumentation(member, &name, nullptr, nullptr, nullptr), S_OK);
    return Take(name);
  }
  std::wstring Help(MEMBERID member) const {
    BSTR help = nullptr;
    EXPECT_EQ(info_->GetDocumentation(member, nullptr, &help, nullptr, nullptr), S_OK);
    return Take(help);
  }
  ComPtr<ITypeInfo> Referred(HREFTYPE reference) const {
    ComPtr<ITypeInfo> info;
    EXPECT_EQ(info_->GetRefTypeInfo(reference, info.Put()), S_OK);
    return info;
  }
  ComPtr<ITypeInfo> Implemented(UINT index) const {
    HREFTYPE reference = 0;
    EXPECT_EQ(info_->GetRefTypeOfImplType(index, &reference), S_OK);
    return Referred(reference);
  }
  // As the header writes it; an array of fixed size is the pointer that it decays to.
  std::wstring Text(const TYPEDESC& type) const {
    static const std::map<VARTYPE, const wchar_t*> kNames = {
        {VT_I4, L"LONG"},         {VT_UI4, L"ULONG"},
        {VT_UI2, L"USHORT"},      {VT_UI1, L"BYTE"},
        {VT_R4, L"FLOAT"},        {VT_BSTR, L"BSTR"},
        {VT_LPWSTR, L"LPWSTR"},   {VT_VARIANT, L"VARIANT"},
        {VT_HRESULT, L"HRESULT"}, {VT_SAFEARRAY, L"SAFEARRAY*"}};
    if (type.vt == VT_PTR) {
      const bool array = type.lptdesc->vt == VT_CARRAY;
      return Text(*type.lptdesc) + (array ? L"" : L"*");
    }
    if (type.vt == VT_CARRAY) return Text(type.lpadesc->tdescElem) + L"*";
    if (type.vt == VT_USERDEFINED) return Type(Referred(type.hreftype)).Name();
    const auto known = kNames.find(type.vt);
    return known != kNames.end() ? known->second : L"VARTYPE " + std::to_wstring(type.vt);
  }

 private:
  ComPtr<ITypeInfo> info_;
  TYPEATTR* attributes_ = nullptr;
};

std::wstring Words(USHORT flags) {
  static const std::map<USHORT, const wchar_t*> kWords = {
      {PARAMFLAG_FIN, L"in"},
      {PARAMFLAG_FOUT, L"out"},
      {PARAMFLAG_FOUT | PARAMFLAG_FRETVAL, L"out retval"}};
  const auto known = kWords.find(flags);
  return known != kWords.end() ? known->second : L"flags " + std::to_wstring(flags);
}

class Function {
 public:
  Function(const Type& type, UINT index) : type_(type) {  // which outlives it
    EXPECT_EQ(type->GetFuncDesc(index, &description_), S_OK);
  }
  ~Function() { type_->ReleaseFuncDesc(description_); }
  Function(const Function&) = delete;
  Function& operator=(const Function&) = delete;

  const FUNCDESC* operator->() const { return description_; }
  const ELEMDESC& Parameter(SHORT index) const { return description_->lprgelemdescParam[index]; }
  std::wstring Parameters() const {
    std::wstring text;
    for (SHORT i = 0; i < description_->cParams; ++i)
      text += (i == 0 ? L"" : L", ") + type_.Text(Parameter(i).tdesc);
    return text;
  }
  // Direction and, if `named`, name of each, as far as the library keeps the names.
  std::wstring Directions(bool named) const {
    BSTR names[8] = {};  // the operation's own comes first
    UINT count = 0;
    EXPECT_EQ(type_->GetNames(description_->memid, names, 8, &count), S_OK);
    std::wstring text;
    for (SHORT i = 0; i < description_->cParams; ++i) {
      text += (i == 0 ? L"" : L", ") + Words(Parameter(i).paramdesc.wParamFlags);
      if (named && names[i + 1] != nullptr) text += L" " + std::wstring(names[i + 1]);
    }
    for (BSTR name : names) SysFreeString(name);
    return text;
  }

 private:
  const Type& type_;
  FUNCDESC* description_ = nullptr;
};

class TypeLibraryTest : public ::testing::Test {
 protected:
  TypeLibraryTest() { EXPECT_EQ(LoadTypeLibEx(Component(), REGKIND_NONE, library_.Put()), S_OK); }

  static const wchar_t* Component() {
    static const std::wstring path = [] {
      const std::string narrow = ORV_COMPONENT;
      std::wstring wide = L"Z:" + std::wstring(narrow.begin(), narrow.end());
      for (wchar_t& unit : wide)
        if (unit == L'/') unit = L'\\';
      return wide;
    }();
    return path.c_str();
  }
  Type Find(const GUID& id) {
    ComPtr<ITypeInfo> info;
    EXPECT_EQ(library_->GetTypeInfoOfGuid(id, info.Put()), S_OK);
    return Type(std::move(info));
  }
  // The index of a member's first function in its interface.
  static int IndexOf(const wchar_t* interface_name, const wchar_t* operation) {
    int index = 0;
    for (const HeaderOperation& row : kOperations) {
      if (std::wstring(row.interface_name) != interface_name) continue;
      if (std::wstring(row.name) == operation) return index;
      ++index;
    }
    return -1;
  }
  // As the header names it.
  static std::wstring Method(const HeaderOperation& row) {
    const bool get = row.kind == INVOKE_PROPERTYGET;
    const wchar_t* prefix = get ? L"get_" : row.kind == INVOKE_PROPERTYPUT ? L"put_" : L"";
    return std::wstring(row.interface_name) + L"::" + prefix + row.name;
  }
  static int OperationsOf(const std::wstring& interface_name) {
    int count = 0;
    for (const HeaderOperation& row : kOperations) count += row.interface_name == interface_name;
    return count;
  }
  static const HeaderInterface* InterfaceNamed(const std::wstring& name) {
    for (const HeaderInterface& row : kInterfaces)
      if (row.name == name) return &row;
    return nullptr;
  }
  // Steps between an interface and IUnknown, and the slots of all it stands on.
  static void Below(const HeaderInterface& row, int& depth, int& slots) {
    depth = 1;
    slots = 3;
    for (auto* base = InterfaceNamed(row.base); base != nullptr;
         base = InterfaceNamed(base->base)) {
      ++depth;
      slots += OperationsOf(base->name);
    }
  }
  void ExpectOperation(const Type& type, const HeaderOperation& row, int index, int depth,
                       int slot);

  ComPtr<ITypeLib> library_;
};

TEST_F(TypeLibraryTest, IsTheComponentsFirstTypeLibrary) {
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, LIBID_ORV_APO2011_ControllerLib);
  EXPECT_EQ(attributes->wMajorVerNum, 1);
  EXPECT_EQ(attributes->wMinorVerNum, 4);
  EXPECT_EQ(attributes->syskind, SYS_WIN64);
  library_->ReleaseTLibAttr(attributes);
  BSTR name = nullptr;
  ASSERT_EQ(library_->GetDocumentation(-1, &name, nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(Take(name), L"ORV_APO2011_ControllerLib");

  std::set<std::wstring> enumerations;
  for (const HeaderConstant& row : kConstants) enumerations.insert(row.enumeration);
  EXPECT_EQ(library_->GetTypeInfoCount(),
            std::size(kInterfaces) + std::size(kClasses) + enumerations.size());
}

TEST_F(TypeLibraryTest, EnumerationsHoldTheHeadersConstants) {
  std::map<std::wstring, std::map<std::wstring, LONG>> expected;
  for (const HeaderConstant& row : kConstants) expected[row.enumeration][row.name] = row.value;
  std::map<std::wstring, std::map<std::wstring, LONG>> found;
  for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library_->GetTypeInfo(i, info.Put()), S_OK);
    const Type type(std::move(info));
    if (type.attributes().typekind != TKIND_ENUM) continue;
    for (UINT member = 0; member < type.attributes().cVars; ++member) {
      VARDESC* constant = nullptr;
      ASSERT_EQ(type->GetVarDesc(member, &constant), S_OK);
      EXPECT_EQ(constant->varkind, VAR_CONST);
      EXPECT_EQ(constant->lpvarValue->vt, VT_I4);
      found[type.Name()][type.Name(constant->memid)] = constant->lpvarValue->lVal;
      type->ReleaseVarDesc(constant);
    }
  }
  EXPECT_EQ(found, expected);
}

void TypeLibraryTest::ExpectOperation(const Type& type, const HeaderOperation& row, int index,
                                      int depth, int slot) {
  const Function function(type, static_cast<UINT>(index));
  EXPECT_EQ(type.Name(function->memid), row.name);
  EXPECT_EQ(function->invkind, row.kind);
  EXPECT_EQ(function->oVft, slot * static_cast<int>(sizeof(void*)));
  EXPECT_EQ(function->callconv, CC_STDCALL);
  EXPECT_EQ(function->funckind, FUNC_PUREVIRTUAL);
  EXPECT_EQ(type.Text(function->elemdescFunc.tdesc), L"HRESULT");
  EXPECT_EQ(function.Parameters(), row.parameters);
  // A property's get and put share the number of the one that comes first. Names and help text are
  // found by the number, so those of the other are not to be had.
  const int first = IndexOf(row.interface_name, row.name);
  EXPECT_EQ(function->memid, (0x6000 + depth) * 0x10000 + first);
  const LibraryOperation* expected = kLibraryOperations + (&row - kOperations);
  EXPECT_EQ(Method(row), expected->method);
  if (index == first) {
    EXPECT_EQ(function.Directions(true), expected->parameters);
    EXPECT_EQ(type.Help(function->memid), expected->help);
  } else {
    static const std::wregex kNamed(L"(in|out|retval) (?!retval)\\w+");
    EXPECT_EQ(function.Directions(false), std::regex_replace(expected->parameters, kNamed, L"$1"));
  }
}

TEST_F(TypeLibraryTest, InterfacesHaveTheHeadersSlotsWithDirectionsAndHelpTexts) {
  for (const HeaderInterface& row : kInterfaces) {
    SCOPED_TRACE(row.name);
    const Type type = Find(*row.id);
    int depth = 0;
    int slots = 0;
    Below(row, depth, slots);
    EXPECT_EQ(type.Name(), row.name);
    EXPECT_EQ(type.attributes().typekind, TKIND_INTERFACE);
    EXPECT_EQ(Type(type.Implemented(0)).Name(), row.base);
    const bool endpoint = std::wstring(row.name).starts_with(L"IORVEndpointInfo");
    EXPECT_EQ(type.attributes().wTypeFlags, endpoint ? TYPEFLAG_FNONEXTENSIBLE : 0);
    ASSERT_EQ(type.attributes().cFuncs, OperationsOf(row.name));
    EXPECT_EQ(type.attributes().cbSizeVft,
              (slots + OperationsOf(row.name)) * static_cast<int>(sizeof(void*)));
    int index = 0;
    for (const HeaderOperation& operation : kOperations) {
      if (std::wstring(operation.interface_name) != row.name) continue;
      SCOPED_TRACE(operation.name);
      ExpectOperation(type, operation, index, depth, slots + index);
      ++index;
    }
  }
}

TEST_F(TypeLibraryTest, ArraysKeepTheirSizeAndElements) {
  const Type analysis = Find(IID_IAnalysisData);
  const Function peaks(analysis, 0);
  const TYPEDESC* type = &peaks.Parameter(0).tdesc;
  if (type->vt == VT_PTR) type = type->lptdesc;
  ASSERT_EQ(type->vt, VT_CARRAY);
  EXPECT_EQ(type->lpadesc->cDims, 1);
  EXPECT_EQ(type->lpadesc->rgbounds[0].cElements, 8U);
  EXPECT_EQ(peaks.Parameter(0).paramdesc.wParamFlags, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL);
  const Type intel = Find(IID_IKELAPOIntelDSP2);
  const Function equaliser(intel, 3);
  EXPECT_EQ(equaliser.Parameter(1).tdesc.lptdesc->vt, VT_R4);
  EXPECT_EQ(equaliser.Parameter(2).tdesc.lptdesc->vt, VT_R4);
  EXPECT_EQ(equaliser.Parameter(3).tdesc.lptdesc->vt, VT_I4);
}

TEST_F(TypeLibraryTest, ClassesNameTheirInterfacesAndWhoMakesThem) {
  const std::map<std::wstring, Names> interfaces = {
      {L"ORVAPOSystem", {L"IORVAPOSystem"}},
      {L"ORVEndpointEnumerator", {L"IORVEndpointEnumerator"}},
      {L"ORVCOMEndpointInfo",
       {L"IORVEndpointInfo", L"IORVEndpointInfo2", L"IORVEndpointInfo3", L"IORVEndpointInfo4",
        L"IORVEndpointInfo5"}},
      {L"ORVOperatingMode", {L"IORVOperatingMode"}},
      {L"ORVAPOControlEnumerator", {L"IORVAPOControlEnumerator", L"IORVAPOControlEnumerator2"}},
      {L"ORVAPOCOMControl", {L"IORVAPOControl"}},
      {L"ORVAPOOpModeEnumerator", {L"IORVAPOOpModeEnumerator"}},
      {L"ORVAPOQCDSP", {L"IORVAPOQCDSP"}},
      {L"ORVAPOConfigEnumerator", {L"IORVAPOConfigEnumerator"}},
      {L"ORVAPOConfigProperty", {L"IORVAPOConfigProperty"}},
      {L"AnalysisData", {L"IAnalysisData"}},
      {L"KELAPOIntelDSP",
       {L"IKELAPOIntelDSP", L"IKELAPOIntelDSP2", L"IKELAPOIntelDSP3", L"IKELAPOIntelDSP4"}},
      {L"RegistrySettings", {L"IUpdateRegistrySettings"}},
  };
  const std::set<std::wstring> creatable = {
      L"ORVAPOSystem",   L"ORVAPOCOMControl",       L"ORVAPOQCDSP",
      L"KELAPOIntelDSP", L"ORVAPOConfigEnumerator", L"ORVAPOConfigProperty"};
  ASSERT_EQ(std::size(kClasses), interfaces.size());
  for (const HeaderClass& row : kClasses) {
    SCOPED_TRACE(row.name);
    const Type type = Find(*row.id);
    EXPECT_EQ(type.Name(), row.name);
    EXPECT_EQ(type.attributes().typekind, TKIND_COCLASS);
    EXPECT_EQ((type.attributes().wTypeFlags & TYPEFLAG_FCANCREATE) != 0,
              creatable.contains(row.name));
    Names found;
    for (UINT i = 0; i < type.attributes().cImplTypes; ++i) {
      int flags = -1;
      EXPECT_EQ(type->GetImplTypeFlags(i, &flags), S_OK);
      EXPECT_EQ(flags, i == 0 ? IMPLTYPEFLAG_FDEFAULT : 0);
      found.push_back(Type(type.Implemented(i)).Name());
    }
    EXPECT_EQ(found, interfaces.at(row.name));
  }
}

}  // namespace
}  // namespace orv
