// The shipped DLL exports its public interface and nothing else, read from the export table of
// the DLL as Windows loaded it for this program.
#include <cxxabi.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "cpd_joystick/joystick_api.h"

namespace {

std::string Demangled(const char* name) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                              std::free);
  return status == 0 && text != nullptr ? std::string(text.get()) : std::string(name);
}

// Demangled names in the export directory of a loaded module. Constructors and destructors are
// exported in several variants (complete, base, deleting) that demangle alike; the set keeps one.
std::set<std::string> ExportedNames(HMODULE module) {
  const auto* base = reinterpret_cast<const unsigned char*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& entry =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  std::set<std::string> names;
  if (entry.VirtualAddress == 0) {
    return names;
  }
  const auto* exports =
      reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
  const auto* nameOffsets = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    names.insert(Demangled(reinterpret_cast<const char*>(base + nameOffsets[i])));
  }
  EXPECT_EQ(exports->NumberOfFunctions, exports->NumberOfNames) << "exports by ordinal only";
  return names;
}

TEST(ExportedSymbols, AreExactlyThePublicInterface) {
  std::set<std::string> expected = {
#include "exported_interface.inc"
  };
  // A typeinfo's name string is reached through the typeinfo object; the ELF build lists it as a
  // symbol of its own, a DLL keeps it inside.
  for (auto name = expected.begin(); name != expected.end();) {
    name = name->rfind("typeinfo name for ", 0) == 0 ? expected.erase(name) : std::next(name);
  }
  // Linked by name so that the DLL is loaded for this program.
  ASSERT_NE(reinterpret_cast<void*>(&JoysticAPI_Calibration), nullptr);
  const HMODULE bridge = GetModuleHandleW(L"cpd_joystick.dll");
  ASSERT_NE(bridge, nullptr);
  EXPECT_EQ(ExportedNames(bridge), expected);
}

TEST(ExportedSymbols, DefaultSinkAndStoreExportOnlyTheirBoundary) {
  const HMODULE sink = LoadLibraryW(L"cpd_joystick_log.dll");
  const HMODULE store = LoadLibraryW(L"cpd_joystick_store.dll");
  ASSERT_NE(sink, nullptr);
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(ExportedNames(sink), std::set<std::string>{"quvaniLogPrint"});
  EXPECT_EQ(ExportedNames(store),
            (std::set<std::string>{
                "cpd_joystick_store_begin_update", "cpd_joystick_store_end_update",
                "sd::SDConfig::GetInstance()",
                "sd::SDConfig::GetSecure(std::__cxx11::basic_string<char, std::char_traits<char>, "
                "std::allocator<char> > const&)",
                "sd::SDConfig::SetSecure(std::__cxx11::basic_string<char, std::char_traits<char>, "
                "std::allocator<char> > const&, std::__cxx11::basic_string<char, "
                "std::char_traits<char>, std::allocator<char> > const&)"}));
}

}  // namespace
