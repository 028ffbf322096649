// The document edits on their own: no threads, no store, no log.
#include <gtest/gtest.h>

#include <string>

#include "joystick_policy/policy_document.h"
#include "policy_texts.h"

namespace {

using cpd::policy::DocumentAnswers;
using cpd::policy::LookupMappingIndex;
using cpd::policy::LookupOutcome;
using cpd::policy::LookupResult;
using cpd::policy::MakeVidPidKey;
using cpd::policy::ReadAnswers;
using cpd::policy::UpdateMappingIndex;
using cpd::test::ONE_XBOX_ENTRY;
using cpd::test::XBOX_AND_DUALSENSE;

constexpr const char* XBOX = "045e:028e";

TEST(VidPidKey, UsesFourLowerCaseHexDigitsEach) {
  EXPECT_EQ(MakeVidPidKey(0x054C, 0x0CE6), "054c:0ce6");
  EXPECT_EQ(MakeVidPidKey(0x045e, 0), "045e:0000");
  EXPECT_EQ(MakeVidPidKey(0x0001, 0x0002), "0001:0002");
  EXPECT_EQ(MakeVidPidKey(0xFFFF, 0xFFFF), "ffff:ffff");
}

TEST(PolicyLookup, EmptyTextGivesZeroAsNoPolicy) {
  const LookupResult result = LookupMappingIndex("", XBOX);
  EXPECT_EQ(result.outcome, LookupOutcome::EMPTY_DOCUMENT);
  EXPECT_EQ(result.mappingIndex, 0);
}

TEST(PolicyLookup, KeyWithoutEntryGivesZero) {
  const LookupResult result = LookupMappingIndex(ONE_XBOX_ENTRY, "054c:0ce6");
  EXPECT_EQ(result.outcome, LookupOutcome::NOT_FOUND);
  EXPECT_EQ(result.mappingIndex, 0);
}

TEST(PolicyLookup, FindsTheStoredIndex) {
  const LookupResult result = LookupMappingIndex(XBOX_AND_DUALSENSE, "054c:0ce6");
  EXPECT_EQ(result.outcome, LookupOutcome::FOUND);
  EXPECT_EQ(result.mappingIndex, 1);
}

TEST(PolicyLookup, MappingWrittenAsTextIsPassedOverNotReadAsZero) {
  const std::string onlyText = R"([{"vidpid":"045e:028e","mapping":"6"}])";
  EXPECT_EQ(LookupMappingIndex(onlyText, XBOX).outcome, LookupOutcome::NOT_FOUND);
  EXPECT_EQ(LookupMappingIndex(onlyText, XBOX).mappingIndex, 0);

  const std::string textThenNumber =
      R"([{"vidpid":"045e:028e","mapping":"6"},{"vidpid":"045e:028e","mapping":6}])";
  const LookupResult result = LookupMappingIndex(textThenNumber, XBOX);
  EXPECT_EQ(result.outcome, LookupOutcome::FOUND);
  EXPECT_EQ(result.mappingIndex, 6);
}

TEST(PolicyLookup, FirstIntegerEntryOfTheModelWins) {
  const std::string twice =
      R"([{"vidpid":"045e:028e"},{"vidpid":"045e:028e","mapping":3},{"vidpid":"045e:028e","mapping":5}])";
  EXPECT_EQ(LookupMappingIndex(twice, XBOX).mappingIndex, 3);
}

TEST(PolicyLookup, TextThatIsNotJsonIsRenderFailed) {
  const LookupResult result = LookupMappingIndex("this is not json", XBOX);
  EXPECT_EQ(result.outcome, LookupOutcome::RENDER_FAILED);
  EXPECT_EQ(result.mappingIndex, 0);
}

TEST(PolicyLookup, FailedParseThatLeftAnArrayIsStillSearched) {
  const LookupResult result =
      LookupMappingIndex(R"([{"vidpid":"045e:028e","mapping":4}, oops)", XBOX);
  EXPECT_EQ(result.outcome, LookupOutcome::FOUND);
  EXPECT_EQ(result.mappingIndex, 4);
}

TEST(PolicyLookup, NeverMatchesAnEntryWrittenInUpperCase) {
  const std::string upper = R"([{"vidpid":"054C:0CE6","mapping":1}])";
  EXPECT_EQ(LookupMappingIndex(upper, MakeVidPidKey(0x054C, 0x0CE6)).outcome,
            LookupOutcome::NOT_FOUND);
}

TEST(PolicyLookup, ObjectRootHoldsNoEntries) {
  const std::string object = R"({"vidpid":"045e:028e","mapping":6})";
  EXPECT_EQ(LookupMappingIndex(object, XBOX).outcome, LookupOutcome::NOT_FOUND);
  EXPECT_EQ(LookupMappingIndex(R"("045e:028e")", XBOX).outcome, LookupOutcome::NOT_FOUND);
  EXPECT_EQ(LookupMappingIndex("6", XBOX).outcome, LookupOutcome::NOT_FOUND);
}

TEST(PolicyLookup, ElementsThatAreNotObjectsAreSkipped) {
  const std::string mixed =
      R"([null, 7, "045e:028e", ["045e:028e", 6], {"vidpid":["045e:028e"],"mapping":2},
          {"vidpid":{"a":1},"mapping":3}, {"vidpid":"045e:028e","mapping":5}])";
  const LookupResult result = LookupMappingIndex(mixed, XBOX);
  EXPECT_EQ(result.outcome, LookupOutcome::FOUND);
  EXPECT_EQ(result.mappingIndex, 5);
}

