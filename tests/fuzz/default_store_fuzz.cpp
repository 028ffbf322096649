// Fuzzes the default secure store's file reader: arbitrary bytes as the store file, then a read,
// a write of a choice and a read back. Besides the sanitizers, it checks that a write the store
// accepted reads back unchanged, whatever the file held before.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cpd_joystick/sd_config.h"

namespace {

constexpr const char* KEY = "joystickPolicyList";
constexpr const char* CHOICE = "[\n   {\n      \"mapping\" : 6\n   }\n]\n";

std::string gFolder;
std::string gPath;

void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    std::abort();
  }
  if (size > 0 && std::fwrite(data, 1, size, file) != size) {
    std::abort();
  }
  std::fclose(file);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  char folder[] = "/tmp/cpd-store-fuzz-XXXXXX";
  if (mkdtemp(folder) == nullptr) {
    std::abort();
  }
  gFolder = folder;
  gPath = gFolder + "/store.json";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): set before any thread starts
  setenv("CPD_JOYSTICK_STORE", gPath.c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  WriteFile(gPath, data, size);
  unlink((gPath + ".corrupt").c_str());
  sd::SDConfig* store = sd::SDConfig::GetInstance();
  if (store == nullptr) {
    std::abort();
  }
  (void)store->GetSecure(KEY);
  if (store->SetSecure(KEY, CHOICE) && store->GetSecure(KEY) != CHOICE) {
    std::fprintf(stderr, "default store fuzz: an accepted write does not read back\n");
    std::abort();
  }
  return 0;
}
