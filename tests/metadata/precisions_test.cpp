#include "metadata/precisions.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "core/error.hpp"
#include "support/log_capture.hpp"
#include "support/message_of.hpp"
#include "writer/byte_writer.hpp"

namespace morvex {
namespace {

using enum QuantizationType;

/// The matching rule as it is defined: exponential, but plain.
bool matchesByDefinition(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern.front() != '*') {
    return !text.empty() && pattern.front() == text.front() &&
           matchesByDefinition(pattern.substr(1), text.substr(1));
  }
  if (pattern.size() == 1) return true;
  for (std::size_t from = 0; from < text.size(); ++from) {
    if (matchesByDefinition(pattern.substr(1), text.substr(from))) return true;
  }
  return false;
}

/// All texts over the letters, up to the length.
std::vector<std::string> allTexts(std::string_view letters, std::size_t longest) {
  std::vector<std::string> texts{""};
  for (std::size_t first = 0, length = 0; length < longest; ++length) {
    const std::size_t end = texts.size();
    for (; first < end; ++first) {
      for (const char letter : letters) texts.push_back(texts[first] + letter);
    }
  }
  return texts;
}

TEST(Wildcards, AgreeWithTheirDefinition) {
  const std::vector<std::string> texts = allTexts("ab", 5);
  ASSERT_EQ(texts.size(), 63U);
  for (const std::string& pattern : allTexts("ab*", 5)) {
    for (const std::string& text : texts) {
      ASSERT_EQ(matchesWildcard(pattern, text), matchesByDefinition(pattern, text))
          << "'" << pattern << "' on '" << text << "'";
    }
  }
}

TEST(Wildcards, ManyStarsDontMakeItSlow) {
  std::string pattern;
  for (int i = 0; i < 200; ++i) pattern += "*a";
  EXPECT_FALSE(matchesWildcard(pattern + "b", std::string(2000, 'a')));
}

/// A table with the given maximum for "v" (none if negative), and the entries as (key, type,
/// first parameter); all four parameters rise from the first by 1.
struct Entry {
  std::string_view key;
  std::uint32_t type;
  double first;
};

Precisions tableOf(std::initializer_list<Entry> entries, double maximum = -1.0) {
  Writer::ByteWriter bytes({0, 0, 0});
  bytes.u64({entries.size(), 30});
  for (const Entry& entry : entries) {
    bytes.fixedText(entry.key, 30).u32({entry.type});
    bytes.f64({entry.first, entry.first + 1, entry.first + 2, entry.first + 3});
  }
  bytes.f64({maximum});
  Precisions precisions("ensg");
  readPrecisions(bytes.bytes(), precisions, 1, std::vector<std::string>{"v"});
  return precisions;
}

double stepOf(Precisions& precisions, const std::string& name) {
  const PrecisionSetting setting = precisions.getPrecision(name);
  EXPECT_EQ(setting.type, UniformQuantization);
  EXPECT_EQ(setting.parameters.size(), 1U);
  return setting.parameters.at(0);
}

TEST(PrecisionsRecord, KeepsTheParametersThatTheTypeUses) {
  Precisions table =
      tableOf({{"coordinates", 2, 1.0}, {"v*", 3, 2.0}, {"w", 1, 3.0}, {"x", 0, 4.0}}, 0.0);
  const std::map<std::string, PrecisionSetting> expected{
      {"coordinates", {AdaptiveShiftQuantization, {1, 2, 3, 4}}},
      {"v*", {AdaptiveExponentQuantization, {2, 3, 4, 5}}},
      {"w", {RelativeQuantization, {3}}},
      {"x", {UniformQuantization, {4}}}};
  EXPECT_EQ(table.entries(), expected);
  EXPECT_EQ(table.maxValues(), (std::map<std::string, double>{{"v", 0.0}}));
  EXPECT_EQ(table.tag(), "ensg");
  EXPECT_TRUE(tableOf({}, -0.5).maxValues().empty());

  const Writer::ByteWriter none = Writer::ByteWriter({0, 0, 0}).u64({0, 0}).f64({1.0});
  readPrecisions(none.bytes(), table, 0, {});
  EXPECT_TRUE(table.entries().empty()) << "a second record replaces the first";
  EXPECT_THROW(readPrecisions(none.bytes(), table, 1, {}), std::out_of_range)
      << "a maximum without the name of its variable";
}

TEST(PrecisionsRecord, RefusesWhatDoesNotSuitItsKey) {
  const auto failure = [](std::initializer_list<Entry> entries) {
    return messageOf<InternalError>([&] { tableOf(entries); });
  };
  EXPECT_EQ(failure({{"a", 4, 1}}), "Unhandled QuantizationType!");
  EXPECT_EQ(failure({{"a", 0xFFFFFFFF, 1}}), "Unhandled QuantizationType!");
  EXPECT_EQ(failure({{"a", 0, 1}, {"a", 0, 1}}),
            "Duplicate precisions key: 'a' (<compressed file>)");
  EXPECT_EQ(failure({{"coordinates", 1, 1}}),
            "Tried to use relative quantization for coordinates!");
  EXPECT_EQ(failure({{"mcoordinates", 2, 1}}),
            "Tried to use adaptive quantization for variable mcoordinates");
  EXPECT_EQ(failure({{"coordinates", 3, 1}}),
            "Tried to use linear adaptive quantization for coordinates!");
  EXPECT_NO_THROW(tableOf({{"mcoordinates", 1, 1}, {"coordinates2", 3, 1}}));
}

TEST(Precisions, AnExactKeyWinsOverPatternsAndTwoPatternsAreAmbiguous) {
  Precisions table = tableOf({{"*", 0, 1}, {"ab*", 0, 2}, {"abc", 0, 3}});
  EXPECT_EQ(stepOf(table, "abc"), 3);
  EXPECT_EQ(stepOf(table, "xyz"), 1);
  EXPECT_EQ(messageOf<UsageException>([&] { (void)table.getPrecision("abd"); }),
            "Precision file: More than one match for variable abd");
}

TEST(Precisions, UnknownNamesTakeTheDefaultButCoordinatesDoNot) {
  Precisions table = tableOf({{"DEFAULT_VARIABLE_PRECISION", 0, 0.5}});
  EXPECT_EQ(stepOf(table, "v"), 0.5);
  EXPECT_EQ(stepOf(table, "coordinates"), 0.0);
  EXPECT_EQ(stepOf(table, "mcoordinates"), 0.0);
  Precisions patterned = tableOf({{"DEFAULT*", 0, 0.25}});  // the default's name is a name, too
  EXPECT_EQ(stepOf(patterned, "v"), 0.25);
  Precisions empty("ensg");
  EXPECT_EQ(stepOf(empty, "v"), 0.0);
  EXPECT_FALSE(empty.find("v").has_value());
}

TEST(Precisions, RelativeStepsAreShortenedToFiveDigits) {
  const auto relative = [](double percentage, double maximum) {
    Precisions table = tableOf({{"v", 1, percentage}}, maximum);
    return stepOf(table, "v");
  };
  EXPECT_EQ(relative(1.0, 0.0), 0.11111);
  EXPECT_EQ(relative(0.0, 5.0), 0.11111);
  EXPECT_EQ(relative(100.0, 1e9), 1e9);  // 10000 itself is not above 10000
  EXPECT_EQ(relative(100.0, 1.23456789), 12346.0 / 10000.0);
  EXPECT_EQ(relative(100.0, 1.5e-3), 15000.0 / 1e7);
  EXPECT_EQ(relative(100.0, 123456.0), 12346.0 / std::pow(10.0, -1));
  EXPECT_EQ(relative(100.0, 1e-30), 1e-30);              // below what the powers reach
  EXPECT_EQ(relative(-100.0, 3.14159265), -3.14159265);  // never above 10000
}

TEST(Precisions, ARelativeDefaultNeedsTheMaximumOfTheNameItself) {
  Precisions table = tableOf({{"DEFAULT_VARIABLE_PRECISION", 1, 10}}, 3.0);
  EXPECT_EQ(stepOf(table, "v"), 0.3);
  const Kelbor::LogCapture log(Kelbor::LogLevel::kWarning);
  EXPECT_EQ(messageOf<std::runtime_error>([&] { (void)table.getPrecision("w"); }),
            "No maxValue recorded for w");
  EXPECT_EQ(log.text(), "ERROR: No maxValue recorded for w\n");
}

TEST(Precisions, EveryNameIsLoggedOnceInTheFormOfItsType) {
  Precisions table =
      tableOf({{"a", 0, 0.125}, {"v", 1, 10}, {"coordinates", 2, 0.5}, {"e", 3, 1}}, 1234567.0);
  table.addEntry("s", {AdaptiveScaledExponentQuantization, {0.75}}, "test");
  const Kelbor::LogCapture log(Kelbor::LogLevel::kDebug);
  for (int round = 0; round < 2; ++round) {
    for (const char* name : {"a", "v", "coordinates", "e", "s"}) {
      (void)table.getPrecision(name);
    }
  }
  EXPECT_EQ(log.text(),
            "DEBUG: Precision(a) = 0.125\n"
            "DEBUG: Precision(v) = relative: 10 * 1.23457e+06 = 123460\n"
            "DEBUG: Precision(coordinates) = adaptive::[0.5, 1.5, 2.5, 3.5\n"
            "DEBUG: Precision(e) = linear_adaptive::[1, 2, 3, 4\n"
            "DEBUG: Precision(s) = relative_adaptive::0.75\n");
}

}  // namespace
}  // namespace morvex
