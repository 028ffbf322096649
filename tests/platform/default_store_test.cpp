// The default store, the same on every system: values, corrupt files, temporary files, threads.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/store_update.h"
#include "default_store_fixture.h"
#include "store_document.h"

namespace {

using cpd::test::DefaultStore;
using cpd::test::KEY;
using cpd::test::Names;
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

// The copy's name carries the UTC time of the write: "store.json.corrupt-20261123T221501Z".
bool IsCorruptCopyName(const std::string& name) {
  const std::string prefix = "store.json.corrupt-";
  if (name.rfind(prefix, 0) != 0 || name.size() < prefix.size() + 16) {
    return false;
  }
  const std::string stamp = name.substr(prefix.size(), 16);
  for (size_t i = 0; i < stamp.size(); ++i) {
    const bool digit = stamp[i] >= '0' && stamp[i] <= '9';
    if ((i == 8 && stamp[i] != 'T') || (i == 15 && stamp[i] != 'Z') ||
        (i != 8 && i != 15 && !digit)) {
      return false;
    }
  }
  return true;
}

std::vector<std::string> CorruptCopies(const fs::path& directory) {
  std::vector<std::string> copies;
  for (const std::string& name : Names(directory)) {
    if (name.rfind("store.json.corrupt", 0) == 0) {
      copies.push_back(name);
    }
  }
  return copies;
}

TEST_F(DefaultStore, NextSuccessfulWriteReplacesACorruptFileAndKeepsItAside) {
  WriteFile(file, "[1, 2");
  ::testing::internal::CaptureStderr();
  ASSERT_TRUE(Store().SetSecure(KEY, "fresh"));
  const std::string errors = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "fresh");
  const std::vector<std::string> copies = CorruptCopies(directory);
  ASSERT_EQ(copies.size(), 1U);
  EXPECT_TRUE(IsCorruptCopyName(copies[0])) << copies[0];
  EXPECT_EQ(copies[0].size(), std::string("store.json.corrupt-20261123T221501Z").size());
  EXPECT_EQ(ReadFile(directory / copies[0]), "[1, 2");
  EXPECT_EQ(errors, "cpd-joystick store: kept the unreadable store file as " +
                        (directory / copies[0]).u8string() + "\n");
}

TEST_F(DefaultStore, EveryCorruptFileKeptAsideIsKept) {
  std::vector<std::string> texts;
  for (int round = 0; round < 3; ++round) {
    texts.push_back("{ corrupt " + std::to_string(round));
    WriteFile(file, texts.back());
    ::testing::internal::CaptureStderr();
    ASSERT_TRUE(Store().SetSecure(KEY, "fresh"));
    ::testing::internal::GetCapturedStderr();
  }
  std::vector<std::string> kept;
  for (const std::string& copy : CorruptCopies(directory)) {
    EXPECT_TRUE(IsCorruptCopyName(copy)) << copy;
    kept.push_back(ReadFile(directory / copy));
  }
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(kept, texts);
}

TEST_F(DefaultStore, ACopyNeverReplacesAnEarlierOneOfTheSameName) {
  const std::time_t now = std::time(nullptr);
  std::vector<fs::path> earlier;
  for (std::time_t second = now - 1; second <= now + 10; ++second) {
    earlier.push_back(fs::u8path(cpd::store::CorruptCopyName(file.u8string(), second, 1)));
    WriteFile(earlier.back(), "earlier copy");
  }
  WriteFile(file, "{ corrupt");
  ::testing::internal::CaptureStderr();
  ASSERT_TRUE(Store().SetSecure(KEY, "fresh"));
  const std::string errors = ::testing::internal::GetCapturedStderr();
  for (const fs::path& copy : earlier) {
    EXPECT_EQ(ReadFile(copy), "earlier copy") << copy;
  }
  const std::vector<std::string> copies = CorruptCopies(directory);
  EXPECT_EQ(copies.size(), earlier.size() + 1);
  std::string kept;
  for (const std::string& copy : copies) {
    if (ReadFile(directory / copy) == "{ corrupt") {
      kept = copy;
    }
  }
  ASSERT_FALSE(kept.empty());
  EXPECT_EQ(kept.substr(kept.size() - 2), "-2");
  EXPECT_EQ(errors, "cpd-joystick store: kept the unreadable store file as " +
                        (directory / kept).u8string() + "\n");
}

