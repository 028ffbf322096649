// The default store, the same on every system: values, corrupt files, temporary files, threads.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "default_store_fixture.h"

namespace {

using cpd::test::DefaultStore;
using cpd::test::KEY;
using cpd::test::ReadFile;
using cpd::test::WriteFile;
namespace fs = std::filesystem;

TEST_F(DefaultStore, MissingFileReadsAsEmpty) {
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(DefaultStore, StoredValueReadsBackAndOtherKeysStay) {
  ASSERT_TRUE(Store().SetSecure(KEY, "[\n   {}\n]\n"));
  ASSERT_TRUE(Store().SetSecure("other", "kept"));
  ASSERT_TRUE(Store().SetSecure(KEY, "second"));
  EXPECT_EQ(Store().GetSecure(KEY), "second");
  EXPECT_EQ(Store().GetSecure("other"), "kept");
  EXPECT_EQ(Store().GetSecure("absent"), "");
}

TEST_F(DefaultStore, CorruptFileReadsAsEmptyWithOneErrorLineAndIsLeftAlone) {
  WriteFile(file, "{ not json");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  const std::string errors = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(errors, "cpd-joystick store: " + file.u8string() +
                        " is not a valid store file; reading it as empty\n");
  EXPECT_EQ(ReadFile(file), "{ not json");
}

TEST_F(DefaultStore, NextSuccessfulWriteReplacesACorruptFileAndKeepsItAside) {
  WriteFile(file, "[1, 2");
  ::testing::internal::CaptureStderr();
  ASSERT_TRUE(Store().SetSecure(KEY, "fresh"));
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "fresh");
  EXPECT_EQ(ReadFile(file.u8string() + ".corrupt"), "[1, 2");
}

TEST_F(DefaultStore, WriteLeavesNoTemporaryFilesBehind) {
  ASSERT_TRUE(Store().SetSecure(KEY, "a"));
  ASSERT_TRUE(Store().SetSecure(KEY, "b"));
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"store.json"});
}

TEST_F(DefaultStore, ConcurrentWritersOfDistinctKeysAllLand) {
  std::vector<std::thread> writers;
  for (int t = 0; t < 8; ++t) {
    writers.emplace_back([t] {
      for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(
            sd::SDConfig::GetInstance()->SetSecure("key" + std::to_string(t), std::to_string(i)));
      }
    });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  for (int t = 0; t < 8; ++t) {
    EXPECT_EQ(Store().GetSecure("key" + std::to_string(t)), "19");
  }
}

}  // namespace
