#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "JsonPatch.h"

namespace host {
namespace {

class CountingPacer final : public Pacer {
 public:
  std::size_t portions = 0;

 private:
  void portionIsOver() override { ++portions; }
};

enum class Nulls { no, yes };

// Objects, texts and numbers under few names, so that they meet in two of them.
Json randomObject(std::mt19937& random, Nulls nulls, int depth = 0) {
  Json object = Json::object();
  for (std::size_t members = random() % 5; members > 0; --members) {
    Json& member = object[std::string(1, static_cast<char>('a' + random() % 6))];
    switch (random() % (depth < 4 ? 5 : 3)) {
      case 0: member = random() % 100; break;
      case 1: member = fmt::format("text {}", random()); break;
      case 2:
        if (nulls == Nulls::no) member = -1.5;
        break;
      default: member = randomObject(random, nulls, depth + 1);
    }
  }
  return object;
}

std::string refusal(const std::string& text) {
  try {
    parseJson(text);
  } catch (const DocumentError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(Json, ATextMeansWhatTheLibraryMakesOfIt) {
  std::mt19937 random(1);
  for (int round = 0; round < 1000; ++round) {
    const Json expected = randomObject(random, Nulls::yes);
    ASSERT_EQ(parseJson(expected.dump(round % 2)), expected) << expected;
  }
  for (const char* text : {"5", "-5", "18446744073709551615", "-1.5e-3", R"("a\u00e9\n")", "true", "null", "{}", "[]",
                           "\xef\xbb\xbf{}", " [ 7 ] "}) {
    EXPECT_EQ(parseJson(text), Json::parse(text)) << text;
  }
}

TEST(Json, WhatTheLibraryRefusesIsRefused) {
  for (const char* text : {"", " ", "{", "{}}", "[1,]", "{\"a\"}", "\"\xff\"", "01", "1e9999999", "tru", "// x\n1",
                           "'a'", "{\"a\":1,}", "\"\\x\"", "\"\\ud800\""}) {
    EXPECT_FALSE(Json::accept(text)) << text;
    EXPECT_EQ(refusal(text).substr(0, 10), "not JSON: ") << text;
  }
}

TEST(Json, ANameThatStandsTwiceIsRefusedInAnyObject) {
  for (const char* text : {R"({"a":1,"a":1})", R"({"b":{"a":1,"c":{},"a":1}})", R"([1,{"a":1,"a":1},2])"}) {
    EXPECT_EQ(refusal(text), "\"a\" stands twice in one object") << text;
  }
  EXPECT_EQ(refusal(R"({"a":{"a":1},"b":{"a":1}})"), "accepted");
}

TEST(Json, OfAnArrayTheLastElementIsKept) {
  EXPECT_EQ(parseJson(R"({"a":[1,{"b":2},[3,4]]})"), Json::parse(R"({"a":[[4]]})"));
}

TEST(Json, WhatWouldKeepTheParserBusyAloneIsRefused) {
  constexpr std::size_t most = 16384;
  const std::string reason = "a name, text, number or gap has more than 16384 bytes";
  const auto document = [](const std::string& name, const std::string& gap, const std::string& value) {
    return "{\"" + name + "\":" + gap + value + "}";
  };
  EXPECT_EQ(refusal(document(std::string(most + 1, 'a'), "", "1")), reason);
  EXPECT_EQ(refusal(document("a", "", '"' + std::string(most + 1, '"'))).substr(0, 8), "not JSON");
  EXPECT_EQ(refusal(document("a", "", '"' + std::string(most + 1, ',') + '"')), reason);
  EXPECT_EQ(refusal(document("a", "", std::string(most + 1, '1'))), reason);
  EXPECT_EQ(refusal(document("a", std::string(most + 1, '\t'), "1")), reason);
  EXPECT_EQ(refusal(document(std::string(most - 100, 'a'), std::string(most - 100, ' '), "null")), "accepted");
}

TEST(Json, AllThatTakesTimeIsDoneInPortions) {
  std::string text = "{\"a\":1";
  for (int i = 0; i < 100'000; ++i) text += fmt::format(",\"{}\":{{}}", i);
  text += '}';
  const auto portionsOf = [](const auto& work) {
    CountingPacer pacer;
    work(pacer);
    return pacer.portions;
  };
  Json read;
  Json target = Json::object();
  Json undo;
  EXPECT_GT(portionsOf([&](Pacer& pacer) { parseJson(text, read, pacer); }), 200U);
  EXPECT_GT(portionsOf([&](Pacer& pacer) { undo = applyPatch(target, read, pacer); }), 200U);
  EXPECT_GT(portionsOf([&](Pacer& pacer) { applyPatch(target, undo, pacer); }), 200U);
  EXPECT_GT(portionsOf([&](Pacer& pacer) { discard(undo, pacer); }), 200U);
  EXPECT_TRUE(target.empty());
  EXPECT_TRUE(undo.is_null());
}

TEST(JsonPatch, ItIsTheMergePatchOfTheStandardAndItsUndoTakesItBack) {
  std::mt19937 random(2);
  Unpaced pacer;
  Json target = Json::object();
  for (int round = 0; round < 5000; ++round) {
    const Json before = target;
    Json patch = randomObject(random, Nulls::yes);
    Json expected = before;
    expected.merge_patch(patch);
    Json undo = applyPatch(target, patch, pacer);
    ASSERT_EQ(target, expected) << before << patch;
    Json redo = applyPatch(target, undo, pacer);
    ASSERT_EQ(target, before) << expected;
    applyPatch(target, redo, pacer);
    ASSERT_EQ(target, expected) << before;
  }
}

}  // namespace
}  // namespace host