TEST_F(DefaultStore, WriteLeavesNoTemporaryFilesBehind) {
  ASSERT_TRUE(Store().SetSecure(KEY, "a"));
  ASSERT_TRUE(Store().SetSecure(KEY, "b"));
  // The lock file stays: removing it would let two processes lock different files of one name.
  EXPECT_EQ(Names(directory), (std::vector<std::string>{"store.json", "store.json.lock"}));
}

TEST_F(DefaultStore, ConcurrentWritersOfDistinctKeysAllLand) {
  std::vector<std::thread> writers;
  writers.reserve(8);
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

TEST_F(DefaultStore, DeeplyNestedFileReadsAsEmptyAndIsKeptAsideAtTheNextWrite) {
  const std::string nested(1024, '[');
  WriteFile(file, nested);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: " + file.u8string() +
                " is not a valid store file; reading it as empty\n");
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(Store().SetSecure(KEY, "fresh"));
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "fresh");
  const std::vector<std::string> copies = CorruptCopies(directory);
  ASSERT_EQ(copies.size(), 1U);
  EXPECT_EQ(ReadFile(directory / copies[0]), nested);
}

TEST_F(DefaultStore, ValuesThatAreNotStringsSurviveAWrite) {
  WriteFile(file, R"({"x":42, "y":{"a":[1]}})");
  EXPECT_EQ(Store().GetSecure("x"), "");
  EXPECT_EQ(Store().GetSecure("y"), "");
  ASSERT_TRUE(Store().SetSecure(KEY, "choice"));
  EXPECT_EQ(ReadFile(file),
            "{\n  \"joystickPolicyList\" : \"choice\",\n  \"x\" : 42,\n"
            "  \"y\" : \n  {\n    \"a\" : \n    [\n      1\n    ]\n  }\n}\n");
}

TEST_F(DefaultStore, FileLargerThanOneMebibyteIsNeitherReadNorWritten) {
  WriteFile(file, R"({"joystickPolicyList":"old"})");
  fs::resize_file(file, std::uintmax_t{50} << 20);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: " + file.u8string() +
                " is larger than 1 MiB (52428800 bytes); reading the store as empty and leaving "
                "it alone\n"
                "cpd-joystick store: refusing to write " +
                file.u8string() + ": it is larger than 1 MiB (52428800 bytes)\n");
  EXPECT_EQ(fs::file_size(file), std::uintmax_t{50} << 20);
  EXPECT_EQ(ReadFile(file).substr(0, 28), R"({"joystickPolicyList":"old"})");
  EXPECT_TRUE(CorruptCopies(directory).empty());
}

TEST_F(DefaultStore, WriteThatWouldPassOneMebibyteIsRefusedAndChangesNothing) {
  ASSERT_TRUE(Store().SetSecure(KEY, "small"));
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(Store().SetSecure("big", std::string(std::size_t{1} << 20, 'x')));
  const std::string errors = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(errors.rfind("cpd-joystick store: refusing to write " + file.u8string() +
                             ": the store would grow to ",
                         0),
            0U)
      << errors;
  EXPECT_EQ(Store().GetSecure(KEY), "small");
  EXPECT_EQ(Store().GetSecure("big"), "");
}

TEST_F(DefaultStore, FolderAtTheStorePathIsLeftAlone) {
  fs::create_directories(file / "inside");
  WriteFile(file / "inside" / "kept.txt", "kept");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: " + file.u8string() +
                " is a folder, not a regular file; reading the store as empty and leaving it "
                "alone\n"
                "cpd-joystick store: refusing to write " +
                file.u8string() + ": it is a folder, not a regular file\n");
  EXPECT_EQ(ReadFile(file / "inside" / "kept.txt"), "kept");
  EXPECT_EQ(Names(file), std::vector<std::string>{"inside"});
  EXPECT_TRUE(CorruptCopies(directory).empty());
}

// Checked by the file's mode (its owner's write permission), which holds for root too.
TEST_F(DefaultStore, ReadOnlyFileReadsButIsNeverWritten) {
  ASSERT_TRUE(Store().SetSecure(KEY, "kept"));
  const std::string before = ReadFile(file);
  fs::permissions(file, fs::perms::owner_read);
  EXPECT_EQ(Store().GetSecure(KEY), "kept");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(
      ::testing::internal::GetCapturedStderr(),
      "cpd-joystick store: refusing to write " + file.u8string() + ": the file is read-only\n");
  EXPECT_EQ(ReadFile(file), before);
  EXPECT_EQ(Store().GetSecure(KEY), "kept");
}

