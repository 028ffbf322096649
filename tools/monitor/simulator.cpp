#include "simulator.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#if !defined(CPD_MONITOR_INSTALLED_SIMULATOR_DIR) || !defined(CPD_MONITOR_BUILT_SIMULATOR_DIR)
#error "the simulator's folders, relative to the monitor's own, are set by the build"
#endif

namespace monitor {

namespace {

constexpr const char* SDL_SONAME = "libSDL2-2.0.so.0";
// Set for the second start, so that a simulator that still does not load is reported instead of
// starting the program again and again.
constexpr const char* RESTARTED_MARK = "CPD_JOYSTICK_MONITOR_RESTARTED";
constexpr const char* FOLDER_VARIABLE = "CPD_JOYSTICK_SIM_DIR";

// The user's choice, else the simulator installed beside the monitor, else the one built beside
// it. Both are found from the program's own folder, so an installed monitor works wherever its
// prefix is and never reaches back into a build tree.
std::string SimulatorFolder() {
  const char* chosen =
      std::getenv(FOLDER_VARIABLE);  // NOLINT(concurrency-mt-unsafe): no threads yet
  if (chosen != nullptr && *chosen != '\0') {
    return chosen;
  }
  std::error_code error;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path installed =
      (own.parent_path() / CPD_MONITOR_INSTALLED_SIMULATOR_DIR).lexically_normal();
  const std::filesystem::path built =
      (own.parent_path() / CPD_MONITOR_BUILT_SIMULATOR_DIR).lexically_normal();
  if (std::filesystem::exists(installed / SDL_SONAME, error)) {
    return installed.string();
  }
  return built.string();
}

void Restart(char** argv, const std::string& folder) {
  const char* current = std::getenv("LD_LIBRARY_PATH");  // NOLINT(concurrency-mt-unsafe)
  std::string path = folder;
  if (current != nullptr && *current != '\0') {
    path += ":" + std::string(current);
  }
  setenv("LD_LIBRARY_PATH", path.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no threads yet
  setenv(RESTARTED_MARK, "1", 1);              // NOLINT(concurrency-mt-unsafe)
  execv("/proc/self/exe", argv);
}

}  // namespace

bool AttachSimulator(char** argv, SimulatorApi& api, std::string& error) {
  const std::string folder = SimulatorFolder();
  if (sim::FindLoadedScript(api)) {
    unsetenv(RESTARTED_MARK);  // NOLINT(concurrency-mt-unsafe): no threads yet
    api.setJournalEnabled(0);  // a long interactive run would only grow the journal
    return true;
  }
  if (std::getenv(RESTARTED_MARK) != nullptr) {  // NOLINT(concurrency-mt-unsafe)
    error = "the SDL2 simulator did not load from " + folder + " (is " + SDL_SONAME +
            " there the simulator?)";
    return false;
  }
  const std::string library = folder + "/" + SDL_SONAME;
  if (access(library.c_str(), R_OK) != 0) {
    error = "the SDL2 simulator is not at " + library +
            "; build the sdl_sim target, install it with the monitor, or set " + FOLDER_VARIABLE +
            " to its folder";
    return false;
  }
  Restart(argv, folder);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs yet
  error = "could not start the monitor again on the simulator: " + std::string(strerror(errno));
  return false;
}

TemporaryStore::TemporaryStore() {
  if (std::getenv("CPD_JOYSTICK_STORE") != nullptr) {  // NOLINT(concurrency-mt-unsafe)
    return;
  }
  const char* base = std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
  std::string pattern =
      std::string(base != nullptr && *base == '/' ? base : "/tmp") + "/cpd-joystick-monitor.XXXXXX";
  std::vector<char> folder(pattern.begin(), pattern.end());
  folder.push_back('\0');
  if (mkdtemp(folder.data()) == nullptr) {
    return;
  }
  mFolder = folder.data();
  setenv("CPD_JOYSTICK_STORE", (mFolder + "/store.json").c_str(), 1);  // NOLINT
}

TemporaryStore::~TemporaryStore() {
  if (mFolder.empty()) {
    return;
  }
  std::error_code ignored;
  std::filesystem::remove_all(mFolder, ignored);
}

}  // namespace monitor
