#include "export/vtu.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "common/text_table.hpp"
#include "export/names.hpp"
#include "export/vtk_cells.hpp"

namespace morvex::tools {
namespace {

// VTK's names of types. Ids have 64 bits, as VTK's own writers store them.
constexpr const char* kFloat = "Float32";
constexpr const char* kLong = "Int64";
constexpr const char* kByte = "UInt8";

template <class T>
std::span<const std::byte> asBytes(const std::vector<T>& values) {
  return std::as_bytes(std::span(values));
}

/// VTK's place of each component of a symmetric tensor: it has yz before xz.
constexpr std::array<std::size_t, 6> kSymmetric{0, 1, 2, 3, 5, 4};

bool isSymmetric(const morvex_variable& variable) {
  return variable.type == 3 && variable.components == 6;
}

/// From the stored order to VTK's, in place. Values of six components.
void reorderSymmetric(std::vector<float>& values) {
  for (std::size_t i = 0; i + kSymmetric.size() <= values.size(); i += kSymmetric.size()) {
    std::swap(values[i + 4], values[i + 5]);
  }
}

/// In VTK's order; empty for scalars, which have no components to name.
std::vector<std::string> componentNames(const morvex_variable& variable) {
  std::vector<std::string> names;
  for (int c = 0; variable.components > 1 && c < variable.components; ++c) {
    const std::size_t stored = isSymmetric(variable) ? kSymmetric.at(static_cast<std::size_t>(c))
                                                     : static_cast<std::size_t>(c);
    names.emplace_back(morvex_component_name(variable.type, static_cast<std::int32_t>(stored)));
  }
  return names;
}

/// The values of a variable on a part, collected type by type.
struct FieldValues {
  std::vector<float> values;
  bool isFound = false;  ///< at least one type has values
};

}  // namespace

/// A file that is being read.
struct VtuExport::Piece {
  std::string name;
  VtkPiece file;
  MeshRef points;
  MeshRef cells;
  /// Arrays of variables, which are encoded together when all are there.
  std::vector<VtkArray> arrays;
  std::vector<std::vector<float>> values;

