#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>

#include "core/byte_cursor.hpp"
#include "core/checked.hpp"
#include "core/dimension.hpp"
#include "core/element_type.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

TEST(DataTypes, TableAnswersForEveryCode) {
  std::string table;
  for (std::int32_t code = -3; code < 19; ++code) {
    const DataType type(code);
    table += type.getName() + std::to_string(type.getSize()) + (type.isSigned() ? "s" : "") +
             (type.isFloatingPoint() ? "f " : " ");
  }
  EXPECT_EQ(table,
            "<unknown>255 <unknown>255 <none>255 String255 Boolean1 Int81s UInt81 Int162s UInt162 "
            "Int324s UInt324 Int648s UInt648 Float4sf Double8sf Complex328sf Complex6416sf Char1 "
            "DataDimension255 ScripletInvocation255 DataProvider255 <unknown>255 ");
  EXPECT_EQ(DataTypes::kUInt64.getMaxValue(), -1);
  EXPECT_EQ(DataTypes::kInt16.getMinValue(), -32768);
  EXPECT_EQ(DataTypes::kUInt32.getMaxValue(), 4294967295);
}

TEST(DataTypes, VisitingPicksTheListedTypeOnly) {
  std::size_t size = 0;
  const auto visit = [&](auto tag) { size = sizeof(typename decltype(tag)::type); };
  EXPECT_TRUE((visitElement<std::int32_t, double>(DataTypes::kDouble, visit)));
  EXPECT_EQ(size, 8U);
  EXPECT_FALSE((visitElement<std::int32_t, double>(DataTypes::kFloat, visit)));
  const LogCapture log(LogLevel::kSilent);
  EXPECT_EQ(messageOf<KelborDataException>([] { raiseUnhandledType(DataTypes::kFloat); }),
            ": Unhandled data type: Float");
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

TEST(ByteCursors, NeverPassTheEndOfTheirBlock) {
  const LogCapture log(LogLevel::kSilent);
  const std::array<std::byte, 6> block{std::byte{1}, std::byte{0}, std::byte{0},
                                       std::byte{0}, std::byte{9}, std::byte{8}};
  ContainerCursor record(block);
  EXPECT_EQ(record.read<std::uint32_t>(), 1U);
  EXPECT_EQ(record.remaining(), 2U);
  EXPECT_THROW(record.read<std::uint32_t>(), KelborDataException);
  EXPECT_EQ(record.remaining(), 2U) << "a refused read takes nothing";
  EXPECT_THROW((void)record.checkCount(3, 1), KelborDataException);
  EXPECT_EQ(record.checkCount(1, 2), 1U);
  EXPECT_THROW(record.take(~std::uint64_t{0}), KelborDataException);
  ContainerCursor counted(block);
  EXPECT_THROW((void)counted.readCount<std::uint32_t>(3), KelborDataException);
}

}  // namespace
}  // namespace Kelbor
