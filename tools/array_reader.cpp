#include "array_reader.hpp"

#include <algorithm>
#include <new>

namespace morvex::tools {
namespace {

/// The path of a dataset of the question that was just asked.
std::string pathOf(std::size_t index) {
  return textOf([&](auto... out) { return mxg_get_dataset_path(index, out...); });
}

}  // namespace

const char* kindName(ArrayKind kind) {
  static constexpr std::array<const char*, kArrayKinds> kNames{
      "coordinates",  "block coordinates", "connectivity", "n-sided tables", "n-faced tables",
      "border faces", "particles",         "variables",    "constants"};
  return kNames.at(static_cast<std::size_t>(kind));
}

void Scratch::resize(std::size_t bytes) {
  used_ = 0;
  if (bytes > capacity_ || !data_) {
    data_.reset();  // before the new block: both would be twice the largest array
    capacity_ = 0;
    data_ = std::make_unique_for_overwrite<std::byte[]>(std::max<std::size_t>(bytes, 1));
    capacity_ = bytes;
  }
  used_ = bytes;
}

std::span<const DatasetValues> ArrayReader::read(const ArrayId& array) {
  answer_.clear();
  switch (array.kind) {
    case ArrayKind::coordinates:
    case ArrayKind::blockCoordinates:
      readCoordinates(array);
      break;
    case ArrayKind::connectivity:
      readConnectivity(array);
      break;
    case ArrayKind::polygons:
      readPolygons(array);
      break;
    case ArrayKind::polyhedra:
      readPolyhedra(array);
      break;
    case ArrayKind::borderFaces:
      readBorderFaces(array);
      break;
    case ArrayKind::particles:
      readParticles(array);
      break;
    case ArrayKind::variables:
      readVariable(array);
      break;
    case ArrayKind::constants:
      readConstantValue(array);
      break;
  }
  return answer_;
}

const std::vector<Part>& ArrayReader::parts(int step) {
  const int state = contents_.model.stateAt(step);
  if (state != partsState_) {
    partsState_ = -1;
    parts_ = readParts(contents_, step);
    partsState_ = state;
  }
  return parts_;
}

int ArrayReader::geometryStep(const Variable& variable, int step) const {
  const Geometry& geometry = variable.isMeasured ? contents_.measured : contents_.model;
  if (geometry.adaptivity != Adaptivity::connectivity) return 0;
  if (variable.timeSet == geometry.timeSet) return step;
  const auto& times = contents_.timeSets.at(static_cast<std::size_t>(variable.timeSet));
  const auto& states = contents_.timeSets.at(static_cast<std::size_t>(geometry.timeSet));
  const float time = times.at(static_cast<std::size_t>(step));
  const auto later = std::ranges::find_if(states, [&](float start) { return start > time; });
  return std::max(0, static_cast<int>(later - states.begin()) - 1);
}

void ArrayReader::makeRoom(std::size_t index, std::uint64_t bytes) {
  try {
    scratch_.at(index).resize(static_cast<std::size_t>(bytes));
  } catch (const std::bad_alloc&) {
    throw ReadFailure(MXG_OUT_OF_MEMORY, pathOf(0), "not enough memory");
  }
}

void ArrayReader::publish(mxg_code code, std::size_t datasets) {
  if (code == MXG_NOT_DEFINED) return;
  require(code);
  for (std::size_t k = 0; k < datasets; ++k) answer_.push_back({pathOf(k), scratch_[k].bytes()});
}

template <class T, class Ask>
void ArrayReader::readOne(const Ask& ask) {
  std::uint64_t count = 0;
  require(ask(static_cast<T*>(nullptr), std::uint64_t{0}, &count));
  makeRoom(0, count * sizeof(T));
  publish(ask(values<T>(0), count, &count), 1);
}

template <class Ask>
void ArrayReader::readAxes(const Ask& ask) {
  float* const none = nullptr;
  std::uint64_t count = 0;
  require(ask(none, none, none, std::uint64_t{0}, &count));
  for (std::size_t axis = 0; axis < 3; ++axis) makeRoom(axis, count * sizeof(float));
  publish(ask(values<float>(0), values<float>(1), values<float>(2), count, &count), 3);
}

void ArrayReader::readCoordinates(const ArrayId& array) {
  const auto read = array.kind == ArrayKind::blockCoordinates
                        ? &mxg_get_block_structured_coordinates
                        : &mxg_get_part_coordinates;
  readAxes([&](auto... out) { return read(array.step, array.part, out...); });
}

void ArrayReader::readParticles(const ArrayId& array) {
  readAxes([&](auto... out) { return mxg_get_measured_particle_coordinates(array.step, out...); });
}

void ArrayReader::readConnectivity(const ArrayId& array) {
  readOne<std::int32_t>([&](auto... out) {
    return mxg_get_element_connectivity(array.step, array.part, array.elementType, out...);
  });
}

void ArrayReader::readPolygons(const ArrayId& array) {
  const std::array tables{&mxg_get_nsided_number_of_nodes_per_face, &mxg_get_nsided_connectivity};
  const auto read = tables.at(static_cast<std::size_t>(array.component));
  readOne<std::int32_t>([&](auto... out) { return read(array.step, array.part, out...); });
}

void ArrayReader::readPolyhedra(const ArrayId& array) {
  const std::array tables{&mxg_get_nfaced_number_of_faces_per_element,
                          &mxg_get_nfaced_nodes_per_face, &mxg_get_nfaced_connectivity};
  const auto read = tables.at(static_cast<std::size_t>(array.component));
  readOne<std::int32_t>([&](auto... out) { return read(array.step, array.part, out...); });
}

void ArrayReader::readBorderFaces(const ArrayId& array) {
  std::uint64_t nodes = 0;
  std::uint64_t faces = 0;
  const auto ask = [&](std::int32_t* connectivity, std::int32_t* parents, std::int16_t* types) {
    return mxg_get_border_faces_conn_by_type(array.step, array.part, array.elementType,
                                             connectivity, nodes, &nodes, parents, types, faces,
                                             &faces);
  };
  require(ask(nullptr, nullptr, nullptr));
  makeRoom(0, nodes * sizeof(std::int32_t));
  makeRoom(1, faces * sizeof(std::int32_t));
  makeRoom(2, faces * sizeof(std::int16_t));
  publish(ask(values<std::int32_t>(0), values<std::int32_t>(1), values<std::int16_t>(2)), 3);
}

void ArrayReader::readVariable(const ArrayId& array) {
  const Variable& variable = contents_.variables.at(static_cast<std::size_t>(array.variable));
  readOne<float>([&](auto... out) {
    return mxg_get_variable_by_component(array.step, geometryStep(variable, array.step),
                                         array.variable, array.part, array.elementType,
                                         array.isImaginary ? 1 : 0, array.component, out...);
  });
}

void ArrayReader::readConstantValue(const ArrayId& array) {
  makeRoom(0, sizeof(float));
  *values<float>(0) = readConstant(array.variable, array.step);
  publish(MXG_OK, 1);
}

}  // namespace morvex::tools