  [[nodiscard]] bool isDamaged() const { return points->isDamaged || (cells && cells->isDamaged); }
};

void VtuExport::run() {
  labels_ = variableLabels(job_.contents.variables);
  imaginaryLabels_ = imaginaryLabels(job_.contents.variables, labels_);
  const std::vector<float> all = times();
  job_.feed.expect(all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    job_.feed.section();
    exportTime(i, all[i]);
  }
  job_.feed.finish();
  // Last: a .pvd that is there names only files that are complete.
  waitForPiece();
  FolderFile file(job_.folder, job_.name + ".pvd");
  file.write(vtkHead("Collection") + "  <Collection>\n" + collection_ +
             "  </Collection>\n</VTKFile>\n");
  file.finish();
}

std::vector<float> VtuExport::times() const {
  // Time sets that agree at a time give one entry.
  std::set<float> times;
  const auto add = [&](int timeset, std::uint64_t steps) {
    if (timeset < 0) return;
    for (const float time : job_.timesOf(timeset, job_.choice.steps(timeset, steps))) {
      times.insert(time);
    }
  };
  const auto& [model, particles] =
      std::pair(job_.contents.summary.model, job_.contents.summary.particles);
  if (model.change > MORVEX_STATIC) add(model.timeset, model.steps);
  if (particles.change > MORVEX_STATIC && !job_.particleSteps().empty()) {
    add(particles.timeset, particles.steps);
  }
  for (const int number : job_.variables()) {
    add(job_.variable(number).timeset, job_.variable(number).steps);
  }
  if (times.empty()) times.insert(0.0F);  // a file without time sets has one step
  return {times.begin(), times.end()};
}

int VtuExport::stepAt(float time, int timeset, std::uint64_t steps) const {
  if (timeset < 0 || static_cast<std::size_t>(timeset) >= job_.contents.timesets.size()) return 0;
  const std::vector<float>& own = job_.contents.timesets[static_cast<std::size_t>(timeset)];
  // Times are compared as they are stored: the times of the export are the same numbers.
  const auto later = std::ranges::find_if(own, [&](float other) { return other > time; });
  const auto last = static_cast<std::ptrdiff_t>(steps) - 1;
  const std::ptrdiff_t step = std::max<std::ptrdiff_t>(later - own.begin() - 1, 0);
  return static_cast<int>(std::min(step, last));
}

int VtuExport::stepAt(float time, const morvex_geometry& geometry) const {
  return geometry.change > MORVEX_STATIC ? stepAt(time, geometry.timeset, geometry.steps) : 0;
}

std::vector<VtkConstant> VtuExport::constantsAt(float time) {
  std::vector<VtkConstant> constants{{"TimeValue", "Float64", numberText(double{time})}};
  for (const int number : job_.variables()) {
    const morvex_variable& variable = job_.variable(number);
    if (variable.is_constant == 0) continue;
    const float value = job_.constant(number, stepAt(time, variable.timeset, variable.steps));
    constants.push_back({labels_[static_cast<std::size_t>(number)], kFloat, numberText(value)});
  }
  return constants;
}

void VtuExport::exportTime(std::size_t index, float time) {
  used_.clear();
  const int step = stepAt(time, job_.contents.summary.model);
  const std::vector<morvex_part>& parts = job_.partsOrNone(step);
  const std::vector<std::string> labels = partLabels(parts);
  const std::string base = job_.name + "_" + paddedNumber(index);
  const auto lines = std::make_shared<std::string>();
  const std::vector<VtkConstant> constants = constantsAt(time);
  const auto begin = [&](std::size_t block, const char* ending) {
    const auto piece = std::make_shared<Piece>();
    piece->name = base + "_" + std::to_string(block) + ending;
    piece->file.constants = constants;
    return piece;
  };
  const auto end = [&](std::size_t block, const std::string& label, const PieceRef& piece) {
    job_.feed.then([=, this] {
      if (piece->isDamaged()) return;
      finishPiece(piece);
      *lines += "    <DataSet index=\"" + std::to_string(block) + "\" name=\"" + quoted(label) +
                "\" file=\"" + piece->name + "\"/>\n";
    });
  };
  for (std::size_t p = 0; p < parts.size(); ++p) {
    const int part = static_cast<int>(p);
    if (!job_.isChosen(part, parts[p])) continue;
    const std::string fault = parts[p].is_block != 0 ? faultOfBlock(parts[p]) : "";
    if (!fault.empty()) {
      job_.feed.lose("part " + labels[p], fault);
      continue;
    }
    const PieceRef piece = begin(p, parts[p].is_block != 0 ? ".vts" : ".vtu");
    exportPart(time, part, parts[p], step, piece);
    end(p, labels[p], piece);
  }
  if (!job_.particleSteps().empty()) {
    const PieceRef piece = begin(parts.size(), ".vtu");
    exportParticles(time, piece);
    end(parts.size(), "particles", piece);
  }
  job_.feed.then([this, base, lines] {
    FolderFile file(job_.folder, base + ".vtm");
    file.write(vtkHead("vtkMultiBlockDataSet") + "  <vtkMultiBlockDataSet>\n" + *lines +
               "  </vtkMultiBlockDataSet>\n</VTKFile>\n");
    file.finish();
  });
  collection_ += "    <DataSet timestep=\"" + numberText(double{time}) + "\" part=\"0\" file=\"" +
                 base + ".vtm\"/>\n";
  // Whatever did not change since the time before is still used; all else is forgotten.
  std::erase_if(meshes_, [this](const auto& entry) { return !used_.contains(entry.first); });
}

template <class Read>
VtuExport::MeshRef VtuExport::mesh(const MeshKey& key, const Read& read) {
  used_.insert(key);
  // A mesh that did not change is encoded once for all times.
  MeshRef& found = meshes_[key];
  if (!found) {
    found = std::make_shared<Mesh>();
    read(found);
  }
  return found;
}

void VtuExport::exportPart(float time, int part, const morvex_part& info, int step,
                           const PieceRef& piece) {
  const morvex_geometry& model = job_.contents.summary.model;
  piece->points = mesh({'p', part, step}, [&](const MeshRef& made) {
    readPoints(made, request(MORVEX_COORDINATES, step, part));
  });
  piece->file.isStructured = info.is_block != 0;
  std::copy_n(info.extents, 3, piece->file.extents.begin());
  if (info.is_block == 0) {
    piece->cells = mesh({'c', part, stateAt(model, step)},
                        [&](const MeshRef& made) { readCells(made, step, part, info); });
  }
  for (const int number : job_.variables()) {
    const morvex_variable& variable = job_.variable(number);
    if (variable.is_constant != 0 || variable.on_particles != 0) continue;
    const int own = stepAt(time, variable.timeset, variable.steps);
    if (model.change == MORVEX_CONNECTIVITY_CHANGES && job_.geometryStep(number, own) != step) {
      continue;  // its values are for another mesh
    }
    if (locationOn(variable, info)) readValues(piece, number, own, part, &info);
  }
}

void VtuExport::exportParticles(float time, const PieceRef& piece) {
  const int step = stepAt(time, job_.contents.summary.particles);
  piece->points = mesh({'q', 0, step}, [&](const MeshRef& made) {
    readPoints(made, request(MORVEX_PARTICLE_COORDINATES, step));
  });
  // One vertex for each point; their number is known once the points are read.
  piece->cells = mesh({'v', 0, step}, [&](const MeshRef& made) {
    job_.feed.then([this, made, points = piece->points] {
      const VtkCells cells = vertices(points->points);
      made->cells = points->points;
      addEncoded(*made,
                 {{VtkPlace::kCells, "connectivity", kLong, 1, {}, nullptr},
                  {VtkPlace::kCells, "offsets", kLong, 1, {}, nullptr},
                  {VtkPlace::kCells, "types", kByte, 1, {}, nullptr}},
                 {asBytes(cells.connectivity), asBytes(cells.offsets), asBytes(cells.types)});
    });
  });
  for (const int number : job_.variables()) {
    const morvex_variable& variable = job_.variable(number);
    if (variable.is_constant != 0 || variable.on_particles == 0) continue;
    readValues(piece, number, stepAt(time, variable.timeset, variable.steps), 0, nullptr);
  }
}

void VtuExport::readPoints(const MeshRef& mesh, const morvex_request& coordinates) {
  morvex_request asked = coordinates;
  asked.layout = MORVEX_INTERLEAVED;
  job_.feed.array(asked, [this, mesh](std::optional<Bytes> values) {
    mesh->isDamaged = !values;
    if (!values) return;
    mesh->points = values->size() / (3 * sizeof(float));
    addEncoded(*mesh, {{VtkPlace::kPoints, "Points", kFloat, 3, {}, nullptr}}, {*values});
  });
}

void VtuExport::readCells(const MeshRef& mesh, int step, int part, const morvex_part& info) {
  const StoredCellsRef stored = tools::readCells(job_, step, part, info);
  job_.feed.then([this, mesh, stored] {
    mesh->isDamaged = stored->isDamaged;
    if (mesh->isDamaged) return;
    const VtkCells cells = vtkCellsOf(*stored);
    *stored = {};
    mesh->cells = cells.types.size();
    std::vector<VtkArray> arrays;
    std::vector<std::span<const std::byte>> values;
    const auto add = [&](VtkPlace place, const char* name, const char* type, auto bytes) {
      arrays.push_back({place, name, type, 1, {}, nullptr});
      values.push_back(bytes);
    };
    add(VtkPlace::kCells, "connectivity", kLong, asBytes(cells.connectivity));
    add(VtkPlace::kCells, "offsets", kLong, asBytes(cells.offsets));
    add(VtkPlace::kCells, "types", kByte, asBytes(cells.types));
    if (!cells.faces.empty()) {
      add(VtkPlace::kCells, "faces", kLong, asBytes(cells.faces));
      add(VtkPlace::kCells, "faceoffsets", kLong, asBytes(cells.faceOffsets));
    }
    if (!cells.ghosts.empty()) {
      add(VtkPlace::kCellData, "vtkGhostType", kByte, asBytes(cells.ghosts));
    }
    addEncoded(*mesh, std::move(arrays), values);
  });
}

void VtuExport::addEncoded(Mesh& mesh, std::vector<VtkArray> arrays,
                           const std::vector<std::span<const std::byte>>& values) const {
  std::vector<EncodedArray> encoded = encode(values, threads_);
  for (std::size_t i = 0; i < arrays.size(); ++i) {
    arrays[i].values = std::make_shared<const EncodedArray>(std::move(encoded[i]));
    mesh.arrays.push_back(std::move(arrays[i]));
  }
}

void VtuExport::readValues(const PieceRef& piece, int number, int step, int part,
                           const morvex_part* info) {
  if (!job_.isDefined(number, step, part)) return;
  const morvex_variable& variable = job_.variable(number);
  const bool isPerElement = info != nullptr && locationOn(variable, *info) == MORVEX_PER_ELEMENT;
  std::vector<int> types{0};
  if (isPerElement) types = cellTypes(*info);
  const auto index = static_cast<std::size_t>(number);
  const std::size_t components = componentsOf(variable);
  for (const bool isImaginary : {false, true}) {
    if (isImaginary && variable.is_complex == 0) continue;
    const auto field = std::make_shared<FieldValues>();
    field->isFound = types.empty();  // without elements there is nothing to miss
    for (const int type : types) {
      morvex_request asked = variableRequest(number, step, part, type);
      asked.imaginary = isImaginary ? 1 : 0;
      asked.layout = MORVEX_INTERLEAVED;
      // Types without values get as many NaN; a part without any values gets no array.
      const std::size_t count = isPerElement ? info->elements[type] * components : 0;
      job_.feed.array(asked, [field, count, piece](std::optional<Bytes> values) {
        if (piece->isDamaged()) return;
        field->isFound = field->isFound || values;
        const std::size_t first = field->values.size();
        const std::size_t own = values ? values->size() / sizeof(float) : count;
        field->values.resize(first + own, std::numeric_limits<float>::quiet_NaN());
        if (values) std::memcpy(field->values.data() + first, values->data(), values->size());
      });
    }
    // Arrays of a piece are encoded together when it is complete: small ones would keep one thread each.
    job_.feed.then([=, this] {
      if (!field->isFound) return;
      if (isSymmetric(job_.variable(number))) reorderSymmetric(field->values);
      piece->arrays.push_back({isPerElement ? VtkPlace::kCellData : VtkPlace::kPointData,
                               isImaginary ? imaginaryLabels_[index] : labels_[index], kFloat,
                               components, componentNames(job_.variable(number)), nullptr});
      piece->values.push_back(std::move(field->values));
    });
  }
}

void VtuExport::finishPiece(const PieceRef& piece) {
  VtkPiece& file = piece->file;
  file.points = piece->points->points;
  file.arrays = piece->points->arrays;
  if (piece->cells) {
    file.cells = piece->cells->cells;
    const std::vector<VtkArray>& cells = piece->cells->arrays;
    file.arrays.insert(file.arrays.end(), cells.begin(), cells.end());
  }
  // One at a time: a second one would double the memory and find no free processor.
  waitForPiece();
  const auto out = std::make_shared<FolderFile>(job_.folder, piece->name);
  // While one piece is compressed and written, the arrays of the next ones are read.
  const auto when = threads_ == 1 ? std::launch::deferred : std::launch::async;
  writing_ = std::async(when, [piece, out, threads = threads_] {
    std::vector<std::span<const std::byte>> values;
    for (const auto& own : piece->values) values.push_back(asBytes(own));
    std::vector<EncodedArray> encoded = encode(values, threads);
    std::vector<VtkArray>& arrays = piece->file.arrays;
    for (std::size_t i = 0; i < piece->arrays.size(); ++i) {
      arrays.push_back(std::move(piece->arrays[i]));
      arrays.back().values = std::make_shared<const EncodedArray>(std::move(encoded[i]));
    }
    writePiece(*out, piece->file);
    piece->values.clear();
    arrays.clear();
  });
}

void VtuExport::waitForPiece() {
  if (writing_.valid()) writing_.get();
}

}  // namespace morvex::tools
