#include "export/ensight.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <utility>

#include "common/text_table.hpp"
#include "export/names.hpp"

namespace morvex::tools {
namespace {

/// Texts in binary files of the format are fields of this size.
constexpr std::size_t kLineSize = 80;
/// Stands for places without a value: no result comes near it.
constexpr float kUndefined = -1e30F;
constexpr std::size_t kLeastMeasured = 5;  // values in a file
/// In place of an element type.
constexpr int kWholePart = -1;
constexpr int kOfParticles = -1;  // in place of a part

/// A text in a field of 80 bytes, cut so that a zero remains.
std::string line(std::string text) {
  text.resize(std::min(text.size(), kLineSize - 1));
  text.resize(kLineSize, '\0');
  return text;
}

template <class T>
/// As stored in the file, which is little-endian like the machine.
std::string bytesOf(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

/// Number of an array's entries, in the 32 bits that the format has.
std::string countOf(std::uint64_t count) {
  return bytesOf(static_cast<std::int32_t>(count));
}

/// Begins a part; the format counts from 1.
std::string partLines(int part) {
  return line("part") + bytesOf(static_cast<std::int32_t>(part + 1));
}

/// EnSight's names of the shapes of element types.
constexpr std::array<const char*, MORVEX_ELEMENT_TYPES / 2> kTypeNames{
    "point",    "bar2",      "bar3",   "tria3",   "tria6", "quad4",  "quad8",  "tetra4", "tetra10",
    "pyramid5", "pyramid13", "penta6", "penta15", "hexa8", "hexa20", "nsided", "nfaced"};

bool isGhost(int type) {
  return type % 2 == 1;
}

std::string typeName(int type) {
  const std::string name = kTypeNames.at(static_cast<std::size_t>(type / 2));
  return isGhost(type) ? "g_" + name : name;
}

/// "scalar", "vector", ... for a type of variables.
std::string kindOf(const morvex_variable& variable) {
  constexpr std::array<const char*, 5> kKinds{"scalar", "scalar", "vector", "tensor symm",
                                              "tensor asym"};
  const bool isKnown = variable.type >= 1 && variable.type <= 4;
  return kKinds.at(isKnown ? static_cast<std::size_t>(variable.type) : 0);
}

/// Received bytes as values; batches align their arrays for any type.
std::span<const float> floatsOf(Bytes bytes) {
  return {reinterpret_cast<const float*>(bytes.data()), bytes.size() / sizeof(float)};
}

bool hasUndefined(std::span<const float> values) {
  // Without an end before the last value: the compiler makes vector code of it.
  bool isFound = false;
  for (const float value : values) isFound |= std::isnan(value);
  return isFound;
}

/// The values, with those that are no numbers undefined; `count` undefined ones if there are none.
std::vector<float> withUndefined(std::optional<Bytes> bytes, std::size_t count) {
  if (!bytes) return std::vector<float>(count, kUndefined);
  const std::span<const float> values = floatsOf(*bytes);
  std::vector<float> shown(values.begin(), values.end());
  std::ranges::replace_if(
      shown, [](float value) { return std::isnan(value); }, kUndefined);
  return shown;
}

/// A section of a variable file: its name and all values of one component after the other.
void writeSection(FolderFile& file, const std::string& name, std::optional<Bytes> bytes,
                  std::size_t count) {
  if (bytes && !hasUndefined(floatsOf(*bytes))) {  // as most are
    file.write(line(name));
    file.write(*bytes);
    return;
  }
  file.write(line(name + " undef") + bytesOf(kUndefined));
  const std::vector<float> values = withUndefined(bytes, count);
  file.write(std::as_bytes(std::span(values)));
}

}  // namespace

void EnSightExport::run() {
  const std::vector<int>& variables = job_.variables();
  job_.feed.expect(variables.size() + 2);
  exportModel();
  exportParticles();
  job_.feed.finishGeometry();
  for (const int number : variables) {
    const morvex_variable& variable = job_.variable(number);
    job_.feed.section();
    if (variable.is_constant != 0) {
      exportConstant(number, case_.nameLike(variable.name));
    } else if (variable.on_particles != 0) {
      exportParticleVariable(number);
    } else {
      const bool isPerElement = variable.location == MORVEX_PER_ELEMENT;
      if (isPerElement) exportVariable(number, MORVEX_PER_ELEMENT, false);
      // Of an unknown location the values on blocks are known to be per node.
      exportVariable(number, MORVEX_PER_NODE, variable.location != MORVEX_PER_NODE);
    }
  }
  job_.feed.finish();
  // Last, so that a folder that has the case file has all that it names.
  FolderFile file(job_.folder, job_.name + ".case");
  file.write(case_.text());
  file.finish();
}

EnSightExport::Out EnSightExport::open(const std::string& name,
                                       std::vector<std::string> headerLines) {
  const Out out = std::make_shared<std::unique_ptr<FolderFile>>();
  job_.feed.then([this, out, name, lines = std::move(headerLines)] {
    *out = std::make_unique<FolderFile>(job_.folder, name);
    for (const std::string& text : lines) (*out)->write(line(text));
  });
  return out;
}

void EnSightExport::close(const Out& out) {
  job_.feed.then([out] {
    (*out)->finish();
    out->reset();
  });
}

std::string EnSightExport::fileName(const std::string& base, int timeSet, std::size_t step) const {
  const std::string name = job_.name + "." + base;
  return timeSet == 0 ? name : name + "." + paddedNumber(step);
}

std::string EnSightExport::pattern(const std::string& base, int timeSet, std::size_t steps) const {
  const std::string name = job_.name + "." + base;
  // As many stars as the number of the last step has digits.
  return timeSet == 0 ? name : name + "." + std::string(paddedNumber(steps).size(), '*');
}

bool EnSightExport::isDropped(int step, int part, int type) const {
  return dropped_.contains({step, part, kWholePart}) || dropped_.contains({step, part, type});
}

void EnSightExport::exportModel() {
  job_.feed.section();
  const morvex_geometry& model = job_.contents.summary.model;
  const std::vector<int> steps = job_.modelSteps();
  const bool changes = model.change != MORVEX_STATIC;
  const int timeSet =
      changes ? case_.timeSet(model.timeset, job_.timesOf(model.timeset, steps)) : 0;
  const std::string title = cleanText(job_.contents.summary.title);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Out out = open(fileName("geo", timeSet, i), {"C Binary", title, "exported by morvex",
                                                       "node id assign", "element id assign"});
    const std::vector<morvex_part>& parts = job_.partsOrNone(steps[i]);
    for (std::size_t p = 0; p < parts.size(); ++p) {
      const int part = static_cast<int>(p);
      if (job_.isChosen(part, parts[p])) addPart(out, steps[i], part, parts[p]);
    }
    close(out);
  }
  case_.model(timeSet, pattern("geo", timeSet, steps.size()));
}

void EnSightExport::addPart(const Out& out, int step, int part, const morvex_part& info) {
  const std::string head = partLines(part) + line(cleanText(info.name));
  // VTK takes the end of a file after the name of a part for damage, so there are always coordinates.
  if (info.nodes == 0) {
    return job_.feed.then([out, head] { (*out)->write(head + line("coordinates") + countOf(0)); });
  }
  if (const std::string fault = info.is_block != 0 ? faultOfBlock(info) : ""; !fault.empty()) {
    job_.feed.lose(std::string("part ") + info.name, fault);
    dropped_.insert({step, part, kWholePart});
    return;
  }
  std::string nodes = line("coordinates") + countOf(info.nodes);
  if (info.is_block != 0) {
    nodes = line("block");
    for (int axis = 0; axis < 3; ++axis) nodes += bytesOf(info.extents[axis]);
  }
  morvex_request coordinates = request(MORVEX_COORDINATES, step, part);
  coordinates.layout = MORVEX_BY_COMPONENT;
  job_.feed.array(coordinates, [=, this](std::optional<Bytes> values) {
    if (!values) {
      dropped_.insert({step, part, kWholePart});
      return;
    }
    (*out)->write(head + nodes);
    (*out)->write(*values);
  });
  if (info.is_block != 0) return;
  for (const int type : cellTypes(info)) addElements(out, step, part, info, type);
}

void EnSightExport::addElements(const Out& out, int step, int part, const morvex_part& info,
                                int type) {
  std::vector<morvex_kind> kinds{MORVEX_CONNECTIVITY};
  if (type == kNSided) kinds = {MORVEX_NODES_PER_POLYGON, MORVEX_CONNECTIVITY};
  if (type == kNFaced) {
    kinds = {MORVEX_FACES_PER_POLYHEDRON, MORVEX_NODES_PER_FACE, MORVEX_CONNECTIVITY};
  }
  // The tables are written when all of them are there.
  const auto tables = std::make_shared<std::string>();
  for (const morvex_kind kind : kinds) {
    morvex_request table = request(kind, step, part);
    table.element_type = type;
    // Written once, before the tables of the type.
    const std::string head = line(typeName(type)) + countOf(info.elements[type]);
    job_.feed.array(table, [=, this](std::optional<Bytes> values) {
      // Of three tables one may fail when the others are already there.
      if (!values) dropped_.insert({step, part, type});
      if (isDropped(step, part, type)) return;
      if (kind != MORVEX_CONNECTIVITY) {
        tables->append(reinterpret_cast<const char*>(values->data()), values->size());
        return;
      }
      (*out)->write(head + *tables);
      (*out)->write(*values);
      tables->clear();
    });
  }
}

void EnSightExport::exportParticles() {
  job_.feed.section();
  const morvex_geometry& particles = job_.contents.summary.particles;
  const std::vector<int>& steps = job_.particleSteps();
  if (steps.empty()) return;
  const bool changes = particles.change != MORVEX_STATIC;
  const int timeSet =
      changes ? case_.timeSet(particles.timeset, job_.timesOf(particles.timeset, steps)) : 0;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Out out = open(fileName("particles", timeSet, i),
                         {"C Binary", "exported by morvex", "particle coordinates"});
    morvex_request coordinates = request(MORVEX_PARTICLE_COORDINATES, steps[i]);
    coordinates.layout = MORVEX_INTERLEAVED;
    job_.feed.array(coordinates, [out, this, step = steps[i]](std::optional<Bytes> values) {
      if (!values) dropped_.insert({step, kOfParticles, kWholePart});
      const std::size_t count = values ? values->size() / (3 * sizeof(float)) : 0;
      std::vector<std::int32_t> ids(count);
      std::iota(ids.begin(), ids.end(), 1);
      (*out)->write(countOf(count));
      (*out)->write(std::as_bytes(std::span(ids)));
      if (values) (*out)->write(*values);
    });
    close(out);
  }
  case_.measured(timeSet, pattern("particles", timeSet, steps.size()));
}

