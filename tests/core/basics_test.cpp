#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>

#include "core/checked.hpp"
#include "core/dimension.hpp"
#include "core/element_type.hpp"
#include "fake_procedure.hpp"

namespace Kelbor {
namespace {

TEST(DataTypes, TableAnswersForKnownAndUnknownCodes) {
  struct Row {
    const char* name;
    int size;
    bool isSigned, isFloatingPoint;
  };
  const std::map<std::int32_t, Row> rows{
      {-2, {"<unknown>", 255, false, false}}, {0, {"String", 255, false, false}},
      {2, {"Int8", 1, true, false}},          {5, {"UInt16", 2, false, false}},
      {8, {"Int64", 8, true, false}},         {11, {"Double", 8, true, true}},
      {13, {"Complex64", 16, true, true}},    {17, {"DataProvider", 255, false, false}}};
  for (const auto& [code, row] : rows) {
    const DataType type(code);
    EXPECT_STREQ(type.getName(), row.name);
    EXPECT_EQ(type.getSize(), row.size) << row.name;
    EXPECT_EQ(type.isSigned(), row.isSigned) << row.name;
    EXPECT_EQ(type.isFloatingPoint(), row.isFloatingPoint) << row.name;
  }
  for (const std::int32_t code : {-3, 18, std::numeric_limits<std::int32_t>::min(),
                                  std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_STREQ(DataType(code).getName(), "<unknown>");
    EXPECT_EQ(DataType(code).enumerator(), code);
  }
  EXPECT_EQ(DataTypes::kUInt64.getMaxValue(), -1);
  EXPECT_EQ(DataTypes::kInt16.getMinValue(), -32768);
  EXPECT_EQ(DataTypes::kUInt32.getMaxValue(), 4294967295);
}

TEST(Dimensions, CountElementsAndBytes) {
  EXPECT_EQ(DataDimension(DataTypes::kInt32, 0, 0).getByteSize(), 4U) << "rank 0 is one element";
  EXPECT_EQ(DataDimension(DataTypes::kInt32, {7, 0, 3}).getByteSize(), 0U);
  EXPECT_EQ(DataDimension(DataTypes::kInt16, {7, 2, 3}).getByteSize(), 84U);
  EXPECT_EQ(DataDimension(DataTypes::kDouble, 3, 4).getNumberOfElements(), 64U);
  EXPECT_EQ(DataDimension(DataType(0), {3}).getByteSize(), 765U);
}

TEST(Dimensions, ProductsBeyondSixtyFourBitsAreRefused) {
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 32;
  EXPECT_EQ(messageOf<std::length_error>([] {
              DataDimension(DataTypes::kInt8, {kHalf, kHalf});
            }),
            "vector<T> too long");
  const DataDimension elementsFit(DataTypes::kDouble, {kHalf, kHalf / 8});
  EXPECT_EQ(elementsFit.getNumberOfElements(), std::uint64_t{1} << 61);
  EXPECT_THROW((void)elementsFit.getByteSize(), std::length_error);
}

TEST(CheckedHelpers, NumbersAreReadAsTheStandardLibraryReadsThem) {
  const struct {
    const char* text;
    std::int32_t value;
  } good[] = {{"0", 0},
              {"42", 42},
              {" \t\n\v\f\r7", 7},
              {"+5", 5},
              {"-5x", -5},
              {"007", 7},
              {"12 13", 12},
              {"2147483647", 2147483647},
              {"-2147483648", -2147483647 - 1},
              {"1.9", 1},
              {"0x10", 0}};
  for (const auto& sample : good) EXPECT_EQ(checkedStoi(sample.text), sample.value) << sample.text;
  for (const char* text : {"", " ", "x", "-", "+", "- 5", "+-5", ".5"}) {
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { (void)checkedStoi(text); }),
              "invalid stoi argument")
        << text;
  }
  for (const char* text : {"2147483648", "-2147483649", "99999999999999999999999"}) {
    EXPECT_EQ(messageOf<std::out_of_range>([&] { (void)checkedStoi(text); }),
              "stoi argument out of range")
        << text;
  }
}

TEST(CheckedHelpers, IndicesAreComparedInSixtyFourBits) {
  std::vector<int> items{1, 2, 3};
  checkedAt(items, 2) = 30;
  EXPECT_EQ(items[2], 30);
  const auto text = [&](auto index) {
    return messageOf<std::out_of_range>([&] { (void)checkedAt(items, index); });
  };
  EXPECT_EQ(text(3), "invalid vector<T> subscript");
  EXPECT_EQ(text(-1), "invalid vector<T> subscript");
  EXPECT_EQ(text(std::int64_t{1} << 32), "invalid vector<T> subscript");
  EXPECT_EQ(text(~std::uint64_t{0}), "invalid vector<T> subscript");
  EXPECT_EQ(messageOf<std::out_of_range>([&] {
              (void)checkedBit({true, false}, 2);
            }),
            "invalid vector<bool> subscript");
  EXPECT_THROW((void)checkedProduct(std::uint64_t{1} << 33, std::uint64_t{1} << 31),
               std::length_error);
}

}  // namespace
}  // namespace Kelbor