TEST(PolicyLookup, NestingBeyondWhatTheReaderFollowsIsRenderFailed) {
  const std::string deep = std::string(5000, '[') + std::string(5000, ']');
  EXPECT_EQ(LookupMappingIndex(deep, XBOX).outcome, LookupOutcome::RENDER_FAILED);
}

TEST(PolicyLookup, AnswersReadOnceServeEveryModel) {
  const DocumentAnswers answers = ReadAnswers(XBOX_AND_DUALSENSE);
  EXPECT_EQ(LookupMappingIndex(answers, XBOX).outcome, LookupOutcome::FOUND);
  EXPECT_EQ(LookupMappingIndex(answers, XBOX).mappingIndex, 6);
  EXPECT_EQ(LookupMappingIndex(answers, "054c:0ce6").mappingIndex, 1);
  EXPECT_EQ(LookupMappingIndex(answers, "ffff:ffff").outcome, LookupOutcome::NOT_FOUND);
  EXPECT_EQ(LookupMappingIndex(answers, XBOX).mappingIndex, 6);
}

TEST(PolicyLookup, AnswersOfATextThatIsNotJsonAreRenderFailedForEveryModel) {
  const DocumentAnswers answers = ReadAnswers("{{ not json");
  for (const char* model : {XBOX, "054c:0ce6", ""}) {
    EXPECT_EQ(LookupMappingIndex(answers, model).outcome, LookupOutcome::RENDER_FAILED);
    EXPECT_EQ(LookupMappingIndex(answers, model).mappingIndex, 0);
  }
}

TEST(PolicyLookup, AnswersOfTheEmptyTextAreNoPolicy) {
  EXPECT_EQ(LookupMappingIndex(ReadAnswers(""), XBOX).outcome, LookupOutcome::EMPTY_DOCUMENT);
  EXPECT_EQ(LookupMappingIndex(DocumentAnswers{}, XBOX).outcome, LookupOutcome::EMPTY_DOCUMENT);
}

TEST(PolicyUpdate, EmptyTextBecomesOneEntry) {
  EXPECT_EQ(UpdateMappingIndex("", XBOX, 6, "Xbox Controller"), ONE_XBOX_ENTRY);
}

TEST(PolicyUpdate, EmptyArrayBecomesOneEntry) {
  EXPECT_EQ(UpdateMappingIndex("[]", XBOX, 6, "Xbox Controller"), ONE_XBOX_ENTRY);
}

TEST(PolicyUpdate, KnownModelChangesItsEntryInPlace) {
  const std::string before =
      R"([{"vidpid":"045e:028e","mapping":2,"describe":"old"},
          {"vidpid":"054c:0ce6","mapping":1,"describe":"DualSense Wireless Controller"}])";
  EXPECT_EQ(UpdateMappingIndex(before, XBOX, 6, "Xbox Controller"), XBOX_AND_DUALSENSE);
}

