// The shipped library exports its public interface and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {

// Demangled names of the dynamic symbols the library defines. Names only: the posix format's
// size field can be a lone hexadecimal letter, which reads like a symbol type.
std::set<std::string> DefinedDynamicSymbols() {
  const std::string command =
      std::string("nm -D --defined-only -C --format=just-symbols '") + CPD_JOYSTICK_LIBRARY + "'";
  FILE* pipe = popen(command.c_str(), "r");
  EXPECT_NE(pipe, nullptr);
  std::string output;
  char buffer[512];
  while (pipe != nullptr && fgets(buffer, sizeof buffer, pipe) != nullptr) {
    output += buffer;
  }
  EXPECT_EQ(pipe != nullptr ? pclose(pipe) : -1, 0);
  std::set<std::string> names;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty()) {
      names.insert(line);
    }
  }
  return names;
}

TEST(ExportedSymbols, AreExactlyThePublicInterface) {
  const std::set<std::string> expected = {
#include "exported_interface.inc"
  };
  EXPECT_EQ(DefinedDynamicSymbols(), expected);
}

}  // namespace
