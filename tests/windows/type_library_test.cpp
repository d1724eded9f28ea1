// The type library inside the built component, walked with the platform's own calls, holds what
// type_library.txt lists. scripts/public_interface.py holds that list against the public header.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "orv_apo/orv_apo.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/guid_text.h"
#include "platform/host_path.h"

namespace orv {
namespace {

std::string Utf8(const UniqueBstr& text) { return Utf8FromWide(ViewOf(text.get())); }

std::string NameOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
  UniqueBstr name;
  EXPECT_EQ(info->GetDocumentation(member, OutPtr(name), nullptr, nullptr, nullptr), S_OK);
  return Utf8(name);
}

ComPtr<ITypeInfo> Referred(ITypeInfo* info, HREFTYPE reference) {
  ComPtr<ITypeInfo> type;
  EXPECT_EQ(info->GetRefTypeInfo(reference, type.Put()), S_OK);
  return type;
}

ComPtr<ITypeInfo> Implemented(ITypeInfo* info, UINT index) {
  HREFTYPE reference = 0;
  EXPECT_EQ(info->GetRefTypeOfImplType(index, &reference), S_OK);
  return Referred(info, reference);
}

// As the header writes it; arrays with their element and size.
std::string Text(ITypeInfo* info, const TYPEDESC& type) {
  static const std::map<VARTYPE, const char*> kNames = {
      {VT_I4, "LONG"},       {VT_UI4, "ULONG"},       {VT_UI2, "USHORT"},
      {VT_UI1, "BYTE"},      {VT_R4, "FLOAT"},        {VT_BSTR, "BSTR"},
      {VT_LPWSTR, "LPWSTR"}, {VT_VARIANT, "VARIANT"}, {VT_HRESULT, "HRESULT"}};
  if (type.vt == VT_PTR)
    return Text(info, *type.lptdesc) + (type.lptdesc->vt == VT_CARRAY ? "" : "*");
  if (type.vt == VT_SAFEARRAY) return "SAFEARRAY(" + Text(info, *type.lptdesc) + ")";
  if (type.vt == VT_CARRAY) {
    std::string text = Text(info, type.lpadesc->tdescElem);
    for (USHORT i = 0; i < type.lpadesc->cDims; ++i)
      text += fmt::format("[{}]", type.lpadesc->rgbounds[i].cElements);
    return text;
  }
  if (type.vt == VT_USERDEFINED) return NameOf(Referred(info, type.hreftype).get());
  const auto known = kNames.find(type.vt);
  return known != kNames.end() ? known->second : fmt::format("type {}", type.vt);
}

std::string Direction(USHORT flags) {
  std::string text = (flags & PARAMFLAG_FIN) != 0 ? "in" : "";
  if ((flags & PARAMFLAG_FOUT) != 0) text += "out";
  if ((flags & PARAMFLAG_FRETVAL) != 0) text += " retval";
  return text;
}

std::string OperationLine(ITypeInfo* info, UINT index, std::set<MEMBERID>& seen) {
  FUNCDESC* function = nullptr;
  EXPECT_EQ(info->GetFuncDesc(index, &function), S_OK);
  EXPECT_EQ(function->callconv, CC_STDCALL);
  EXPECT_EQ(function->funckind, FUNC_PUREVIRTUAL);
  EXPECT_EQ(Text(info, function->elemdescFunc.tdesc), "HRESULT");
  const bool first = seen.insert(function->memid).second;
  BSTR names[8] = {};  // the operation's own comes first
  UINT count = 0;
  EXPECT_EQ(info->GetNames(function->memid, names, 8, &count), S_OK);
  const char* kind = function->invkind == INVOKE_PROPERTYGET   ? "get"
                     : function->invkind == INVOKE_PROPERTYPUT ? "put"
                                                               : "call";
  std::string parameters;
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& parameter = function->lprgelemdescParam[i];
    parameters +=
        fmt::format("{}{} {}", i == 0 ? "" : ", ", Direction(parameter.paramdesc.wParamFlags),
                    Text(info, parameter.tdesc));
    if (first && names[i + 1] != nullptr) parameters += " " + Utf8FromWide(names[i + 1]);
  }
  for (BSTR name : names) SysFreeString(name);
  UniqueBstr help;
  EXPECT_EQ(info->GetDocumentation(function->memid, nullptr, OutPtr(help), nullptr, nullptr), S_OK);
  const std::string help_text =
      first && SysStringLen(help.get()) != 0 ? fmt::format(" \"{}\"", Utf8(help)) : "";
  const std::string line =
      fmt::format("  {} {:x} {} {}({}){}\n", function->oVft / static_cast<int>(sizeof(void*)),
                  static_cast<std::uint32_t>(function->memid), kind, NameOf(info, function->memid),
                  parameters, help_text);
  info->ReleaseFuncDesc(function);
  return line;
}

