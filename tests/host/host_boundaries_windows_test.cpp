// On Windows a host brings its own log sink and secure store as cpd_joystick_log.dll and
// cpd_joystick_store.dll in its own folder, which Windows searches before any other; the bridge's
// DLL, loaded from elsewhere beside the default ones, is then bound to the host's. This program
// is such a host: its folder holds the capturing sink and the recording store under those names.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "log_capture.h"

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Where each function that `module` imports by name from `dllName` was bound by the loader.
std::map<std::string, const void*> BoundImports(HMODULE module, const std::string& dllName) {
  const auto* base = reinterpret_cast<const unsigned char*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& entry =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  std::map<std::string, const void*> bound;
  for (const auto* import =
           reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + entry.VirtualAddress);
       import->Name != 0; ++import) {
    if (Lower(reinterpret_cast<const char*>(base + import->Name)) != Lower(dllName)) {
      continue;
    }
    const auto* names =
        reinterpret_cast<const IMAGE_THUNK_DATA*>(base + import->OriginalFirstThunk);
    const auto* addresses = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + import->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) {
        continue;
      }
      const auto* byName =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      // The loader wrote the bound address over the import's slot as an integer.
      bound[reinterpret_cast<const char*>(byName->Name)] = reinterpret_cast<const void*>(
          addresses->u1.Function);  // NOLINT(performance-no-int-to-ptr)
    }
  }
  return bound;
}

std::wstring ModulePath(HMODULE module) {
  std::vector<wchar_t> path(32768);
  const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
  return {path.data(), length};
}

std::wstring Folder(const std::wstring& path) {
  return path.substr(0, path.find_last_of(L"\\/"));
}

// The file of the module that holds `address`.
std::wstring DefiningModule(const void* address) {
  HMODULE module = nullptr;
  if (GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          static_cast<LPCWSTR>(address), &module) == 0) {
    return L"<unresolved>";
  }
  return ModulePath(module);
}

HMODULE Bridge() {
  return GetModuleHandleW(L"cpd_joystick.dll");
}

std::wstring ThisFolder() {
  return Folder(ModulePath(nullptr));
}

TEST(HostBoundaries, LibraryLinesReachTheHostsOwnSink) {
  JoysticAPI_UnregsisterNotify(nullptr);
  const std::vector<cpd::test::LogLine> lines = cpd::test::CapturedLogs();
  ASSERT_EQ(lines.size(), 3U);  // "%p", "begin", "end"
  EXPECT_EQ(lines[1].body, cpd::test::DebugBody("begin"));
  EXPECT_EQ(lines[1].function, "Stop");
  EXPECT_EQ(lines[2].body, cpd::test::DebugBody("end"));
}

TEST(HostBoundaries, BridgeComesFromItsOwnFolderBesideTheDefaults) {
  ASSERT_NE(Bridge(), nullptr);
  const std::wstring bridgeFolder = Folder(ModulePath(Bridge()));
  EXPECT_NE(bridgeFolder, ThisFolder());
  EXPECT_NE(GetFileAttributesW((bridgeFolder + L"\\cpd_joystick_log.dll").c_str()),
            INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(GetFileAttributesW((bridgeFolder + L"\\cpd_joystick_store.dll").c_str()),
            INVALID_FILE_ATTRIBUTES);
}

TEST(HostBoundaries, SinkBindsToTheHostsDefinition) {
  const std::map<std::string, const void*> bound = BoundImports(Bridge(), "cpd_joystick_log.dll");
  ASSERT_EQ(bound.count("quvaniLogPrint"), 1U);
  EXPECT_EQ(Folder(DefiningModule(bound.at("quvaniLogPrint"))), ThisFolder());
}

TEST(HostBoundaries, StoreBindsToTheHostsDefinitions) {
  const std::map<std::string, const void*> bound = BoundImports(Bridge(), "cpd_joystick_store.dll");
  const std::vector<std::string> members = {
      "_ZN2sd8SDConfig11GetInstanceEv",
      "_ZN2sd8SDConfig9GetSecureERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
      "_ZN2sd8SDConfig9SetSecureERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES8_"};
  for (const std::string& member : members) {
    ASSERT_EQ(bound.count(member), 1U) << member;
    EXPECT_EQ(Folder(DefiningModule(bound.at(member))), ThisFolder()) << member;
  }
}

}  // namespace
