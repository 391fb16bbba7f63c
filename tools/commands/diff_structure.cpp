#include <algorithm>
#include <cmath>

#include "commands/diff.hpp"
#include "commands/info.hpp"
#include "common/element_kinds.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

/// Describes each difference in a line, with the value of A first.
class Structure {
 public:
  Structure(const Side& a, const Side& b, const Tolerance& tolerance)
      : a_(a), b_(b), tolerance_(tolerance) {}

  /// To be called once.
  std::vector<std::string> run() {
    times();
    geometry("model", a_.contents.summary.model, b_.contents.summary.model);
    geometry("particles", a_.contents.summary.particles, b_.contents.summary.particles);
    const morvex_geometry& model = a_.contents.summary.model;
    // Steps that one file lacks are reported as a number of steps.
    const std::uint64_t states = std::min(model.steps, b_.contents.summary.model.steps);
    for (const int step : a_.choice.steps(model.timeset, states)) {
      // Where only coordinates change, the first step has the parts of all.
      if (stateAt(model, step) == step) parts(step);
    }
    variables();
    return std::move(found_);
  }

 private:
  /// A line unless both values are the same. `what` names the place, such as "part 2 tube, nodes".
  template <class T>
  void require(const std::string& what, const T& a, const T& b) {
    if (a != b) found_.push_back(what + ": " + text(a) + " and " + text(b));
  }
  static std::string text(const std::string& value) { return shownText(value); }
  static std::string text(std::integral auto value) { return std::to_string(value); }

  /// Numbers of steps and the first differing time of each set, within the tolerance of values.
  void times() {
    const auto& a = a_.contents.timesets;
    const auto& b = b_.contents.timesets;
    require("number of time sets", a.size(), b.size());
    for (std::size_t set = 0; set < std::min(a.size(), b.size()); ++set) {
      const std::string name = "time set " + std::to_string(set);
      require(name + ", steps", a[set].size(), b[set].size());
      for (std::size_t step = 0; step < std::min(a[set].size(), b[set].size()); ++step) {
        const double first = a[set][step];
        const double second = b[set][step];
        const double allowed = std::max(
            tolerance_.absolute, tolerance_.relative * std::max(std::abs(first), std::abs(second)));
        if (std::abs(first - second) <= allowed) continue;
        found_.push_back(name + ", time of step " + std::to_string(step) + ": " +
                         numberText(a[set][step]) + " and " + numberText(b[set][step]));
        break;  // the first is enough: the others mostly follow from it
      }
    }
  }

  /// How the geometry changes and over how many steps.
  void geometry(const std::string& name, const morvex_geometry& a, const morvex_geometry& b) {
    require(name, changeName(a), changeName(b));
    require(name + ", steps", a.steps, b.steps);
  }

  /// By number, as a host asks for parts: names may repeat.
  void parts(int step) {
    std::vector<morvex_part> a;
    std::vector<morvex_part> b;
    try {
      a = readParts(a_.file, step);
      b = readParts(b_.file, step);
    } catch (const Error& failure) {
      found_.push_back("parts at step " + std::to_string(step) + ": " + failure.what());
      return;
    }
    // Most models have the same parts at all steps: step 0 goes without saying.
    const std::string at = step == 0 ? "" : " at step " + std::to_string(step);
    require("number of parts" + at, a.size(), b.size());
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
      if (!a_.choice.hasPart(static_cast<int>(i), a[i].name)) continue;
      const std::string name = "part " + std::to_string(i) + " " + shownText(a[i].name) + at;
      require(name + ", name", std::string(a[i].name), std::string(b[i].name));
      require(name + ", id", a[i].id, b[i].id);
      require(name + ", nodes", a[i].nodes, b[i].nodes);
      for (std::size_t k = 0; k < 3; ++k) {
        require(name + ", extent " + "ijk"[k], a[i].extents[k], b[i].extents[k]);
      }
      for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
        require(name + ", " + elementName(type), a[i].elements[type], b[i].elements[type]);
        require(name + ", border faces " + elementName(type), a[i].border_faces[type],
                b[i].border_faces[type]);
      }
    }
  }

  /// Variables that one file lacks, and what differs in those of the same name.
  void variables() {
    const auto& all = b_.contents.variables;
    for (int i = 0; i < static_cast<int>(a_.contents.variables.size()); ++i) {
      if (!a_.choice.hasVariable(i)) continue;
      const morvex_variable& a = a_.contents.variables[static_cast<std::size_t>(i)];
      const std::string name = a.name;
      // By name: numbers depend on the order in which variables were written.
      const auto twin = std::ranges::find_if(
          all, [&](const morvex_variable& variable) { return name == variable.name; });
      if (twin == all.end()) {
        found_.push_back("variable " + shownText(name) + ": only in A");
        continue;
      }
      const std::string what = "variable " + shownText(name);
      require(what + ", type", typeName(a), typeName(*twin));
      require(what + ", location", locationName(a), locationName(*twin));
      require(what + ", complex", a.is_complex, twin->is_complex);
      require(what + ", constant", a.is_constant, twin->is_constant);
      require(what + ", on particles", a.on_particles, twin->on_particles);
      require(what + ", steps", a.steps, twin->steps);
    }
    // What was not asked for is no difference.
    if (a_.choice.namesVariables()) return;
    for (const morvex_variable& variable : all) {
      const bool isInA = std::ranges::any_of(a_.contents.variables, [&](const morvex_variable& a) {
        return std::string_view(a.name) == variable.name;
      });
      if (!isInA) found_.push_back("variable " + shownText(variable.name) + ": only in B");
    }
  }

  const Side& a_;
  const Side& b_;
  const Tolerance& tolerance_;
  std::vector<std::string> found_;
};

}  // namespace

std::vector<std::string> compareStructure(const Side& a, const Side& b,
                                          const Tolerance& tolerance) {
  return Structure(a, b, tolerance).run();
}

}  // namespace morvex::tools