TEST_F(DefaultStore, HeldLockMakesReadsEmptyAndWritesFailAfterAboutTwoSeconds) {
  ASSERT_TRUE(Store().SetSecure(KEY, "stored"));
  const std::string before = ReadFile(file);
  const cpd::test::ForeignLock other(LockFile());
  ASSERT_TRUE(other.Held());
  const std::string lockLine = "cpd-joystick store: cannot lock " + LockFile().u8string() +
                               " within 2 s: another process holds it; ";
  ::testing::internal::CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            lockLine + "reading the store as empty\n" + lockLine + "nothing stored\n");
  EXPECT_GE(waited, std::chrono::milliseconds(3000));
  EXPECT_LT(waited, std::chrono::seconds(30));
  EXPECT_EQ(ReadFile(file), before);
}

TEST_F(DefaultStore, BeginUpdateFailsWhileTheLockIsHeldElsewhere) {
  const cpd::test::ForeignLock other(LockFile());
  ASSERT_TRUE(other.Held());
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(cpd_joystick_store_begin_update(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: cannot lock " + LockFile().u8string() +
                " within 2 s: another process holds it; no update begun\n");
  // Nothing was held: an end now is one without a begin.
  ::testing::internal::CaptureStderr();
  cpd_joystick_store_end_update();
  EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(DefaultStore, UpdateHoldsOtherThreadsOffUntilItsEnd) {
  ASSERT_EQ(cpd_joystick_store_begin_update(), 1);
  const std::string read = Store().GetSecure(KEY);
  std::atomic<bool> ended{false};
  std::atomic<bool> writtenAfterEnd{false};
  std::thread other([&] {
    EXPECT_TRUE(sd::SDConfig::GetInstance()->SetSecure(KEY, "other thread"));
    writtenAfterEnd = ended.load();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(Store().SetSecure(KEY, read + "updated"));
  EXPECT_EQ(Store().GetSecure(KEY), "updated");
  ended = true;
  cpd_joystick_store_end_update();
  other.join();
  EXPECT_TRUE(writtenAfterEnd);
  EXPECT_EQ(Store().GetSecure(KEY), "other thread");
}

TEST_F(DefaultStore, OtherThreadsGiveUpOnAnUpdateHeldPastAboutTwoSeconds) {
  ASSERT_TRUE(Store().SetSecure(KEY, "stored"));
  ASSERT_EQ(cpd_joystick_store_begin_update(), 1);
  std::string read = "not read";
  bool written = true;
  std::chrono::steady_clock::duration waited{};
  ::testing::internal::CaptureStderr();
  std::thread other([&] {
    const auto start = std::chrono::steady_clock::now();
    read = sd::SDConfig::GetInstance()->GetSecure(KEY);
    written = sd::SDConfig::GetInstance()->SetSecure(KEY, "other thread");
    waited = std::chrono::steady_clock::now() - start;
  });
  other.join();
  const std::string errors = ::testing::internal::GetCapturedStderr();
  cpd_joystick_store_end_update();
  EXPECT_EQ(read, "");
  EXPECT_FALSE(written);
  const std::string line = "cpd-joystick store: cannot lock " + file.u8string() +
                           " within 2 s: another thread of this process holds it; ";
  EXPECT_EQ(errors, line + "reading the store as empty\n" + line + "nothing stored\n");
  EXPECT_GE(waited, std::chrono::milliseconds(3000));
  EXPECT_LT(waited, std::chrono::seconds(30));
  EXPECT_EQ(Store().GetSecure(KEY), "stored");
}

TEST_F(DefaultStore, UpdatesNestOnOneThread) {
  ASSERT_EQ(cpd_joystick_store_begin_update(), 1);
  ASSERT_EQ(cpd_joystick_store_begin_update(), 1);
  EXPECT_TRUE(Store().SetSecure(KEY, "inner"));
  cpd_joystick_store_end_update();
  // Still held after the inner end: another process is kept off.
  {
    const cpd::test::ForeignLock other(LockFile());
    EXPECT_FALSE(other.Held());
  }
  EXPECT_EQ(Store().GetSecure(KEY), "inner");
  cpd_joystick_store_end_update();
  const cpd::test::ForeignLock other(LockFile());
  EXPECT_TRUE(other.Held());
}

TEST_F(DefaultStore, EndWithoutBeginChangesNothing) {
  ::testing::internal::CaptureStderr();
  cpd_joystick_store_end_update();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: an update ended that this thread had not begun; nothing "
            "changed\n");
  ASSERT_TRUE(Store().SetSecure(KEY, "works"));
  EXPECT_EQ(Store().GetSecure(KEY), "works");
}

}  // namespace