TEST(PolicyUpdate, SecondModelIsAppendedAtTheEnd) {
  EXPECT_EQ(UpdateMappingIndex(ONE_XBOX_ENTRY, "054c:0ce6", 1, "DualSense Wireless Controller"),
            XBOX_AND_DUALSENSE);
}

TEST(PolicyUpdate, OnlyTheFirstEntryOfTheModelChanges) {
  const std::string twice =
      R"([{"vidpid":"045e:028e","mapping":"2","describe":"a"},{"vidpid":"045e:028e","mapping":3,"describe":"b"}])";
  const std::string expected = R"([
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   },
   {
      "describe" : "b",
      "mapping" : 3,
      "vidpid" : "045e:028e"
   }
]
)";
  EXPECT_EQ(UpdateMappingIndex(twice, XBOX, 6, "Xbox Controller"), expected);
}

TEST(PolicyUpdate, ObjectsSearchedWithoutVidPidGainANullOne) {
  const std::string before =
      R"([{"mapping":1},{"vidpid":"045e:028e","mapping":2,"describe":"x"},{"mapping":3}])";
  const std::string expected = R"([
   {
      "mapping" : 1,
      "vidpid" : null
   },
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   },
   {
      "mapping" : 3
   }
]
)";
  EXPECT_EQ(UpdateMappingIndex(before, XBOX, 6, "Xbox Controller"), expected);
}

TEST(PolicyUpdate, EveryObjectGainsANullVidPidWhenNothingMatched) {
  const std::string before = R"([{"mapping":1},{"describe":"y"}])";
  const std::string expected = R"([
   {
      "mapping" : 1,
      "vidpid" : null
   },
   {
      "describe" : "y",
      "vidpid" : null
   },
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   }
]
)";
  EXPECT_EQ(UpdateMappingIndex(before, XBOX, 6, "Xbox Controller"), expected);
}

TEST(PolicyUpdate, ForeignMembersAndNonObjectElementsAreKept) {
  const std::string before =
      R"([7, {"vidpid":"045e:028e","mapping":2,"describe":"old","colour":"white","owner":{"id":3}},
          "note", null, {"vidpid":"057e:2009","mapping":2,"describe":"Pro Controller","z":true}])";
  const std::string expected = R"([
   7,
   {
      "colour" : "white",
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "owner" : {
         "id" : 3
      },
      "vidpid" : "045e:028e"
   },
   "note",
   null,
   {
      "describe" : "Pro Controller",
      "mapping" : 2,
      "vidpid" : "057e:2009",
      "z" : true
   }
]
)";
  EXPECT_EQ(UpdateMappingIndex(before, XBOX, 6, "Xbox Controller"), expected);
}

TEST(PolicyUpdate, NonObjectElementsAreSkippedAndTheModelAppended) {
  const std::string before = R"([1, "045e:028e", null, ["045e:028e"]])";
  const std::string expected = R"([
   1,
   "045e:028e",
   null,
   [ "045e:028e" ],
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   }
]
)";
  EXPECT_EQ(UpdateMappingIndex(before, XBOX, 6, "Xbox Controller"), expected);
}

TEST(PolicyUpdate, RootThatIsNotAnArrayStartsANewArray) {
  EXPECT_EQ(UpdateMappingIndex(R"({"vidpid":"045e:028e","mapping":2})", XBOX, 6, "Xbox Controller"),
            ONE_XBOX_ENTRY);
  EXPECT_EQ(UpdateMappingIndex("42", XBOX, 6, "Xbox Controller"), ONE_XBOX_ENTRY);
  EXPECT_EQ(UpdateMappingIndex("null", XBOX, 6, "Xbox Controller"), ONE_XBOX_ENTRY);
}

TEST(PolicyUpdate, CommentsTheDocumentCameWithAreWrittenBack) {
  const std::string before = "[ {\"vidpid\":\"045e:028e\",\"mapping\":2} // pad\n]";
  const std::string expected = R"([
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   } // pad
]
)";
  EXPECT_EQ(UpdateMappingIndex(before, XBOX, 6, "Xbox Controller"), expected);
}

