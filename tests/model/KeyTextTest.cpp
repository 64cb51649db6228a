#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "Keys.h"
#include "Zarn/CharRange.h"
#include "Zarn/Exception.h"
#include "Zarn/ValueText.h"

namespace {

using PtpSnmp::ClockType;

template <class Key>
std::string text(const Key& key) {
  std::ostringstream os;
  os << key;
  return os.str();
}

template <class Table>
struct KeyText : testing::Test {};
TYPED_TEST_SUITE(KeyText, test::KeyedTables, test::TableName);

TYPED_TEST(KeyText, ReadsBackAsAnEqualKey) {
  std::mt19937 random(1588);
  for (int i = 0; i < 2000; ++i) {
    const auto key = test::randomKey<TypeParam>(random);
    const auto read = Zarn::strepToValue<typename TypeParam::Key>(text(key));
    ASSERT_EQ(read, key) << key;
    ASSERT_EQ(TypeParam::fields(read), TypeParam::fields(key));
  }
}

TYPED_TEST(KeyText, OneExtraCharacterAtTheEndIsRefused) {
  const std::string whole = text(TypeParam::key(7));
  for (const char extra : {' ', ')', ',', '0', 'x', '\n', '\0'}) {
    EXPECT_THROW(Zarn::strepToValue<typename TypeParam::Key>(whole + extra), Zarn::RangeException) << extra;
  }
}

TYPED_TEST(KeyText, ACursorIsAdvancedPastTheKeyAndNoFurther) {
  const auto key = TypeParam::key(7);
  const std::string two = text(key) + text(key);
  Zarn::CharRange cursor(two);
  EXPECT_EQ(typename TypeParam::Key(cursor), key);
  EXPECT_EQ(cursor.rest(), text(key));
  EXPECT_EQ(typename TypeParam::Key(cursor), key);
  EXPECT_TRUE(cursor.empty());
}

TYPED_TEST(KeyText, EveryTruncationIsRefused) {
  const std::string whole = text(TypeParam::key(7));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THROW(Zarn::strepToValue<typename TypeParam::Key>(whole.substr(0, length)), Zarn::RangeException) << length;
  }
}

/// Changes, inserts, deletes or exchanges characters at one to three places.
std::string mutated(std::string whole, std::mt19937& random) {
  static constexpr std::string_view characters = "0123456789(),=:-+ abcIxz\t\xff";
  const auto character = [&] { return characters[random() % characters.size()]; };
  for (std::uint32_t left = 1 + random() % 3; left > 0 && !whole.empty(); --left) {
    const std::size_t at = random() % whole.size();
    switch (random() % 4) {
      case 0: whole[at] = character(); break;
      case 1: whole.insert(at, 1, character()); break;
      case 2: whole.erase(at, 1); break;
      default: std::swap(whole[at], whole[random() % whole.size()]);
    }
  }
  return whole;
}

/// The form with each number as it would be written.
std::string withoutLeadingZeros(const std::string& form) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  std::string shortened;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const bool isLeadingZero =
        form[i] == '0' && shortened.ends_with('=') && i + 1 < form.size() && isDigit(form[i + 1]);
    if (!isLeadingZero) shortened += form[i];
  }
  return shortened;
}

TYPED_TEST(KeyText, AMutatedTextIsReadAsWhatItSaysOrRefusedWithTheRangeException) {
  std::mt19937 random(241);
  int read = 0;
  for (int i = 0; i < 10'000; ++i) {
    const std::string form = mutated(text(test::randomKey<TypeParam>(random)), random);
    try {
      const auto key = Zarn::strepToValue<typename TypeParam::Key>(form);
      // What was read is what stands there, but for leading zeros.
      ASSERT_EQ(text(key), withoutLeadingZeros(form));
      ++read;
    } catch (const Zarn::RangeException&) {
    }
  }
  EXPECT_GT(read, 100) << "a changed digit still gives a key";
  EXPECT_LT(read, 9'900);
}

TEST(KeyTextForm, NamesTheTypeAndTheAttributesInTheOrderOfTheIndex) {
  using namespace PtpSnmp;
  EXPECT_EQ(text(PtpTableKey(1, ClockType::boundaryClock, 5)),
            "PtpSnmp::PtpTableKey(domainIndex=1,clockTypeIndex=boundaryClock,instanceIndex=5)");
  EXPECT_EQ(text(TransDefaultDSTableKey(1, 2)), "PtpSnmp::TransDefaultDSTableKey(domainIndex=1,instanceIndex=2)");
  EXPECT_EQ(text(PortTableKey(1, ClockType::transparentClock, 2, 4294967295)),
            "PtpSnmp::PortTableKey(domainIndex=1,clockTypeIndex=transparentClock,instanceIndex=2,"
            "portNumberIndex=4294967295)");
  EXPECT_EQ(text(PortTransDSTableKey(1, 2, 3)),
            "PtpSnmp::PortTransDSTableKey(domainIndex=1,instanceIndex=2,portNumberIndex=3)");
  EXPECT_EQ(text(SystemTableKey(1, 2)), "PtpSnmp::SystemTableKey(ptpDomainIndex=1,ptpInstanceIndex=2)");
}

template <class Key>
std::string refusal(const std::string& form) {
  try {
    Zarn::strepToValue<Key>(form);
  } catch (const Zarn::RangeException& error) {
    return error.what();
  }
  ADD_FAILURE() << form << " was read";
  return {};
}

TEST(KeyTextForm, AnUnknownClockTypeIsAFailureToReadThatAttribute) {
  const std::string ptp =
      refusal<PtpSnmp::PtpTableKey>("PtpSnmp::PtpTableKey(domainIndex=1,clockTypeIndex=grandClock,instanceIndex=5)");
  EXPECT_NE(ptp.find("failed to read attribute clockTypeIndex"), std::string::npos) << ptp;
  EXPECT_NE(ptp.find("grandClock"), std::string::npos) << ptp;
  const std::string port = refusal<PtpSnmp::PortTableKey>(
      "PtpSnmp::PortTableKey(domainIndex=1,clockTypeIndex=1,instanceIndex=5,portNumberIndex=1)");
  EXPECT_NE(port.find("failed to read attribute clockTypeIndex"), std::string::npos) << port;
}

TEST(KeyTextForm, EveryDepartureIsRefused) {
  using PtpSnmp::PtpTableKey;
  const std::string good = "PtpSnmp::PtpTableKey(domainIndex=1,clockTypeIndex=boundaryClock,instanceIndex=5)";
  EXPECT_NO_THROW(Zarn::strepToValue<PtpTableKey>(good));
  const std::pair<const char*, const char*> departures[] = {
      {"PtpSnmp::PtpTableKey", "PtpTableKey"},
      {"PtpTableKey", "SystemTableKey"},
      {"domainIndex", "ptpDomainIndex"},
      {"domainIndex=1,", ""},
      {",instanceIndex=5", ""},
      {"instanceIndex", "portNumberIndex"},
      {"=1", "=4294967296"},
      {"=5", "=-5"},
      {"=5", "="},
      {"boundaryClock", "BoundaryClock"},
      {"clockTypeIndex=boundaryClock,", ""},
      {"boundaryClock", "boundaryClock2"},
      {"domainIndex=1,clockTypeIndex=boundaryClock", "clockTypeIndex=boundaryClock,domainIndex=1"},
  };
  for (const auto& [from, to] : departures) {
    std::string form = good;
    form.replace(form.find(from), std::string_view(from).size(), to);
    EXPECT_THROW(Zarn::strepToValue<PtpTableKey>(form), Zarn::RangeException) << form;
  }
}

}  // namespace