void EnSightExport::exportConstant(int number, const std::string& name) {
  const morvex_variable& variable = job_.variable(number);
  const std::vector<int> steps = job_.stepsOf(variable);
  if (steps.empty()) return;
  std::vector<float> values;
  for (const int step : steps) values.push_back(job_.constant(number, step));
  const int timeSet = case_.timeSet(variable.timeset, job_.timesOf(variable.timeset, steps));
  const std::string fileName = job_.name + "." + name;
  const std::string text = case_.constant(timeSet, name, values, fileName);
  if (text.empty()) return;
  job_.feed.then([=, this] {
    FolderFile file(job_.folder, fileName);
    file.write(text);
    file.finish();
  });
}

void EnSightExport::exportParticleVariable(int number) {
  const morvex_variable& variable = job_.variable(number);
  const std::vector<int> steps = job_.stepsOf(variable);
  if (steps.empty()) return;
  const int timeSet = case_.timeSet(variable.timeset, job_.timesOf(variable.timeset, steps));
  const std::string wanted = cleanText(variable.name);
  for (const bool isImaginary : {false, true}) {
    if (isImaginary && variable.is_complex == 0) continue;
    const std::string label = isImaginary ? imaginaryName(variable, wanted) : wanted;
    // Measured variables are scalars or vectors: tensors are exported component by component.
    const bool isWhole = variable.components <= 3;
    for (int c = 0; c < (isWhole ? 1 : variable.components); ++c) {
      const std::string component = morvex_component_name(variable.type, c);
      const std::string name = case_.nameLike(isWhole ? label : label + "_" + component);
      for (std::size_t i = 0; i < steps.size(); ++i) {
        const Out out = open(fileName(name, timeSet, i), {label});
        morvex_request asked = variableRequest(number, steps[i]);
        asked.imaginary = isImaginary ? 1 : 0;
        asked.component = isWhole ? MORVEX_ALL_COMPONENTS : c;
        asked.layout = MORVEX_INTERLEAVED;
        std::uint64_t size = 0;
        (void)morvex_get_size(job_.file.handle(), &asked, &size, nullptr);
        const std::optional<int> at = job_.geometryStep(number, steps[i]);
        job_.feed.array(asked, [out, size, at, this](std::optional<Bytes> values) {
          // A number of particles that could not be read is in doubt.
          const bool isKnown = at && !isDropped(*at, kOfParticles, kWholePart);
          const std::uint64_t count = isKnown ? size : 0;
          // The format has no word for particles without values.
          std::vector<float> all = withUndefined(values, count);
          // Nobody reads what is beyond the particles, but VTK refuses files of less than 100 bytes.
          all.resize(std::max(all.size(), kLeastMeasured), kUndefined);
          (*out)->write(std::as_bytes(std::span(all)));
        });
        close(out);
      }
      const std::string kind = variable.components == 3 ? "vector" : "scalar";
      case_.variable(kind + " per measured node", timeSet, name,
                     {pattern(name, timeSet, steps.size())});
    }
  }
}

