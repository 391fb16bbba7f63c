#include "reader/api/array.hpp"

#include <algorithm>
#include <memory>
#include <numeric>

#include "core/checked.hpp"
#include "reader/api/cells.hpp"
#include "reader/api/failure.hpp"
#include "reader/element_types.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/simulation.hpp"

namespace morvex::Api {
namespace {

constexpr int kAxes = 3;
constexpr std::uint32_t kPerElement = MORVEX_PER_ELEMENT;
constexpr std::uint32_t kPerNode = MORVEX_PER_NODE;

[[noreturn]] void refuseKind(std::string text) {
  throw Refusal(MORVEX_WRONG_KIND, std::move(text));
}

/// Reads count in 32 bits in places, so no array may be larger.
std::uint64_t countOf(std::uint64_t count) {
  if (count > 0x7FFFFFFFU) throw Refusal(MORVEX_TOO_LARGE, "the array has more than 2^31 values");
  return count;
}

template <class T>
BufferInfo<T, long long> bufferOf(void* target, std::uint64_t count) {
  return {static_cast<T*>(target), static_cast<long long>(count)};
}

/// A dataset of integers and, for some kinds, the one of new ids beside it.
struct IntegerDataset {
  std::string name;
  bool hasIds = false;
};

IntegerDataset integerDataset(morvex_kind kind, int elementType) {
  switch (kind) {
    case MORVEX_NODES_PER_POLYGON:
      return {"nsidednumberofnodes"};
    case MORVEX_FACES_PER_POLYHEDRON:
      return {"nfacedfacessize"};
    case MORVEX_NODES_PER_FACE:
      return {"nfacedfacesnodessize"};
    case MORVEX_BORDER_FACES:
      return {elementDataset(elementType, "_bfs"), true};
    case MORVEX_BORDER_PARENT_IDS:
      return {elementDataset(elementType, "_bfspi")};
    case MORVEX_BORDER_PARENT_TYPES:
      return {elementDataset(elementType, "_bfspt")};
    default:
      return {elementDataset(elementType, "_elementnodeids"), true};
  }
}

}  // namespace

Array::Array(const Case& ofCase, const morvex_request& request)
    : case_(ofCase), kind_(static_cast<morvex_kind>(request.kind)) {
  switch (request.kind) {
    case MORVEX_COORDINATES:
    case MORVEX_NODE_IDS:
      resolveGeometry(request);
      break;
    case MORVEX_CONNECTIVITY:
    case MORVEX_NODES_PER_POLYGON:
    case MORVEX_FACES_PER_POLYHEDRON:
    case MORVEX_NODES_PER_FACE:
    case MORVEX_ELEMENT_IDS:
    case MORVEX_BORDER_FACES:
    case MORVEX_BORDER_PARENT_IDS:
    case MORVEX_BORDER_PARENT_TYPES:
      resolveElements(request);
      break;
    case MORVEX_PARTICLE_COORDINATES:
    case MORVEX_PARTICLE_IDS:
      resolveParticles(request);
      break;
    case MORVEX_CELL_OFFSETS:
    case MORVEX_CELL_CONNECTIVITY:
    case MORVEX_CELL_TYPES:
      resolveCells(request);
      break;
    case MORVEX_VARIABLE:
      resolveVariable(request);
      break;
    default:
      throw Refusal(MORVEX_BAD_ARGUMENT, "unknown kind of array " + std::to_string(request.kind));
  }
}

void Array::takeComponents(const morvex_request& request, std::int32_t available,
                           std::uint64_t values) {
  if (request.layout != MORVEX_BY_COMPONENT && request.layout != MORVEX_INTERLEAVED) {
    throw Refusal(MORVEX_BAD_ARGUMENT, "unknown layout " + std::to_string(request.layout));
  }
  valueBytes_ = sizeof(float);
  (void)countOf(values);
  if (request.component == MORVEX_ALL_COMPONENTS) {
    components_ = available;
    isInterleaved_ = request.layout == MORVEX_INTERLEAVED && available > 1;
  } else {
    firstComponent_ = static_cast<int>(
        positionOf(request.component, static_cast<std::uint64_t>(available), "component"));
  }
  count_ = values * static_cast<std::uint64_t>(components_);
}

void Array::resolveGeometry(const morvex_request& request) {
  state_ = &case_.state(Which::kModel, request.step);
  const std::size_t part = Case::partOf(*state_, request.part);
  part_ = request.part;
  isBlock_ = state_->partTypes.at(part) != 0;
  step_ = case_.coordinateStep(Which::kModel, request.step);
  if (kind_ == MORVEX_COORDINATES) {
    takeComponents(request, kAxes, state_->numNodes[part]);
  } else {
    count_ = countOf(state_->numNodes[part]);
  }
}

void Array::resolveParticles(const morvex_request& request) {
  state_ = &case_.state(Which::kParticles, request.step);
  const std::size_t part = Case::partOf(*state_, 0);
  step_ = case_.coordinateStep(Which::kParticles, request.step);
  if (kind_ == MORVEX_PARTICLE_COORDINATES) {
    takeComponents(request, kAxes, state_->numNodes[part]);
  } else {
    count_ = countOf(state_->numNodes[part]);
  }
}

void Array::resolveElements(const morvex_request& request) {
  state_ = &case_.state(Which::kModel, request.step);
  const std::size_t part = Case::partOf(*state_, request.part);
  part_ = request.part;
  step_ = case_.stateStep(Which::kModel, request.step);
  elementType_ = request.element_type;
  if (kind_ == MORVEX_NODES_PER_POLYGON) elementType_ = kNSided;
  if (kind_ == MORVEX_FACES_PER_POLYHEDRON || kind_ == MORVEX_NODES_PER_FACE)
    elementType_ = kNFaced;
  const std::size_t type = positionOf(elementType_, kNodesPerElement.size(), "element type");
  const bool isFixed = kNodesPerElement[type] > 0;
  const auto nodes = static_cast<std::uint64_t>(std::max(kNodesPerElement[type], 0));
  const std::uint64_t elements = state_->elementCounts.at(part)[type];
  const std::uint64_t faces = state_->borderFaceCounts.at(part)[type];
  switch (kind_) {
    case MORVEX_ELEMENT_IDS:
    case MORVEX_NODES_PER_POLYGON:
    case MORVEX_FACES_PER_POLYHEDRON:
      count_ = elements;
      break;
    case MORVEX_NODES_PER_FACE:
      count_ = state_->nfacedNodesPerFaceSize.at(part);
      break;
    case MORVEX_CONNECTIVITY:
      if (isNamelessGhost(elementType_)) {
        refuseKind("files have no nodes of elements of type " + std::to_string(elementType_));
      }
      count_ = isFixed                   ? elements * nodes
               : elementType_ == kNSided ? state_->nsidedConnectivitySize.at(part)
                                         : state_->nfacedConnectivitySize.at(part);
      break;
    default:
      if (!isFixed && faces > 0) refuseKind("border faces have a fixed number of nodes");
      count_ = kind_ == MORVEX_BORDER_FACES ? faces * nodes : faces;
      if (kind_ == MORVEX_BORDER_PARENT_TYPES) valueBytes_ = sizeof(std::int16_t);
  }
  (void)countOf(count_);
}

void Array::resolveCells(const morvex_request& request) {
  state_ = &case_.state(Which::kModel, request.step);
  const std::size_t part = Case::partOf(*state_, request.part);
  part_ = request.part;
  step_ = case_.stateStep(Which::kModel, request.step);
  if (state_->partTypes.at(part) != 0) {
    refuseKind("the part is a structured block: its cells follow from its extents");
  }
  const CellSizes sizes = cellSizesOf(*state_, part);
  count_ = kind_ == MORVEX_CELL_OFFSETS        ? sizes.cells + 1
           : kind_ == MORVEX_CELL_CONNECTIVITY ? sizes.connectivity
                                               : sizes.cells;
  valueBytes_ = kind_ == MORVEX_CELL_TYPES ? sizeof(std::uint8_t) : sizeof(std::int64_t);
}

void Array::resolveVariable(const morvex_request& request) {
  const std::size_t variable = case_.variableOf(request.variable);
  const VariableMetaData& variables = case_.metadata().variableMetaData;
  if (variables.constantFlags[variable] != 0) {
    refuseKind("the variable is a constant: it has one number per step and no arrays");
  }
  if (request.imaginary != 0 && variables.complexFlags[variable] == 0) {
    refuseKind("the variable is not complex");
  }
  const Which which = case_.geometryOf(variable);
  step_ = case_.variableStep(variable, request.step);
  state_ = &case_.state(which, case_.geometryStep(variable, request.step));
  part_ = which == Which::kParticles ? 0 : request.part;
  const std::size_t part = Case::partOf(*state_, part_);
  const auto& definedOn = variables.definedOnPart[variable];
  if (part >= definedOn.size() || !definedOn[part]) {
    throw Refusal(MORVEX_NOT_DEFINED, "the variable has no values on this part");
  }
  variable_ = request.variable;
  isImaginary_ = request.imaginary != 0;
  isBlock_ = state_->partTypes.at(part) != 0;
  std::uint64_t values = state_->numNodes[part];
  const std::uint32_t location = variables.locations[variable];
  if (!isBlock_ && location == kPerElement) {
    elementType_ = request.element_type;
    values = state_->elementCounts.at(
        part)[positionOf(elementType_, kNodesPerElement.size(), "element type")];
  } else if (!isBlock_ && location != kPerNode) {
    refuseKind("the variable's values are neither per node nor per element");
  }
  // A variable of unknown type has one readable component.
  takeComponents(request, std::max(Case::componentsOf(case_.typeOf(variable)), 1), values);
}

SeriesKey Array::series() const {
  if (kind_ == MORVEX_COORDINATES || kind_ == MORVEX_PARTICLE_COORDINATES) {
    return {{kind_, step_, part_}, true};
  }
  if (kind_ != MORVEX_VARIABLE) return {};
  const SimulationMetadata& metadata = case_.metadata();
  const std::string& name = metadata.variableMetaData.names[static_cast<std::size_t>(variable_)];
  if (!metadata.usesTimeDiffsOf(name)) return {};
  return {{kind_, variable_, part_, elementType_, firstComponent_ * 16 + components_,
           isImaginary_ ? 1 : 0},
          true};
}

std::vector<std::pair<std::string, std::string>> Array::datasets() const {
  std::vector<std::pair<std::string, std::string>> paths;
  if (count_ == 0) return paths;
  switch (kind_) {
    case MORVEX_COORDINATES:
    case MORVEX_PARTICLE_COORDINATES: {
      const std::string group = geometryGroup(kind_ == MORVEX_COORDINATES ? 0 : 1, step_, part_);
      for (int c = firstComponent_; c < firstComponent_ + components_; ++c) {
        paths.emplace_back(group, "coordinates_" + std::to_string(c));
      }
      break;
    }
    case MORVEX_VARIABLE: {
      const std::string& name =
          case_.metadata().variableMetaData.names[static_cast<std::size_t>(variable_)];
      const std::string group = variableGroup(name, step_, part_);
      for (int c = firstComponent_; c < firstComponent_ + components_; ++c) {
        paths.emplace_back(group, variableDataset(elementType_, c, isImaginary_));
      }
      break;
    }
    case MORVEX_NODE_IDS:
    case MORVEX_ELEMENT_IDS:
    case MORVEX_PARTICLE_IDS:
    case MORVEX_CELL_TYPES:
      break;  // computed
    case MORVEX_CELL_OFFSETS:
    case MORVEX_CELL_CONNECTIVITY:
      for (std::string& name : cellDatasets(*state_, static_cast<std::size_t>(part_))) {
        paths.emplace_back(geometryGroup(0, step_, part_), std::move(name));
      }
      break;
    default:
      paths.emplace_back(geometryGroup(0, step_, part_), integerDataset(kind_, elementType_).name);
  }
  return paths;
}

void Array::read(EnsgSimulation& simulation, void* target) const {
  if (count_ == 0) return;
  switch (kind_) {
    case MORVEX_COORDINATES:
    case MORVEX_PARTICLE_COORDINATES:
    case MORVEX_VARIABLE:
      return readFloats(simulation, static_cast<float*>(target));
    case MORVEX_CELL_OFFSETS:
    case MORVEX_CELL_CONNECTIVITY:
    case MORVEX_CELL_TYPES:
      return readCells(simulation, target);
    default:
      return readIntegers(simulation, target);
  }
}

void Array::readComponent(EnsgSimulation& simulation, int component, float* target) const {
  const auto buffer = bufferOf<float>(target, count_ / static_cast<std::uint64_t>(components_));
  if (kind_ == MORVEX_VARIABLE) {
    simulation.readVariableComponent(step_, variable_, part_, elementType_, component, isImaginary_,
                                     buffer, /*keep=*/false);
  } else {
    const int geometry = kind_ == MORVEX_COORDINATES ? 0 : 1;
    simulation.readCoordinates(step_, part_, geometry, component, buffer, /*raw=*/isBlock_);
  }
}

void Array::readFloats(EnsgSimulation& simulation, float* target) const {
  const auto stride = static_cast<std::size_t>(components_);
  const auto values = static_cast<std::size_t>(count_) / stride;
  std::unique_ptr<float[]> one;
  if (isInterleaved_) one = std::make_unique_for_overwrite<float[]>(values);
  for (std::size_t c = 0; c < stride; ++c) {
    const int component = firstComponent_ + static_cast<int>(c);
    if (!isInterleaved_) {
      readComponent(simulation, component, target + c * values);
      continue;
    }
    readComponent(simulation, component, one.get());
    for (std::size_t i = 0; i < values; ++i) target[i * stride + c] = one[i];
  }
}

void Array::readIntegers(EnsgSimulation& simulation, void* target) const {
  auto* const ids = static_cast<std::int32_t*>(target);
  if (kind_ == MORVEX_NODE_IDS) return std::iota(ids, ids + count_, 0);
  if (kind_ == MORVEX_PARTICLE_IDS) return std::iota(ids, ids + count_, 1);
  if (kind_ == MORVEX_ELEMENT_IDS) {
    const ElementCounts& counts = state_->elementCounts[static_cast<std::size_t>(part_)];
    const auto first =
        countOf(std::accumulate(counts.begin(), counts.begin() + elementType_, count_) - count_);
    (void)countOf(first + count_ - 1);
    return std::iota(ids, ids + count_, static_cast<std::int32_t>(first));
  }
  const std::string group = geometryGroup(0, step_, part_);
  const auto [name, hasIds] = integerDataset(kind_, elementType_);
  if (kind_ == MORVEX_BORDER_PARENT_TYPES) {
    simulation.readInt16Into(group, name, bufferOf<std::int16_t>(target, count_), false);
  } else if (hasIds) {
    simulation.readConnectivityInto(group, name, name + "_notreused",
                                    bufferOf<std::int32_t>(target, count_), false);
  } else {
    simulation.readInt32Into(group, name, bufferOf<std::int32_t>(target, count_), false);
  }
}

void Array::readCells(EnsgSimulation& simulation, void* target) const {
  const auto part = static_cast<std::size_t>(part_);
  if (kind_ == MORVEX_CELL_TYPES) {
    return fillCellTypes(*state_, part, static_cast<std::uint8_t*>(target));
  }
  // Cells are computed from tables, which are read as arrays.
  const auto table = [&](morvex_kind kind, int elementType) {
    morvex_request request = MORVEX_REQUEST_INIT;
    request.kind = kind;
    request.step = step_;
    request.part = part_;
    request.element_type = elementType;
    const Array array(case_, request);
    IdTable values(static_cast<std::size_t>(array.count()));
    array.read(simulation, values.data());
    return values;
  };
  auto* const values = static_cast<std::int64_t*>(target);
  if (kind_ == MORVEX_CELL_OFFSETS) {
    fillCellOffsets(*state_, part, table, {values, static_cast<std::size_t>(count_)});
  } else {
    fillCellConnectivity(*state_, part, table, {values, static_cast<std::size_t>(count_)});
  }
}

}  // namespace morvex::Api
