#include "core/element_type.hpp"

#include <array>
#include <limits>

#include "core/error.hpp"

namespace Kelbor {
namespace {

struct TypeProperties {
  std::int32_t enumerator;
  bool isSigned;
  bool isFloatingPoint;
  const char* name;
  std::uint8_t size;
  std::int64_t largest;
  std::int64_t smallest;
};

constexpr std::int32_t kFirstEnumerator = -2;

template <class T>
constexpr TypeProperties integerType(const char* name) {
  using Limits = std::numeric_limits<T>;
  return {dataTypeOf<T>().enumerator(),
          Limits::is_signed,
          false,
          name,
          sizeof(T),
          static_cast<std::int64_t>(Limits::max()),
          static_cast<std::int64_t>(Limits::min())};
}

// Indexed by enumerator + 2. The bounds of "Boolean" are reversed on purpose: every reader and
// writer of the format has them in this order.
constexpr std::array<TypeProperties, 20> kTypes{{
    {kFirstEnumerator, false, false, "<unknown>", 255, 0, 0},
    {-1, false, false, "<none>", 255, 0, 0},
    {0, false, false, "String", 255, 0, 0},
    {1, false, false, "Boolean", 1, 0, 1},
    integerType<std::int8_t>("Int8"),
    integerType<std::uint8_t>("UInt8"),
    integerType<std::int16_t>("Int16"),
    integerType<std::uint16_t>("UInt16"),
    integerType<std::int32_t>("Int32"),
    integerType<std::uint32_t>("UInt32"),
    integerType<std::int64_t>("Int64"),
    integerType<std::uint64_t>("UInt64"),
    {DataTypes::kFloat.enumerator(), true, true, "Float", 4, 0, 0},
    {DataTypes::kDouble.enumerator(), true, true, "Double", 8, 0, 0},
    {12, true, true, "Complex32", 8, 0, 0},
    {13, true, true, "Complex64", 16, 0, 0},
    {14, false, false, "Char", 1, 0, 0},
    {15, false, false, "DataDimension", 255, 0, 0},
    {16, false, false, "ScripletInvocation", 255, 0, 0},
    {17, false, false, "DataProvider", 255, 0, 0},
}};

constexpr bool tableIsInOrder() {
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    if (kTypes[i].enumerator != static_cast<std::int32_t>(i) + kFirstEnumerator) return false;
  }
  return true;
}
static_assert(tableIsInOrder());

const TypeProperties& propertiesOf(std::int32_t enumerator) {
  const std::int64_t row = std::int64_t{enumerator} - kFirstEnumerator;
  if (row < 0 || row >= static_cast<std::int64_t>(kTypes.size())) return kTypes[0];
  return kTypes[static_cast<std::size_t>(row)];
}

}  // namespace

const char* DataType::getName() const noexcept {
  return propertiesOf(enumerator_).name;
}
std::uint8_t DataType::getSize() const noexcept {
  return propertiesOf(enumerator_).size;
}
std::int64_t DataType::getMaxValue() const noexcept {
  return propertiesOf(enumerator_).largest;
}
std::int64_t DataType::getMinValue() const noexcept {
  return propertiesOf(enumerator_).smallest;
}
bool DataType::isSigned() const noexcept {
  return propertiesOf(enumerator_).isSigned;
}
bool DataType::isFloatingPoint() const noexcept {
  return propertiesOf(enumerator_).isFloatingPoint;
}

void raiseUnhandledType(DataType type, const std::string& where) {
  raise<KelborDataException>(where + ": Unhandled data type: " + type.getName());
}

}  // namespace Kelbor
