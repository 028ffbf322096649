#include <gtest/gtest.h>

#include "common/file_name.h"

namespace {

using cpd::GetFileNameFromPath;

TEST(GetFileNameFromPath, NullOrEmptyIsUnknown) {
  EXPECT_STREQ(GetFileNameFromPath(nullptr), "unknown");
  EXPECT_STREQ(GetFileNameFromPath(""), "unknown");
}

TEST(GetFileNameFromPath, CutsAtTheLastSlashOrBackslash) {
  EXPECT_STREQ(GetFileNameFromPath("a/b"), "b");
  EXPECT_STREQ(GetFileNameFromPath("a\\b/c"), "c");
  EXPECT_STREQ(GetFileNameFromPath("a/b\\c"), "c");
}

TEST(GetFileNameFromPath, PathWithoutSeparatorIsTheName) {
  EXPECT_STREQ(GetFileNameFromPath("abc"), "abc");
}

TEST(GetFileNameFromPath, LeadingSeparatorAloneIsNotExamined) {
  EXPECT_STREQ(GetFileNameFromPath("/b"), "/b");
  EXPECT_STREQ(GetFileNameFromPath("\\b"), "\\b");
}

TEST(GetFileNameFromPath, TrailingSeparatorGivesEmptyName) {
  EXPECT_STREQ(GetFileNameFromPath("abc/"), "");
}

TEST(GetFileNameFromPath, ReturnsAPointerIntoTheGivenText) {
  const char* path = "dir/file.cpp";
  EXPECT_EQ(GetFileNameFromPath(path), path + 4);
  EXPECT_EQ(GetFileNameFromPath(path + 4), path + 4);
}

}  // namespace
