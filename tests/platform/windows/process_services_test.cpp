// Features of the Windows build's process services only.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/debug_output.h"
#include "platform/dynamic_library.h"
#include "platform/files.h"
#include "platform/text.h"
#include "platform/windows/substituted_call.h"
#include "platform/windows/system_calls.h"
#include "support/locale.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

std::string received;

// Debug output travels as an exception that a debugger takes: the text with its terminator, in the
// system's code page.
LONG CALLBACK Listen(EXCEPTION_POINTERS* pointers) {
  constexpr DWORD kDebugOutput = 0x40010006;
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  if (record.ExceptionCode != kDebugOutput) return EXCEPTION_CONTINUE_SEARCH;
  received.assign(reinterpret_cast<const char*>(record.ExceptionInformation[1]),
                  record.ExceptionInformation[0] - 1);
  return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(DebugOutput, ReachesADebugger) {
  void* listener = ::AddVectoredExceptionHandler(1, &Listen);
  EXPECT_TRUE(DebugOutputWanted());
  WriteDebugOutput(L"line of a diagnostic\n");
  ::RemoveVectoredExceptionHandler(listener);
  EXPECT_EQ(received, "line of a diagnostic\n");
}

std::filesystem::path SampleModule() {
  return std::filesystem::path(HostProgramPath()).parent_path() / ORV_SAMPLE_MODULE;
}

// U+4E2D, U+97F3 and a character outside the first plane: in no western code page.
constexpr wchar_t kUnusualFolder[] = L"M\x00F6hre \x4E2D\x97F3 \xD83C\xDFA7";

TEST(Module, LoadsFromAFolderThatNoCodePageNames) {
  const TemporaryFolder folder;
  const auto file = folder.path() / kUnusualFolder / "module.dll";
  std::filesystem::create_directory(file.parent_path());
  std::filesystem::copy_file(SampleModule(), file);
  {
    DynamicLibrary module;
    EXPECT_EQ(module.Find("OwnPath"), nullptr);
    ASSERT_TRUE(module.Load(file));
    EXPECT_EQ(module.Find("NoSuchSymbol"), nullptr);
    DynamicLibrary moved(std::move(module));
    EXPECT_FALSE(module.loaded());
    const auto own_path = reinterpret_cast<const wchar_t* (*)()>(moved.Find("OwnPath"));
    ASSERT_NE(own_path, nullptr);
    EXPECT_EQ(own_path(), file.native());
    EXPECT_EQ(OwnModulePath(), HostProgramPath());
  }
  // A loaded module could not be deleted.
  EXPECT_TRUE(std::filesystem::remove(file));
}

TEST(Module, IsNeitherAnyFileNorASystemLibraryByName) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "text.dll") << "no module";
  DynamicLibrary module;
  EXPECT_FALSE(module.Load(folder.path() / "text.dll"));
  EXPECT_FALSE(module.Load(folder.path() / "missing.dll"));
  EXPECT_FALSE(module.Load("setupapi.dll"));
  EXPECT_FALSE(module.loaded());
}

TEST(Replacement, WaitsForAReaderThatClosesTheFile) {
  const TemporaryFolder folder;
  const auto file = folder.path() / kUnusualFolder;
  std::string reason;
  ASSERT_TRUE(ReplaceFileContent(file, "old", reason)) << reason;
  Event open(Event::Kind::ManualReset);
  const auto reader = Thread::Start([&] {
    const HANDLE handle = ::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                        OPEN_EXISTING, 0, nullptr);
    open.Set();
    ::Sleep(30);
    return ::CloseHandle(handle) != 0 ? 1U : 0U;
  });
  ASSERT_TRUE(reader && open.Wait());
  EXPECT_TRUE(ReplaceFileContent(file, "new", reason)) << reason;
  EXPECT_TRUE(reader->Wait(std::chrono::seconds(30)));
  EXPECT_EQ(ReadWholeFile(file, 100, reason), "new");
}

ORV_SYSTEM_CALL(attributes_call, GetFileAttributesW);
ORV_SYSTEM_CALL(final_path_call, GetFinalPathNameByHandleW);

