#include "export/npz.hpp"

#include <limits>
#include <memory>
#include <utility>

#include "export/names.hpp"
#include "export/stored_cells.hpp"

namespace morvex::tools {
namespace {

// Types of numpy; all numbers are little-endian.
constexpr const char* kFloat = "<f4";
constexpr const char* kInt16 = "<i2";
constexpr const char* kInt32 = "<i4";
constexpr const char* kInt64 = "<i8";
constexpr const char* kByte = "|u1";

/// A name as a step of a path. Two of them fit the 65535 bytes that a key may have.
std::string keyOf(std::string name) {
  std::size_t size = 30'000;
  if (name.size() > size) {
    // Before a character, not within one: bytes 10xxxxxx continue it.
    while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0U) == 0x80U) --size;
    name.resize(size);
  }
  for (char& letter : name) {
    if (letter == '/' || letter == '\\') letter = '_';
  }
  return name == "." || name == ".." ? "_" : name;
}

/// Keys of names, made distinct once more: two that differ in a stroke are one.
std::vector<std::string> keysOf(const std::vector<std::string>& names) {
  std::vector<std::string> keys;
  std::set<std::string> given;
  for (const std::string& name : names) {
    std::string key = keyOf(name);
    while (!given.insert(key).second) key += "_";
    keys.push_back(std::move(key));
  }
  return keys;
}

/// The shape of an array of `values` numbers; 0 columns make it one-dimensional.
std::vector<std::uint64_t> shapeOf(std::size_t values, std::uint64_t columns) {
  if (columns == 0) return {values};
  return {values / columns, columns};
}

}  // namespace

void NpzExport::run() {
  labels_ = keysOf(variableLabels(job_.contents.variables));
  const std::vector<int>& variables = job_.variables();
  job_.feed.expect(variables.size() + 1);
  job_.feed.section();
  addModel();
  const std::vector<int>& particleSteps = job_.particleSteps();
  addSteps("particles", job_.contents.summary.particles.timeset, particleSteps);
  for (const int step : particleSteps) {
    addArray("particles/coordinates/" + std::to_string(step), kFloat,
             request(MORVEX_PARTICLE_COORDINATES, step), 3);
  }
  job_.feed.finishGeometry();
  for (const int number : variables) {
    job_.feed.section();
    addVariable(number);
  }
  job_.feed.finish();
  file_.finish();
}

template <class T>
void NpzExport::write(const std::string& key, const char* type, const std::vector<T>& values) {
  file_.add(key, type, shapeOf(values.size(), 0), std::as_bytes(std::span(values)));
}

template <class T>
void NpzExport::addNumbers(const std::string& key, const char* type, std::vector<T> values) {
  job_.feed.then([=, this, values = std::move(values)] { write(key, type, values); });
}

void NpzExport::appendMissing(std::size_t count) {
  const std::vector<float> values(count, std::numeric_limits<float>::quiet_NaN());
  file_.append(std::as_bytes(std::span(values)));
}

void NpzExport::addSteps(const std::string& of, int timeset, const std::vector<int>& steps) {
  if (steps.empty()) return;
  addNumbers("steps/" + of, kInt32, std::vector<std::int32_t>(steps.begin(), steps.end()));
  addNumbers("times/" + of, kFloat, job_.timesOf(timeset, steps));
}

void NpzExport::addArray(const std::string& key, const char* type, const morvex_request& request,
                         std::uint64_t columns) {
  morvex_request asked = request;
  asked.layout = MORVEX_INTERLEAVED;
  job_.feed.array(asked, [=, this](std::optional<Bytes> values) {
    if (values) file_.add(key, type, shapeOf(values->size() / valueSize(type), columns), *values);
  });
}

void NpzExport::addModel() {
  const morvex_geometry& model = job_.contents.summary.model;
  const std::vector<int> steps = job_.modelSteps();
  addSteps("model", model.timeset, steps);
  for (const int step : steps) {
    const std::vector<morvex_part>& parts = job_.partsOrNone(step);
    const std::vector<std::string> labels = keysOf(partLabels(parts));
    // Of a model whose coordinates change all else is stored once.
    const bool hasState = model.change == MORVEX_CONNECTIVITY_CHANGES || step == steps.front();
    for (std::size_t p = 0; p < parts.size(); ++p) {
      const int part = static_cast<int>(p);
      if (job_.isChosen(part, parts[p])) addPart(labels[p], part, parts[p], step, hasState);
    }
  }
}

void NpzExport::addPart(const std::string& label, int part, const morvex_part& info, int step,
                        bool hasState) {
  const std::string base = "parts/" + label + "/";
  const std::string tail = "/" + std::to_string(step);
  addArray(base + "coordinates" + tail, kFloat, request(MORVEX_COORDINATES, step, part), 3);
  if (!hasState) return;
  if (info.is_block != 0) {
    addNumbers(base + "extents" + tail, kInt32,
               std::vector<std::int32_t>(info.extents, info.extents + 3));
    return;
  }
  const StoredCellsRef cells = readCells(job_, step, part, info);
  job_.feed.then([=, this] {
    if (cells->isDamaged) {
      damaged_.insert({part, stateAt(job_.contents.summary.model, step)});
      return;
    }
    write(base + "offsets" + tail, kInt64, cells->offsets);
    write(base + "connectivity" + tail, kInt64, cells->connectivity);
    write(base + "types" + tail, kByte, cells->types);
    if (!cells->facesPerPolyhedron.empty()) {
      write(base + "faces_per_polyhedron" + tail, kInt32, cells->facesPerPolyhedron);
      write(base + "nodes_per_face" + tail, kInt32, cells->nodesPerFace);
    }
    *cells = {};
  });
  addBorderFaces(base, part, info, step);
}

