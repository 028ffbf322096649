// The default store's decisions over text and facts, without a file system: parsing, writing,
// what a found file allows, and the names corrupt files are kept under.
#include <gtest/gtest.h>
#include <json/value.h>

#include <string>

#include "store_document.h"

namespace {

using cpd::store::CorruptCopyName;
using cpd::store::DocumentState;
using cpd::store::FileFound;
using cpd::store::FoundFile;
using cpd::store::JudgeFile;
using cpd::store::MAX_STORE_BYTES;
using cpd::store::OversizeRefusal;
using cpd::store::ParseStore;
using cpd::store::SerializeStore;
using cpd::store::StringValue;

const std::string PATH = "/home/u/.config/cpd-joystick/store.json";

TEST(DefaultStoreText, KeepsMembersThatAreNotStrings) {
  const auto document = ParseStore(R"({"x":42, "y":{"a":[1]}, "k":"v"})");
  ASSERT_EQ(document.state, DocumentState::Valid);
  EXPECT_EQ(StringValue(document.values, "k"), "v");
  EXPECT_EQ(StringValue(document.values, "x"), "");
  EXPECT_EQ(StringValue(document.values, "y"), "");
  EXPECT_EQ(StringValue(document.values, "absent"), "");
  EXPECT_EQ(document.values["x"].asInt(), 42);
  EXPECT_EQ(document.values["y"]["a"][0].asInt(), 1);
}

TEST(DefaultStoreText, NestingDeeperThanTheReaderFollowsIsCorruptNotThrown) {
  for (const std::string& text :
       {std::string(1024, '['), R"({"a":)" + std::string(5000, '['), std::string(100000, '{')}) {
    const auto document = ParseStore(text);
    EXPECT_EQ(document.state, DocumentState::Corrupt) << text.size();
    EXPECT_FALSE(document.error.empty());
    EXPECT_EQ(StringValue(document.values, "a"), "");
  }
}

// A host's thread parses the file, on a stack of unknown size: nesting is cut off well before
// the reader's own limit, counting only brackets outside strings and comments.
TEST(DefaultStoreText, NestingPastSixtyFourLevelsIsCorrupt) {
  const auto nested = [](int levels) {
    return "{\"a\":" + std::string(static_cast<size_t>(levels - 1), '[') +
           std::string(static_cast<size_t>(levels - 1), ']') + "}";
  };
  EXPECT_EQ(ParseStore(nested(64)).state, DocumentState::Valid);
  const auto document = ParseStore(nested(65));
  EXPECT_EQ(document.state, DocumentState::Corrupt);
  EXPECT_EQ(document.error, "arrays and objects nest deeper than 64 levels");
  const std::string brackets(100, '[');
  EXPECT_EQ(ParseStore(R"({"a":")" + brackets + R"("})").state, DocumentState::Valid);
  EXPECT_EQ(ParseStore(R"({"a":"\")" + brackets + R"("})").state, DocumentState::Valid);
  EXPECT_EQ(ParseStore("{/* " + brackets + " */}\n// " + brackets + "\n").state,
            DocumentState::Valid);
}

TEST(DefaultStoreText, AnythingButOneObjectIsCorrupt) {
  for (const std::string text : {"", "   ", "[1, 2", "[]", R"("text")", "42", "null", "{} {}",
                                 R"({"a":"1"} trailing)", "{ not json"}) {
    EXPECT_EQ(ParseStore(text).state, DocumentState::Corrupt) << text;
  }
  EXPECT_EQ(ParseStore("{}").state, DocumentState::Valid);
  EXPECT_EQ(ParseStore("{\"a\":\"1\"} // a comment\n").state, DocumentState::Valid);
}

TEST(DefaultStoreText, WrittenValuesReadBackEqual) {
  Json::Value values(Json::objectValue);
  values["text"] = "J\xc3\xbcrgen \xe6\x9d\xb1";
  values["bytes"] = std::string("\xff\xfe not UTF-8 \x80");
  values[std::string("nul\0key", 7)] = std::string("a\0b", 3);
  values["number"] = 1.0 / 3.0;
  values["big"] = Json::UInt64{18446744073709551615ULL};
  values["nested"]["list"].append(Json::Value());
  values["nested"]["list"].append(false);
  const std::string text = SerializeStore(values);
  const auto document = ParseStore(text);
  ASSERT_EQ(document.state, DocumentState::Valid) << document.error;
  EXPECT_EQ(document.values, values);
  EXPECT_EQ(SerializeStore(document.values), text);
}

TEST(DefaultStoreText, WritesTwoBlankIndentsAndAFinalLineBreak) {
  Json::Value values(Json::objectValue);
  values["joystickPolicyList"] = "[]\n";
  EXPECT_EQ(SerializeStore(values), "{\n  \"joystickPolicyList\" : \"[]\\n\"\n}\n");
}

TEST(DefaultStoreText, CorruptFileReadsAsEmptyAndIsKeptAsideAtTheNextWrite) {
  FoundFile file;
  file.found = FileFound::Read;
  file.text = "[1, 2";
  const auto verdict = JudgeFile(PATH, file);
  EXPECT_EQ(verdict.readError, PATH + " is not a valid store file; reading it as empty");
  EXPECT_TRUE(verdict.keepAside);
  EXPECT_EQ(verdict.writeRefusal, "");
}

TEST(DefaultStoreText, WhatIsNotARegularFileIsReadAsEmptyAndNeverWritten) {
  FoundFile file;
  file.found = FileFound::NotRegular;
  file.detail = "a symbolic link";
  const auto verdict = JudgeFile(PATH, file);
  EXPECT_EQ(verdict.readError, PATH +
                                   " is a symbolic link, not a regular file; reading the store as "
                                   "empty and leaving it alone");
  EXPECT_EQ(verdict.writeRefusal,
            "refusing to write " + PATH + ": it is a symbolic link, not a regular file");
  EXPECT_FALSE(verdict.keepAside);
}

TEST(DefaultStoreText, OversizedFileIsReadAsEmptyAndNeverWritten) {
  FoundFile file;
  file.found = FileFound::TooLarge;
  file.bytes = 52428800;
  const auto verdict = JudgeFile(PATH, file);
  EXPECT_EQ(verdict.readError, PATH +
                                   " is larger than 1 MiB (52428800 bytes); reading the store as "
                                   "empty and leaving it alone");
  EXPECT_EQ(verdict.writeRefusal,
            "refusing to write " + PATH + ": it is larger than 1 MiB (52428800 bytes)");
  EXPECT_FALSE(verdict.keepAside);
}

TEST(DefaultStoreText, ReadOnlyFileReadsNormallyButIsNeverWritten) {
  FoundFile file;
  file.found = FileFound::Read;
  file.text = R"({"k":"v"})";
  file.readOnly = true;
  const auto verdict = JudgeFile(PATH, file);
  EXPECT_EQ(StringValue(verdict.values, "k"), "v");
  EXPECT_EQ(verdict.readError, "");
  EXPECT_EQ(verdict.writeRefusal, "refusing to write " + PATH + ": the file is read-only");
}

TEST(DefaultStoreText, UnreadableFileIsKeptAsideAtTheNextWrite) {
  FoundFile file;
  file.found = FileFound::Unreadable;
  file.detail = "Input/output error";
  const auto verdict = JudgeFile(PATH, file);
  EXPECT_EQ(verdict.readError, "cannot read " + PATH + ": Input/output error; reading it as empty");
  EXPECT_TRUE(verdict.keepAside);
}

TEST(DefaultStoreText, AWriteMayNotGrowTheStorePastOneMebibyte) {
  EXPECT_EQ(OversizeRefusal(PATH, MAX_STORE_BYTES), "");
  EXPECT_EQ(OversizeRefusal(PATH, MAX_STORE_BYTES + 1),
            "refusing to write " + PATH +
                ": the store would grow to 1048577 bytes, over 1 MiB, and could not be read again");
}

TEST(DefaultStoreText, CorruptCopiesAreNamedAfterTheUtcTimeAndNumberedOnwards) {
  EXPECT_EQ(CorruptCopyName("store.json", 1795472101, 1), "store.json.corrupt-20261123T221501Z");
  EXPECT_EQ(CorruptCopyName("store.json", 1795472101, 2), "store.json.corrupt-20261123T221501Z-2");
  EXPECT_EQ(CorruptCopyName("s", 1709251199, 3), "s.corrupt-20240229T235959Z-3");
  EXPECT_EQ(CorruptCopyName("s", 0, 1), "s.corrupt-19700101T000000Z");
  EXPECT_EQ(CorruptCopyName("s", -1, 1), "s.corrupt-19691231T235959Z");
}

}  // namespace
