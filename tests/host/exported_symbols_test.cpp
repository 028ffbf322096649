// The shipped library exports its public interface and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {

// Demangled names of the dynamic symbols the library defines.
std::set<std::string> DefinedDynamicSymbols() {
  const std::string command =
      std::string("nm -D --defined-only -C --format=posix '") + CPD_JOYSTICK_LIBRARY + "'";
  FILE* pipe = popen(command.c_str(), "r");
  EXPECT_NE(pipe, nullptr);
  std::string output;
  char buffer[512];
  while (pipe != nullptr && fgets(buffer, sizeof buffer, pipe) != nullptr) {
    output += buffer;
  }
  EXPECT_EQ(pipe != nullptr ? pclose(pipe) : -1, 0);
  // posix format: "<name> <type> <value> [<size>]"; names may contain blanks, the last
  // three or four fields never do.
  std::set<std::string> names;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::vector<std::string> words;
    std::string word;
    while (fields >> word) {
      words.push_back(word);
    }
    size_t typeAt = words.size();
    for (size_t i = words.size(); i-- > 0;) {
      if (words[i].size() == 1 && std::isalpha(static_cast<unsigned char>(words[i][0]))) {
        typeAt = i;
        break;
      }
    }
    std::string name;
    for (size_t i = 0; i < typeAt; ++i) {
      name += (i > 0 ? " " : "") + words[i];
    }
    names.insert(name);
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
