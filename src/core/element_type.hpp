#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

namespace Kelbor {

/// The element type of a value in the graph: one of the codes below. Recipes store these codes;
/// they are part of the file format.
class DataType {
 public:
  constexpr DataType() noexcept = default;
  /// Accepts any code. One outside the table has the properties of "<unknown>", so a bad stored
  /// code fails in the first procedure that uses it.
  constexpr explicit DataType(std::int32_t enumerator) noexcept : enumerator_(enumerator) {}

  [[nodiscard]] constexpr std::int32_t enumerator() const noexcept { return enumerator_; }
  /// The name used in every message about types, for example "Int32".
  [[nodiscard]] const char* getName() const noexcept;
  /// Bytes of one element; 255 for types without a fixed size.
  [[nodiscard]] std::uint8_t getSize() const noexcept;
  /// Largest value as a signed number: -1 for UInt64, whose largest value has all bits set.
  [[nodiscard]] std::int64_t getMaxValue() const noexcept;
  [[nodiscard]] std::int64_t getMinValue() const noexcept;
  [[nodiscard]] bool isSigned() const noexcept;
  [[nodiscard]] bool isFloatingPoint() const noexcept;

  friend constexpr bool operator==(DataType, DataType) noexcept = default;

 private:
  std::int32_t enumerator_ = -2;
};

namespace DataTypes {

inline constexpr DataType kUnknown{-2};
inline constexpr DataType kInt8{2};
inline constexpr DataType kUInt8{3};
inline constexpr DataType kInt16{4};
inline constexpr DataType kUInt16{5};
inline constexpr DataType kInt32{6};
inline constexpr DataType kUInt32{7};
inline constexpr DataType kInt64{8};
inline constexpr DataType kUInt64{9};
inline constexpr DataType kFloat{10};
inline constexpr DataType kDouble{11};

}  // namespace DataTypes

/// The DataType whose elements are of the C++ type T.
template <class T>
[[nodiscard]] constexpr DataType dataTypeOf() noexcept {
  if constexpr (std::is_same_v<T, std::int8_t>)
    return DataTypes::kInt8;
  else if constexpr (std::is_same_v<T, std::uint8_t>)
    return DataTypes::kUInt8;
  else if constexpr (std::is_same_v<T, std::int16_t>)
    return DataTypes::kInt16;
  else if constexpr (std::is_same_v<T, std::uint16_t>)
    return DataTypes::kUInt16;
  else if constexpr (std::is_same_v<T, std::int32_t>)
    return DataTypes::kInt32;
  else if constexpr (std::is_same_v<T, std::uint32_t>)
    return DataTypes::kUInt32;
  else if constexpr (std::is_same_v<T, std::int64_t>)
    return DataTypes::kInt64;
  else if constexpr (std::is_same_v<T, std::uint64_t>)
    return DataTypes::kUInt64;
  else if constexpr (std::is_same_v<T, float>)
    return DataTypes::kFloat;
  else if constexpr (std::is_same_v<T, double>)
    return DataTypes::kDouble;
  else
    static_assert(!sizeof(T), "no DataType for this element type");
}

/// A tag that carries an element type into a generic lambda.
template <class T>
struct ElementTag {
  using type = T;
};

/// Calls f(ElementTag<T>{}) for the T of the list whose DataType is `type` and returns true, or
/// returns false if there is none. Each procedure lists the types that it has a kernel for.
template <class... Types, class F>
bool visitElement(DataType type, F&& f) {
  return ((type == dataTypeOf<Types>() ? (f(ElementTag<Types>{}), true) : false) || ...);
}

/// Logs and throws KelborDataException: `where` + ": Unhandled data type: " + the type's name.
[[noreturn]] void raiseUnhandledType(DataType type, const std::string& where = {});

}  // namespace Kelbor