// Border faces have types of fixed shape: a row of nodes for each.
void NpzExport::addBorderFaces(const std::string& base, int part, const morvex_part& info,
                               int step) {
  for (int type = 0; type < kNSided; ++type) {
    if (info.border_faces[type] == 0) continue;
    const std::string tail = "/" + std::to_string(type) + "/" + std::to_string(step);
    const auto add = [&](const char* name, const char* valueType, morvex_kind kind,
                         std::uint64_t columns = 0) {
      morvex_request asked = request(kind, step, part);
      asked.element_type = type;
      addArray(base + name + tail, valueType, asked, columns);
    };
    add("border_faces", kInt32, MORVEX_BORDER_FACES,
        static_cast<std::uint64_t>(morvex_nodes_per_element(type)));
    add("border_parent_ids", kInt32, MORVEX_BORDER_PARENT_IDS);
    add("border_parent_types", kInt16, MORVEX_BORDER_PARENT_TYPES);
  }
}

void NpzExport::addVariable(int number) {
  const morvex_variable& variable = job_.variable(number);
  const std::string& label = labels_[static_cast<std::size_t>(number)];
  const std::vector<int> steps = job_.stepsOf(variable);
  addSteps("variables/" + label, variable.timeset, steps);
  if (variable.is_constant != 0) {
    std::vector<float> values;
    for (const int step : steps) values.push_back(job_.constant(number, step));
    if (!steps.empty()) addNumbers("constants/" + label, kFloat, values);
    return;
  }
  for (const int step : steps) {
    const std::string tail = "/" + std::to_string(step);
    const std::optional<int> geometryStep = job_.geometryStep(number, step);
    if (!geometryStep) continue;
    for (const bool isImaginary : {false, true}) {
      if (isImaginary && variable.is_complex == 0) continue;
      const std::string base = (isImaginary ? "imaginary/" : "variables/") + label;
      if (variable.on_particles != 0) {
        addValues(base + tail, number, step, 0, nullptr, *geometryStep, isImaginary);
        continue;
      }
      const std::vector<morvex_part>& parts = job_.partsOrNone(*geometryStep);
      const std::vector<std::string> labels = keysOf(partLabels(parts));
      for (std::size_t p = 0; p < parts.size(); ++p) {
        const int part = static_cast<int>(p);
        if (!job_.isChosen(part, parts[p]) || !locationOn(variable, parts[p])) continue;
        if (!job_.isDefined(number, step, part)) continue;
        addValues(base + "/" + labels[p] + tail, number, step, part, &parts[p], *geometryStep,
                  isImaginary);
      }
    }
  }
}

void NpzExport::addValues(const std::string& key, int number, int step, int part,
                          const morvex_part* info, int geometryStep, bool isImaginary) {
  const morvex_variable& variable = job_.variable(number);
  const std::size_t components = componentsOf(variable);
  const std::uint64_t columns = components == 1 ? 0 : components;
  const bool isPerElement = info != nullptr && locationOn(variable, *info) == MORVEX_PER_ELEMENT;
  morvex_request asked = variableRequest(number, step, part);
  asked.imaginary = isImaginary ? 1 : 0;
  if (!isPerElement) return addArray(key, kFloat, asked, columns);

  asked.layout = MORVEX_INTERLEAVED;
  // Types are received one by one; together they have the order of the cells. The array begins with
  // the first type that has values.
  struct Progress {
    bool hasBegun = false;
    std::size_t missing = 0;  // values before the first type that has some
  };
  const auto progress = std::make_shared<Progress>();
  const std::vector<int> types = cellTypes(*info);
  std::size_t all = 0;
  for (const int type : types) all += info->elements[type] * components;
  const int state = stateAt(job_.contents.summary.model, geometryStep);
  for (const int type : types) {
    asked.element_type = type;
    const std::size_t count = info->elements[type] * components;
    job_.feed.array(asked, [=, this](std::optional<Bytes> values) {
      if (damaged_.contains({part, state})) return;  // with it the numbers of cells are in doubt
      if (!values && !progress->hasBegun) {
        progress->missing += count;
        return;
      }
      if (!std::exchange(progress->hasBegun, true)) {
        file_.begin(key, kFloat, shapeOf(all, columns));
        appendMissing(progress->missing);
      }
      values ? file_.append(*values) : appendMissing(count);
    });
  }
  job_.feed.then([progress, this] {
    if (progress->hasBegun) file_.end();
  });
}

}  // namespace morvex::tools