// Readers refuse a variable whose files have no part at all, so it is left out of the case file.
bool EnSightExport::hasValues(int number, morvex_location location, bool onBlocksAlone) {
  const morvex_variable& variable = job_.variable(number);
  for (const int step : job_.stepsOf(variable)) {
    const std::optional<int> geometryStep = job_.geometryStep(number, step);
    if (!geometryStep) continue;
    const std::vector<morvex_part>& parts = job_.partsOrNone(*geometryStep);
    for (std::size_t p = 0; p < parts.size(); ++p) {
      const int part = static_cast<int>(p);
      const bool fits =
          locationOn(variable, parts[p]) == location && (!onBlocksAlone || parts[p].is_block != 0);
      if (fits && job_.isChosen(part, parts[p]) && job_.isDefined(number, step, part)) return true;
    }
  }
  return false;
}

void EnSightExport::exportVariable(int number, morvex_location location, bool onBlocksAlone) {
  if (!hasValues(number, location, onBlocksAlone)) return;
  const morvex_variable& variable = job_.variable(number);
  const std::vector<int> steps = job_.stepsOf(variable);
  const int timeSet = case_.timeSet(variable.timeset, job_.timesOf(variable.timeset, steps));
  const std::string label = cleanText(variable.name);
  const std::string name = case_.nameLike(onBlocksAlone ? label + "_on_blocks" : label);
  const bool isComplex = variable.is_complex != 0;
  // One pattern, or two of a complex variable: real part, imaginary part.
  std::vector<std::string> patterns;
  for (const bool isImaginary : {false, true}) {
    if (isImaginary && !isComplex) continue;
    const std::string base = isImaginary ? name + ".imaginary" : name;
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const std::optional<int> geometryStep = job_.geometryStep(number, steps[i]);
      const Out out = open(fileName(base, timeSet, i), {label});
      const std::vector<morvex_part>& parts =
          geometryStep ? job_.partsOrNone(*geometryStep) : std::vector<morvex_part>{};
      for (std::size_t p = 0; p < parts.size(); ++p) {
        const int part = static_cast<int>(p);
        const bool fits = locationOn(variable, parts[p]) == location &&
                          (!onBlocksAlone || parts[p].is_block != 0);
        if (!fits || parts[p].nodes == 0 || !job_.isChosen(part, parts[p])) continue;
        if (!job_.isDefined(number, steps[i], part)) continue;
        morvex_request asked = variableRequest(number, steps[i], part);
        asked.imaginary = isImaginary ? 1 : 0;
        asked.layout = MORVEX_BY_COMPONENT;
        addValues(out, asked, parts[p], *geometryStep, location);
      }
      close(out);
    }
    patterns.push_back(pattern(base, timeSet, steps.size()));
  }
  const std::string where = location == MORVEX_PER_NODE ? " per node" : " per element";
  const std::string kind = kindOf(variable);
  if (!isComplex) {
    case_.variable(kind + where, timeSet, name, patterns);
  } else if (variable.components <= 3) {
    case_.variable("complex " + kind + where, timeSet, name, patterns,
                   numberText(variable.frequency));
  } else {  // the format has no complex tensors
    case_.variable(kind + where, timeSet, name, {patterns[0]});
    case_.variable(kind + where, timeSet, case_.nameLike(imaginaryName(variable, name)),
                   {patterns[1]});
  }
}