TEST(PolicyUpdate, LineCommentThatWouldSwallowTheNextEntryIsDropped) {
  const std::string before =
      "[{\"vidpid\":\"054c:0ce6\",\"mapping\":1,\"describe\":\"DualSense Wireless "
      "Controller\"} // pad \n]";
  const std::string expected = R"([
   {
      "describe" : "DualSense Wireless Controller",
      "mapping" : 1,
      "vidpid" : "054c:0ce6"
   },
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   }
]
)";
  const std::string updated = UpdateMappingIndex(before, XBOX, 6, "Xbox Controller");
  EXPECT_EQ(updated, expected);
  EXPECT_EQ(LookupMappingIndex(updated, XBOX).mappingIndex, 6);
}

TEST(PolicyUpdate, LineCommentThatWouldSwallowAnotherModelsChoiceIsDropped) {
  const std::string before =
      "[{\"vidpid\":\"057e:2009\",\"colour\":\"white\", // note \n\"mapping\":2}]";
  const std::string expected = R"([
   {
      "colour" : "white",
      "mapping" : 2,
      "vidpid" : "057e:2009"
   },
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   }
]
)";
  const std::string updated = UpdateMappingIndex(before, XBOX, 6, "Xbox Controller");
  EXPECT_EQ(updated, expected);
  EXPECT_EQ(LookupMappingIndex(updated, "057e:2009").mappingIndex, 2);
}

TEST(PolicyUpdate, TextThatIsNotJsonIsReplaced) {
  EXPECT_EQ(UpdateMappingIndex("this is not json", XBOX, 6, "Xbox Controller"), ONE_XBOX_ENTRY);
}

TEST(PolicyUpdate, NestingBeyondWhatTheReaderFollowsIsReplaced) {
  const std::string deep = std::string(5000, '[') + std::string(5000, ']');
  EXPECT_EQ(UpdateMappingIndex(deep, XBOX, 6, "Xbox Controller"), ONE_XBOX_ENTRY);
}

// A document that parses only partly still holds the model's older entry: the new choice goes
// there, so lookups answer with it rather than with the old one.
TEST(PolicyUpdate, PartlyParsedDocumentAnswersWithTheLatestChoice) {
  for (const char* document :
       {R"([{"vidpid":"054c:0ce6","mapping":1}, {"vidpid":"045e:028e","mapping":6}, oops)",
        R"([{"vidpid":"054c:0ce6","mapping":1}, {"vidpid":"045e:028e","mapping":-}, oops)"}) {
    SCOPED_TRACE(document);
    const std::string updated = UpdateMappingIndex(document, XBOX, 2, "Xbox Controller");
    EXPECT_EQ(LookupMappingIndex(updated, XBOX).mappingIndex, 2);
    EXPECT_EQ(LookupMappingIndex(updated, "054c:0ce6").mappingIndex, 1);
    EXPECT_EQ(updated.find("\"vidpid\" : \"045e:028e\""),
              updated.rfind("\"vidpid\" : \"045e:028e\""));
  }
}

TEST(PolicyUpdate, IndexOutsideTheMappingKindsIsStoredUnchanged) {
  const std::string expected = R"([
   {
      "describe" : "odd",
      "mapping" : 65535,
      "vidpid" : "045e:028e"
   }
]
)";
  const std::string text = UpdateMappingIndex("", XBOX, 65535, "odd");
  EXPECT_EQ(text, expected);
  EXPECT_EQ(LookupMappingIndex(text, XBOX).mappingIndex, 65535);
}

TEST(PolicyUpdate, DescribeIsWrittenAsEscapedJsonText) {
  const std::string expected = R"([
   {
      "describe" : "say \"hi\"\\now",
      "mapping" : 4,
      "vidpid" : "2dc8:6101"
   }
]
)";
  EXPECT_EQ(UpdateMappingIndex("", "2dc8:6101", 4, "say \"hi\"\\now"), expected);
}

}  // namespace