TEST(Replacement, WritesToTheFileThatALinkLeadsTo) {
  const TemporaryFolder folder;
  static const auto file = folder.path() / kUnusualFolder;
  const auto link = folder.path() / "link";
  std::string reason;
  ASSERT_TRUE(ReplaceFileContent(file, "old", reason)) << reason;
  constexpr DWORD kUnprivileged = 2;
  ::CreateSymbolicLinkW(link.c_str(), file.c_str(), kUnprivileged);
  const bool is_link = std::filesystem::exists(link);
  std::optional<SubstitutedCall<decltype(attributes_call)>> attributes;
  std::optional<SubstitutedCall<decltype(final_path_call)>> final_path;
  if (!is_link) {
    // Seen on Wine 8.0: success, but no link. The calls answer as they would for one.
    ASSERT_TRUE(ReplaceFileContent(link, "link", reason)) << reason;
    attributes.emplace(attributes_call, [](LPCWSTR) -> DWORD {
      return FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT;
    });
    final_path.emplace(final_path_call, [](HANDLE, LPWSTR path, DWORD size, DWORD) -> DWORD {
      return static_cast<DWORD>((L"\\\\?\\" + file.native()).copy(path, size));
    });
  }
  EXPECT_TRUE(ReplaceFileContent(link, "new", reason)) << reason;
  final_path.reset();
  attributes.reset();
  EXPECT_EQ(ReadWholeFile(file, 100, reason), "new");
  EXPECT_EQ(ReadWholeFile(link, 100, reason), is_link ? "new" : "link");
}

// The file system finds any letter case by itself; a drive's name must not lead out.
TEST(PathLookup, NeverLeavesTheFolder) {
  const TemporaryFolder folder;
  std::filesystem::create_directories(folder.path() / "Tools");
  const auto found = FindBelow(folder.path(), "other/../TOOLS/");
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->exists);
  EXPECT_TRUE(std::filesystem::equivalent(found->path, folder.path() / "Tools"));
  for (const char* outside : {"../x", "Tools/../../x", "C:", "Tools/C:/windows", "..\\x", "a\\b"})
    EXPECT_FALSE(FindBelow(folder.path(), outside)) << outside;
}

TEST(CRuntimePath, IsInTheSystemsCodePageOrNotAtAll) {
  EXPECT_EQ(CRuntimePath(L"C:\\a\\b.xml"), "C:\\a\\b.xml");
  EXPECT_EQ(CRuntimePath(kUnusualFolder), std::nullopt);
  EXPECT_EQ(CRuntimePath(std::wstring(L"a\0b", 3)), std::nullopt);
  EXPECT_EQ(CRuntimePath({}), std::nullopt);
}

ORV_SYSTEM_CALL(code_page_call, GetACP);
ORV_SYSTEM_CALL(convert_call, WideCharToMultiByte);

TEST(CRuntimePath, NamesEveryFileWhenTheCodePageIsUtf8) {
  static const auto original = convert_call;
  const SubstitutedCall code_page(code_page_call, []() -> UINT { return CP_UTF8; });
  const SubstitutedCall convert(
      convert_call,
      [](UINT page, DWORD flags, LPCWCH wide, int size, LPSTR narrow, int room, LPCCH replacement,
         LPBOOL is_replaced) -> int {
        // Windows refuses for this page what Wine accepts.
        if ((flags & ~DWORD{WC_ERR_INVALID_CHARS}) != 0 || is_replaced != nullptr) return 0;
        return original(page == CP_ACP ? CP_UTF8 : page, flags, wide, size, narrow, room,
                        replacement, is_replaced);
      });
  EXPECT_EQ(CRuntimePath(kUnusualFolder), Utf8FromWide(kUnusualFolder));
  EXPECT_EQ(CRuntimePath(L"half a character \xD83C"), std::nullopt);
}

ORV_SYSTEM_CALL(message_call, FormatMessageW);

TEST(SystemErrorText, IsUtf8WithoutLineEndWhateverTheLanguage) {
  EXPECT_EQ(SystemErrorText(ERROR_FILE_NOT_FOUND), "No such file or directory");
  EXPECT_EQ(SystemErrorText(0xABCDEF), "System error 11259375");
  const SubstitutedCall language(
      message_call, [](DWORD, LPCVOID, DWORD, DWORD, LPWSTR text, DWORD size, va_list*) -> DWORD {
        return static_cast<DWORD>(
            std::wstring(L"\x4E2D\x97F3 gel\x00F6scht. \r\n").copy(text, size));
      });
  EXPECT_EQ(SystemErrorText(ERROR_KEY_DELETED), Utf8FromWide(L"\x4E2D\x97F3 gel\x00F6scht"));
}

TEST(CodePage, WithCharactersOfTwoBytes) {
  const Locale locale(".932");
  ASSERT_TRUE(locale.known);
  EXPECT_EQ(Widen("\x89\xB9 dB"), L"\x97F3 dB");
  EXPECT_EQ(Narrow(L"\x97F3 dB"), "\x89\xB9 dB");
  EXPECT_EQ(Widen("cut \x89"), L"");
}

}  // namespace
}  // namespace orv
