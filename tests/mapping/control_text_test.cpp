#include <gtest/gtest.h>

#include <string>

#include "control_text.h"

namespace {

using cpd::InputType;

TEST(ControlText, TriggersAreSqueezedSticksMovedTheRestPressed) {
  EXPECT_EQ(cpd::InputActionVerb(InputType::TRIGGER), "squeeze");
  EXPECT_EQ(cpd::InputActionVerb(InputType::STICK), "move");
  EXPECT_EQ(cpd::InputActionVerb(InputType::BUTTON), "press");
  EXPECT_EQ(cpd::InputActionVerb(InputType::DPAD), "press");
  EXPECT_EQ(cpd::InputActionVerb(InputType::UNSET), "press");
  EXPECT_EQ(cpd::InputActionVerb(InputType::THUMB), "press");
  EXPECT_EQ(cpd::InputActionVerb(static_cast<InputType>(42)), "press");
}

TEST(ControlText, UnderscoresBecomeBlanks) {
  EXPECT_EQ(cpd::InputDisplayName("LEFT_SHOULDER"), "LEFT SHOULDER");
  EXPECT_EQ(cpd::InputDisplayName("RIGHT_STICK_DOWN"), "RIGHT STICK DOWN");
}

TEST(ControlText, OneWordNameBecomesAButton) {
  EXPECT_EQ(cpd::InputDisplayName("A"), "A Button");
  EXPECT_EQ(cpd::InputDisplayName("START"), "START Button");
}

TEST(ControlText, WordsStartUpperCaseAndRunsOfBlanksCollapse) {
  EXPECT_EQ(cpd::InputDisplayName("left__trigger"), "Left Trigger");
  EXPECT_EQ(cpd::InputDisplayName("_x_"), "X");
  EXPECT_EQ(cpd::InputDisplayName("x yZ"), "X YZ");
  EXPECT_EQ(cpd::InputDisplayName(""), "Button");
}

TEST(ControlText, OnlyBlanksSeparateWords) {
  EXPECT_EQ(cpd::InputDisplayName("a\tb"), "A\tb Button");
}

TEST(ControlText, HexIsTwoLowerCaseDigitsPerByte) {
  EXPECT_EQ(cpd::ToHexString(""), "");
  EXPECT_EQ(cpd::ToHexString(std::string("\x00\x0a\x7f\x80\xff", 5)), "000a7f80ff");
  EXPECT_EQ(cpd::ToHexString("AZ"), "415a");
}

}  // namespace
