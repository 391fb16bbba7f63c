#include "contents.hpp"

#include <algorithm>
#include <stdexcept>

#include "answers.hpp"
#include "failure_text.hpp"
#include "text_table.hpp"

namespace morvex::tools {
namespace {

/// Asks one question; a failure leaves a line in `problems`.
template <class Ask>
void attempt(Contents& contents, const std::string& question, const Ask& ask) {
  try {
    ask();
  } catch (...) {
    contents.problems.push_back(question + ": " + failureText());
  }
}

int stepsOf(const Contents& contents, int timeSet) {
  if (contents.timeSets.empty()) return 1;
  return static_cast<int>(contents.timeSets.at(static_cast<std::size_t>(timeSet)).size());
}

Geometry readGeometry(const Contents& contents, int which) {
  Geometry geometry;
  std::int32_t adaptivity = 0;
  const mxg_code code = mxg_get_geometry_adaptivity_type(which, &adaptivity);
  if (code == MXG_NO_SUCH_DATA) return geometry;
  require(code);
  geometry.adaptivity = static_cast<Adaptivity>(adaptivity);
  require(which == MXG_MODEL ? mxg_get_model_geo_timeset(&geometry.timeSet)
                             : mxg_get_measured_geo_timeset(&geometry.timeSet));
  geometry.steps =
      geometry.adaptivity == Adaptivity::fixed ? 1 : stepsOf(contents, geometry.timeSet);
  return geometry;
}

void readTimeSets(Contents& contents) {
  std::uint64_t count = 0;
  require(mxg_get_number_of_timesets(&count));
  for (int set = 0; set < static_cast<int>(count); ++set) {
    auto& times = contents.timeSets.emplace_back();
    attempt(contents, "Time set " + std::to_string(set), [&] {
      times = answerOf<float>([&](auto... out) { return mxg_get_timesteps_values(set, out...); });
    });
  }
}

Variable readVariable(int index, const mxg_variable& stored) {
  const auto text = [&](mxg_text which) {
    return textOf([&](auto... out) { return mxg_get_variable_text(index, which, out...); });
  };
  return {.name = text(MXG_NAME),
          .description = text(MXG_DESCRIPTION),
          .type = stored.type,
          .location = stored.location,
          .isComplex = stored.is_complex != 0,
          .imaginaryDescription = text(MXG_IMAGINARY_NAME),
          .frequency = stored.frequency,
          .isConstant = stored.is_constant != 0,
          .isTransient = stored.has_time != 0,
          .timeSet = stored.timeset,
          .isMeasured = stored.geometry == MXG_PARTICLES};
}

void readVariables(Contents& contents) {
  for (const mxg_variable& stored : answerOf<mxg_variable>(&mxg_get_variable_information)) {
    Variable variable = readVariable(static_cast<int>(contents.variables.size()), stored);
    attempt(contents, "Variable " + shownText(variable.name), [&] {
      variable.steps = variable.isTransient ? stepsOf(contents, variable.timeSet) : 1;
      if (stored.geometry != MXG_MODEL && stored.geometry != MXG_PARTICLES) {
        throw std::runtime_error("geometry " + std::to_string(stored.geometry) + " is unknown");
      }
    });
    contents.variables.push_back(std::move(variable));
  }
}

}  // namespace

OpenFile::OpenFile(const std::string& path) {
  require(mxg_open_file(path.c_str(), 0));
}

OpenFile::~OpenFile() {
  mxg_exit();
}

int Variable::components() const noexcept {
  static constexpr std::array<int, 5> kComponents{0, 1, 3, 6, 9};
  return type >= 0 && type < 5 ? kComponents[static_cast<std::size_t>(type)] : 0;
}

Contents readContents() {
  Contents contents;
  attempt(contents, "Time sets", [&] { readTimeSets(contents); });
  attempt(contents, "Model", [&] {
    contents.model = readGeometry(contents, MXG_MODEL);
    if (contents.model.isPresent()) require(mxg_get_number_of_parts(&contents.partCount));
  });
  attempt(contents, "Measured particles",
          [&] { contents.measured = readGeometry(contents, MXG_PARTICLES); });
  attempt(contents, "Variables", [&] { readVariables(contents); });
  return contents;
}

std::vector<Part> readParts(const Contents& contents, int step) {
  std::vector<Part> parts;
  if (contents.partCount == 0) return parts;
  for (const mxg_part& stored :
       answerOf<mxg_part>([&](auto... out) { return mxg_get_part_information(step, out...); })) {
    const auto index = static_cast<int>(parts.size());
    Part& part = parts.emplace_back();
    part.id = stored.id;
    part.type = stored.type;
    part.name = textOf([&](auto... out) { return mxg_get_part_name(step, index, out...); });
    part.nodes = stored.nodes;
    std::ranges::copy(stored.elements, part.elements.begin());
    std::ranges::copy(stored.extents, part.extents.begin());
    std::uint64_t types = 0;
    require(mxg_has_border_faces(step, index, part.borderFaces.data(), part.borderFaces.size(),
                                 &types));
  }
  return parts;
}

std::uint64_t readParticleCount(int step) {
  std::uint64_t count = 0;
  require(mxg_get_number_of_measured_particles(step, &count));
  return count;
}

std::optional<Box> readBox(const Contents& contents, int step) {
  if (!contents.model.isPresent()) return std::nullopt;
  const auto values =
      answerOf<float>([&](auto... out) { return mxg_get_bounding_box(step, out...); });
  Box box;
  std::copy_n(values.begin(), 3, box.low.begin());
  std::copy_n(values.begin() + 3, 3, box.high.begin());
  if (!box.isFilled()) return std::nullopt;
  return box;
}

float readConstant(int variable, int step) {
  float real = 0.0F;
  float imaginary = 0.0F;
  require(mxg_get_constant_value(step, variable, &real, &imaginary));
  return real;
}

}  // namespace morvex::tools
