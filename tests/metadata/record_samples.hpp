#pragma once

#include <numeric>

#include "metadata/case_records.hpp"
#include "metadata/metadata_version.hpp"
#include "writer/byte_writer.hpp"

/// Small intact records, built value by value; all numbers differ.
namespace morvex {

/// `count` words first, first + 1, ...
inline std::vector<std::uint32_t> rising(std::uint32_t first, std::uint32_t count) {
  std::vector<std::uint32_t> words(count);
  std::iota(words.begin(), words.end(), first);
  return words;
}

/// A case of two geometries, a static model and a measured one that changes over the two steps of
/// time set 1, with 4 bytes for each name.
inline Writer::ByteWriter caseBytes() {
  Writer::ByteWriter record({0, 0, 0});
  record.f32({-1, -2, -3, 1, 2, 3}).u64({5, 2, 2, 1, 3, 4});
  record.text("title").u8({0, 1}).u8({1, 3}).u32({kNoTimeset, 1}).u32({4, 2}).u32({11, 12});
  record.u32({21, 22, 23, 24, 25}).u32({2}).text("ct").u32({3, 2});
  return record.text("gxyzw");
}

inline CaseMetaData sampleCase() {
  StoredBox box = kInvertedBox;
  return readCaseMetaData(caseBytes().bytes(), box);
}

/// Appends one geometry state with the given names, each in 4 bytes.
inline void appendState(Writer::ByteWriter& record, const std::vector<std::string>& names) {
  const auto n = static_cast<std::uint32_t>(names.size());
  record.u64({n}).array(rising(100, n)).array(rising(200, n)).array(rising(0, n));
  for (const std::string& name : names) record.fixedText(name, 4);
  for (std::uint64_t field = 1; field <= 4; ++field) {
    for (std::uint64_t i = 0; i < n; ++i) record.u64({1000 * field + i});
  }
  for (std::uint32_t i = 0; i < n; ++i) record.array(rising(5000 + 100 * i, 34));
  record.array(rising(6000, 4 * n));
  for (std::uint32_t i = 0; i < n; ++i) record.u8({i == 0});
  record.array(rising(300, n)).u32({31, 32, 33});
  for (std::uint32_t i = 0; i < n; ++i) record.u8({i % 2 == 1});
  for (std::uint32_t i = 0; i < n; ++i) record.u8({1});
  for (std::uint32_t i = 0; i < n; ++i) record.array(rising(7000 + 100 * i, 34));
}

/// Two variables with names of 4 bytes: "temp" on two parts and the constant "c".
inline Writer::ByteWriter variableBytes(const MetadataVersion& version) {
  Writer::ByteWriter record(version);
  record.text("temp").fixedText("c", 4).u32({5, 1}).u32({4, 1}).u32({0, 1}).f32({0.0F, 2.5F});
  record.u32({1, kNoTimeset}).u32({0, 1}).text("desc").fixedText("d", 4).fixedText("", 8);
  record.u32({0, 1}).u64({0}).u64({2}).f32({1.5F, 2.5F}).u64({0}).u64({1}).f32({3.5F});
  record.u8({0, 1}).u32({8, 9}).u8({1, 0});
  if (version.minor > 0) record.fixedText("ds0", 4).fixedText("ds1", 4);
  return record;
}

/// An octree of three parts, of which the one in the middle has two entries.
inline Writer::ByteWriter octreeBytes() {
  Writer::ByteWriter record({0, 0, 0});
  record.u64({3}).u32({0, 2, 0}).u32({4, 5, 6}).u64({10, 11}).u32({20, 21, 22, 23});
  record.array(rising(100, 34))
      .array(rising(200, 34))
      .u64({30, 31})
      .u64({40, 41})
      .u64({50, 51})
      .u64({60, 61});
  return record.u8({0, 1, 1});
}

}  // namespace morvex