std::string ConstantLine(ITypeInfo* info, UINT index) {
  VARDESC* constant = nullptr;
  EXPECT_EQ(info->GetVarDesc(index, &constant), S_OK);
  EXPECT_EQ(constant->varkind, VAR_CONST);
  EXPECT_EQ(constant->lpvarValue->vt, VT_I4);
  const std::string line =
      fmt::format("  {} = {}\n", NameOf(info, constant->memid), constant->lpvarValue->lVal);
  info->ReleaseVarDesc(constant);
  return line;
}

std::string ImplementedLine(ITypeInfo* info, UINT index) {
  int flags = -1;
  EXPECT_EQ(info->GetImplTypeFlags(index, &flags), S_OK);
  EXPECT_EQ(flags & ~IMPLTYPEFLAG_FDEFAULT, 0);
  return std::string("  ") + (flags != 0 ? "[default] " : "") +
         NameOf(Implemented(info, index).get()) + "\n";
}

std::string Block(ITypeInfo* info) {
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
  const std::string name = NameOf(info);
  const std::string named = name + " " + Utf8FromWide(GuidText(attributes->guid));
  const auto flag = [&](WORD bit) { return (attributes->wTypeFlags & bit) != 0; };
  std::string text;
  if (attributes->typekind == TKIND_ENUM) {
    text = "enum " + name + "\n";
    for (UINT i = 0; i < attributes->cVars; ++i) text += ConstantLine(info, i);
  } else if (attributes->typekind == TKIND_INTERFACE) {
    text = "interface " + named + " : " + NameOf(Implemented(info, 0).get()) +
           (flag(TYPEFLAG_FNONEXTENSIBLE) ? " nonextensible\n" : "\n");
    std::set<MEMBERID> seen;
    for (UINT i = 0; i < attributes->cFuncs; ++i) text += OperationLine(info, i, seen);
  } else {
    EXPECT_EQ(attributes->typekind, TKIND_COCLASS) << name;
    text = "class " + named + (flag(TYPEFLAG_FCANCREATE) ? "\n" : " noncreatable\n");
    for (UINT i = 0; i < attributes->cImplTypes; ++i) text += ImplementedLine(info, i);
  }
  info->ReleaseTypeAttr(attributes);
  return text;
}

TEST(TypeLibrary, HoldsWhatIsListed) {
  ComPtr<ITypeLib> library;
  ASSERT_EQ(LoadTypeLibEx(DriveZPath(ORV_COMPONENT).c_str(), REGKIND_NONE, library.Put()), S_OK);
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->syskind, SYS_WIN64);
  UniqueBstr name;
  ASSERT_EQ(library->GetDocumentation(-1, OutPtr(name), nullptr, nullptr, nullptr), S_OK);
  std::string found =
      fmt::format("library {} {} {}.{}\n", Utf8(name), Utf8FromWide(GuidText(attributes->guid)),
                  attributes->wMajorVerNum, attributes->wMinorVerNum);
  library->ReleaseTLibAttr(attributes);
  std::set<std::string> blocks;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfo(i, info.Put()), S_OK);
    blocks.insert(Block(info.get()));
  }
  for (const std::string& block : blocks) found += block;

  std::ifstream listed(ORV_TYPE_LIBRARY_LIST);
  std::ostringstream expected;
  expected << listed.rdbuf();
  EXPECT_EQ(found, expected.str());
}

}  // namespace
}  // namespace orv
