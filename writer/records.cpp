#include "writer/records.hpp"

#include <algorithm>

namespace morvex::Writer {
namespace {

constexpr MetadataVersion kFirstVersion{0, 0, 0};

void putTexts(ByteWriter& out, const std::vector<std::string>& texts, std::uint64_t width) {
  for (const std::string& text : texts) out.fixedText(text, width);
}

/// Counted lists of floats, one for each variable.
void putConstants(ByteWriter& out, const std::vector<std::vector<float>>& constants) {
  for (const auto& values : constants) out.u64(values.size()).array(values);
}

/// The entries of all parts, part by part.
template <class T>
void putNested(ByteWriter& out, const std::vector<std::vector<T>>& parts) {
  for (const auto& entries : parts) out.array(entries);
}

void putState(ByteWriter& out, const GeometryMetadata& state, std::uint64_t nameWidth) {
  out.u64(state.numParts).array(state.partIds).array(state.partValues).array(state.partTypes);
  putTexts(out, state.partNames, nameWidth);
  out.array(state.numNodes).array(state.nfacedConnectivitySize);
  out.array(state.nfacedNodesPerFaceSize).array(state.nsidedConnectivitySize);
  out.array(state.elementCounts).array(state.blockInfo).bools(state.partFlagsA);
  out.array(state.partValuesB);
  for (const std::uint32_t value : state.stateValues) out.u32(value);
  out.bools(state.coordinatesAdaptive).bools(state.partFlagsC).array(state.borderFaceCounts);
}

void putOctree(ByteWriter& out, const OctreeMetaData& octree) {
  out.u64(octree.entryCounts.size()).array(octree.entryCounts).array(octree.partValues);
  putNested(out, octree.entryValuesA);
  putNested(out, octree.entryPairs);
  putNested(out, octree.entryElementCounts);
  putNested(out, octree.entryValuesB);
  putNested(out, octree.entryValuesC);
  putNested(out, octree.entryValuesD);
  putNested(out, octree.entryValuesE);
  out.bools(octree.partFlags);
}

}  // namespace

Bytes versionBytes(const MetadataVersion& required) {
  return ByteWriter().u32(0).u32(required.major).u32(required.minor).u32(required.patch).take();
}

Bytes caseBytes(const CaseMetaData& record, const StoredBox& box) {
  ByteWriter out(kFirstVersion);
  for (const float value : box) out.f32(value);
  out.u64(record.title.size()).u64(record.numGeometries).u64(record.numTimesets);
  out.u64(record.numFilesets).u64(record.numVariables).u64(record.nameWidth);
  out.text(record.title).array(record.geometryKinds).array(record.geometryChangeTypes);
  out.array(record.geometryTimesets).array(record.timesetStepCounts).array(record.geometryExtra);
  for (const std::uint32_t value : record.caseValues) out.u32(value);
  out.u32(static_cast<std::uint32_t>(record.caseText.size())).text(record.caseText);
  for (const std::string& text : record.geometryTexts) {
    out.u32(static_cast<std::uint32_t>(text.size()));
  }
  for (const std::string& text : record.geometryTexts) out.text(text);
  return out.take();
}

Bytes geometryBytes(const std::vector<std::vector<GeometryMetadata>>& states,
                    std::uint64_t nameWidth) {
  ByteWriter out(kFirstVersion);
  for (const auto& geometry : states) {
    for (const GeometryMetadata& state : geometry) putState(out, state, nameWidth);
  }
  return out.take();
}

Bytes octreeBytes(const std::vector<std::vector<OctreeMetaData>>& states) {
  ByteWriter out(kFirstVersion);
  for (const auto& geometry : states) {
    for (const OctreeMetaData& octree : geometry) putOctree(out, octree);
  }
  return out.take();
}

Bytes variableBytes(const VariableMetaData& record, std::uint64_t nameWidth,
                    const MetadataVersion& version) {
  ByteWriter out(version);
  putTexts(out, record.names, nameWidth);
  out.array(record.types).array(record.locations).array(record.complexFlags);
  out.array(record.frequencies).array(record.timesets).array(record.geometryIndices);
  putTexts(out, record.descriptions, nameWidth);
  putTexts(out, record.imaginaryDescriptions, nameWidth);
  out.array(record.constantFlags);
  putConstants(out, record.constantValues);
  putConstants(out, record.imaginaryConstantValues);
  for (std::size_t v = 0; v < record.definedOnPart.size(); ++v) {
    if (record.constantFlags[v] == 0) out.bools(record.definedOnPart[v]);
  }
  out.array(record.dataTypes).bools(record.usesTimeDiffs);
  if (version >= MetadataVersion{0, 1, 0}) putTexts(out, record.datasetNames, nameWidth);
  return out.take();
}

Bytes timeSetBytes(const TimeSet& set) {
  ByteWriter out(kFirstVersion);
  out.u32(set.id()).countedText(set.description()).i32(set.numberOfSteps());
  out.array(set.timeValues()).i32(set.filenameStart());
  if (set.filenameStart() < 0) {
    out.array(set.filenameNumbers());
  } else {
    out.u32(set.filenameIncrement());
  }
  return out.take();
}

Bytes fileSetBytes(const FileSet& set) {
  return ByteWriter(kFirstVersion)
      .u32(set.id())
      .u32(set.numberOfSteps())
      .u32(set.fileIndex())
      .take();
}

Bytes precisionBytes(std::span<const PrecisionEntry> entries,
                     const std::vector<double>& maxValues) {
  constexpr std::size_t kParameterRoom = 4;
  std::size_t keyWidth = 1;
  for (const PrecisionEntry& entry : entries) keyWidth = std::max(keyWidth, entry.key.size());
  ByteWriter out(kFirstVersion);
  out.u64(entries.size()).u64(keyWidth);
  for (const auto& [key, setting] : entries) {
    out.fixedText(key, keyWidth).u32(static_cast<std::uint32_t>(setting.type));
    std::vector<double> parameters = setting.parameters;
    parameters.resize(kParameterRoom);
    out.array(parameters);
  }
  return out.array(maxValues).take();
}

Bytes boxBytes(std::span<const StoredBox> boxes) {
  return ByteWriter(kFirstVersion).u64(boxes.size()).raw(std::as_bytes(boxes)).take();
}

Bytes timeDifferenceBytes(const CompressTimeDiffsMetaData& record) {
  return ByteWriter(kFirstVersion).u32(record.blockSize).u32(record.maxDepth).take();
}

Bytes parameterListBytes(std::span<const Bytes> blocks) {
  ByteWriter out(kFirstVersion);
  out.i32(static_cast<std::int32_t>(blocks.size()));
  for (const Bytes& block : blocks) out.i32(static_cast<std::int32_t>(block.size())).raw(block);
  return out.take();
}

}  // namespace morvex::Writer