void EnSightExport::addValues(const Out& out, morvex_request asked, const morvex_part& info,
                              int geometryStep, morvex_location location) {
  const int part = asked.part;
  const std::size_t components = componentsOf(job_.variable(asked.variable));
  if (location == MORVEX_PER_NODE) {
    const std::string section = info.is_block != 0 ? "block" : "coordinates";
    // A part on which the variable is defined stays in the file at steps without values: readers that
    // find no part at all refuse the file.
    const std::size_t count = info.nodes * components;
    job_.feed.array(asked, [=, this](std::optional<Bytes> values) {
      if (isDropped(geometryStep, part, kWholePart)) return;
      (*out)->write(partLines(part));
      writeSection(**out, section, values, count);
    });
    return;
  }
  // The part is written before its first section; without sections it is left out.
  const auto hasBegun = std::make_shared<bool>(false);
  for (const int type : cellTypes(info)) {
    // Ghosts are not shown, their values are those of the elements that they repeat, and VTK gives up on
    // a variable that has them.
    if (isGhost(type)) continue;
    asked.element_type = type;
    const std::size_t count = info.elements[type] * components;
    job_.feed.array(asked, [=, this](std::optional<Bytes> values) {
      if (isDropped(geometryStep, part, type)) return;
      if (!std::exchange(*hasBegun, true)) (*out)->write(partLines(part));
      writeSection(**out, typeName(type), values, count);
    });
  }
}

}  // namespace morvex::tools
