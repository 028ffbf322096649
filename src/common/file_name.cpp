#include "common/file_name.h"

#include <cstring>

namespace cpd {

const char* GetFileNameFromPath(const char* path) {
  if (path == nullptr || *path == '\0') {
    return "unknown";
  }
  const char* cursor = path + std::strlen(path) - 1;
  while (cursor > path) {
    if (*cursor == '/' || *cursor == '\\') {
      return cursor + 1;
    }
    --cursor;
  }
  return cursor;
}

}  // namespace cpd
