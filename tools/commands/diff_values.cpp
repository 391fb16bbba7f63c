// Compares the arrays of two files. Arrays of the same path belong together: it has the variable's name,
// step, part, element type and component.

#include <cmath>
#include <cstring>
#include <map>

#include "commands/diff.hpp"
#include "commands/info.hpp"
#include "common/progress_bar.hpp"
#include "common/values.hpp"

namespace morvex::tools {
namespace {

/// What two arrays differ in.
struct Outcome {
  std::uint64_t differing = 0;
  // Below every difference, so that the first one counts.
  double largest = -1;
  std::size_t index = 0;
  double a = 0;
  double b = 0;

  void add(std::size_t at, double first, double second, double difference) {
    ++differing;
    // The first of equally large differences stays.
    if (difference <= largest) return;
    *this = {differing, difference, at, first, second};
  }
};

template <class T>
Outcome compareValues(std::span<const T> a, std::span<const T> b, const Tolerance& tolerance) {
  Outcome outcome;
  // Most arrays of similar files have the same bits, among them NaN, which compares unequal.
  if (std::memcmp(a.data(), b.data(), a.size_bytes()) == 0) return outcome;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto first = static_cast<double>(a[i]);
    const auto second = static_cast<double>(b[i]);
    if (first == second) continue;
    double difference = std::abs(first - second);
    if constexpr (std::floating_point<T>) {
      if (std::isnan(first) && std::isnan(second)) continue;
      // A number and none, or two infinities of different sign, are beyond every tolerance.
      if (std::isnan(difference)) difference = std::numeric_limits<double>::infinity();
      const double magnitude = std::max(std::abs(first), std::abs(second));
      const double allowed = std::max(tolerance.absolute, tolerance.relative * magnitude);
      if (std::isfinite(difference) && difference <= allowed) continue;
    }
    outcome.add(i, first, second, difference);
  }
  return outcome;
}

/// Arrays of the same path.
struct Pair {
  ArrayId a;
  ArrayId b;
  std::string path;
};

/// Walks the sections of A beside those of B and compares pairs of arrays in batches, so that two files
/// of any size need bounded memory.
class ValueComparison {
 public:
  ValueComparison(const Side& a, const Side& b, const Tolerance& tolerance, bool isQuiet)
      : a_(a),
        b_(b),
        tolerance_(tolerance),
        listA_(a.file, a.contents, a.choice),
        listB_(b.file, b.contents, b.choice),
        bar_(isQuiet),
        readerA_(a.file, /*isConcurrent=*/false, progress()),
        readerB_(b.file, /*isConcurrent=*/false, progress()) {}

  /// To be called once. `into` is borrowed. Throws Interrupted.
  void run(Comparison& into) {
    into_ = &into;
    const std::vector<Section> sectionsA = listA_.sections();
    // Sections of B that no section of A has taken yet, by group.
    std::map<std::string, Section> rest;
    for (const Section& section : listB_.sections()) rest.emplace(listB_.nameOf(section), section);
    total_ = static_cast<double>(sectionsA.size());
    for (const Section& section : sectionsA) {
      const bool isModel = section.of == Section::Of::kModel;
      if (wasModel_ && !isModel) {  // as a host does when it has read the geometry
        flush();
        check(morvex_finish_geometry(a_.file.handle()));
        check(morvex_finish_geometry(b_.file.handle()));
      }
      wasModel_ = isModel;
      const auto twin = rest.find(listA_.nameOf(section));
      if (twin == rest.end()) {
        addOnly(a_, listA_, section, b_, into.onlyA);
      } else {
        pairUp(section, twin->second);
        rest.erase(twin);
      }
      done_ += 1.0;
      if (isInterrupted()) throw Interrupted{};
    }
    flush();
    // A row is made for every step and part, to count its values.
    std::erase_if(into.differences, [](const Difference& row) { return row.differing == 0; });
    for (const auto& [name, section] : rest) addOnly(b_, listB_, section, a_, into.onlyB);
    listA_.requireNamed();
  }

 private:
  /// In sections of A, which are paired with those of B.
  BatchReader::Progress progress() {
    return [this](double, std::uint64_t) {
      bar_.show(total_ == 0.0 ? 1.0 : done_ / total_, bytes_);
      return !isInterrupted();
    };
  }

  void fail(const Side& side, const std::string& what) {
    into_->problems.push_back(side.path + ": " + what);
  }

  /// The arrays that a file has of a section, by path.
  std::map<std::string, ArrayId> arraysOf(const Side& side, ArrayList& list,
                                          const Section& section) {
    std::map<std::string, ArrayId> arrays;
    try {
      for (const ArrayId& array : list.arraysOf(section)) {
        std::int32_t has = 1;
        if (array.kind == ArrayKind::kVariables) {
          check(morvex_has_array(side.file.handle(), &array.request, &has));
        }
        if (has != 0) arrays.emplace(pathOf(side.file, array), array);
      }
    } catch (const Error& failure) {
      fail(side, list.nameOf(section) + ": " + failure.what());
    }
    return arrays;
  }

  /// Lists a section that the other file lacks as one line, not array by array.
  void addOnly(const Side& side, ArrayList& list, const Section& section, const Side& other,
               std::vector<std::string>& only) {
    if (section.of == Section::Of::kVariable) {
      // A variable that the other file lacks is a difference of structure.
      const std::string_view name =
          side.contents.variables[static_cast<std::size_t>(section.variable)].name;
      const bool isInBoth = std::ranges::any_of(
          other.contents.variables,
          [&](const morvex_variable& variable) { return name == variable.name; });
      if (!isInBoth) return;
    }
    if (!arraysOf(side, list, section).empty()) only.push_back(list.nameOf(section));
  }

  /// Pairs the arrays of a step that both files have; the others are in one file only.
  void pairUp(const Section& sectionA, const Section& sectionB) {
    const auto arraysA = arraysOf(a_, listA_, sectionA);
    auto arraysB = arraysOf(b_, listB_, sectionB);
    for (const auto& [path, array] : arraysA) {
      const auto twin = arraysB.find(path);
      if (twin == arraysB.end()) {
        into_->onlyA.push_back(path);
        continue;
      }
      add({array, twin->second, path});
      arraysB.erase(twin);
    }
    for (const auto& [path, array] : arraysB) into_->onlyB.push_back(path);
  }

  /// Queues two arrays of the same size. Others are only counted: their values can't be paired.
  void add(Pair pair) {
    try {
      const ArraySize size = sizeOf(a_.file, pair.a);
      const ArraySize other = sizeOf(b_.file, pair.b);
      if (size.count != other.count || size.valueBytes != other.valueBytes) {
        ++into_->otherSizes;
        return;
      }
      // The arrays of A are kept until those of B are there.
      constexpr std::uint64_t kRoom = std::uint64_t{32} << 20U;
      if (!pairs_.empty() && waiting_ + size.bytes() > kRoom) flush();
      waiting_ += size.bytes();
      pairs_.push_back(std::move(pair));
    } catch (const Error& failure) {
      fail(a_, failure.what());
    }
  }

  /// Reads the waiting pairs: first all of A, which are kept, then all of B, each compared as it comes.
  void flush() {
    kept_.clear();
    next_ = 0;
    for (const Pair& pair : pairs_) {
      readerA_.add(pair.a, [this](const ArrayResult& result) { keep(result); });
    }
    readerA_.finish();
    for (const Pair& pair : pairs_) {
      readerB_.add(pair.b, [this](const ArrayResult& result) { compare(result); });
    }
    readerB_.finish();
    pairs_.clear();
    waiting_ = 0;
  }

  /// Receives the arrays of A in the order of `pairs_`; an entry for each, also after a failure.
  void keep(const ArrayResult& result) {
    bytes_ += result.bytes.size();
    auto& bytes = kept_.emplace_back();
    if (result.failure) {
      fail(a_, result.failure->what());
    } else {
      bytes.emplace(result.bytes.begin(), result.bytes.end());
    }
  }

  /// Receives the arrays of B in the same order.
  void compare(const ArrayResult& result) {
    const Pair& pair = pairs_[next_];
    const auto& first = kept_[next_++];
    bytes_ += result.bytes.size();
    if (result.failure) return fail(b_, result.failure->what());
    if (!first) return;  // failed in A, which was reported
    ++into_->arrays;
    Difference& row = rowOf(pair.a);
    row.values += sizeOf(a_.file, pair.a).count;
    const Outcome outcome = visitValues(pair.a, *first, [&]<class T>(std::span<const T> a) {
      return compareValues<T>(
          a, std::span(reinterpret_cast<const T*>(result.bytes.data()), a.size()), tolerance_);
    });
    if (outcome.differing == 0) return;
    ++into_->differingArrays;
    row.differing += outcome.differing;
    // Components and element types share a row, which shows the worst of them.
    if (outcome.largest <= row.largest) return;
    row.largest = outcome.largest;
    row.a = outcome.a;
    row.b = outcome.b;
    row.path = pair.path;
    row.index = outcome.index;
    row.place = placeOf(pair.a, outcome.index);
  }

  /// The row of the array's variable, or kind of geometry, on its part at its step.
  Difference& rowOf(const ArrayId& array) {
    const bool isVariable =
        array.kind == ArrayKind::kVariables || array.kind == ArrayKind::kConstants;
    const morvex_request& asked = array.request;
    const morvex_variable* variable =
        isVariable ? &a_.contents.variables[static_cast<std::size_t>(asked.variable)] : nullptr;
    const bool hasPart = array.kind != ArrayKind::kParticles &&
                         array.kind != ArrayKind::kConstants &&
                         (variable == nullptr || variable->on_particles == 0);
    const int part = hasPart ? asked.part : -1;
    // By number, not by name: two variables of one name have rows of their own.
    const auto [place, isNew] =
        rows_.try_emplace(std::array{static_cast<int>(array.kind), isVariable ? asked.variable : -1,
                                     asked.step, part},
                          into_->differences.size());
    if (isNew) {
      Difference& row = into_->differences.emplace_back();
      row.what = variable != nullptr ? variable->name : kindName(array.kind);
      row.step = asked.step;
      row.part = part;
      // Parts keep their names, so those of the first step serve variables of any time set.
      const auto& parts = listA_.parts(isVariable ? 0 : asked.step);
      const auto number = static_cast<std::size_t>(std::max(part, 0));
      if (hasPart && number < parts.size()) row.partName = parts[number].name;
    }
    return into_->differences[place->second];
  }

  /// In words, for example "node 17 x" or "element 3".
  [[nodiscard]] std::string placeOf(const ArrayId& array, std::size_t index) const {
    const morvex_request& asked = array.request;
    switch (array.kind) {
      case ArrayKind::kConstants:
        return "";
      case ArrayKind::kCoordinates:
      case ArrayKind::kBlockCoordinates:
        return "node " + std::to_string(index) + " " + "xyz"[asked.component];
      case ArrayKind::kParticles:
        return "particle " + std::to_string(index) + " " + "xyz"[asked.component];
      case ArrayKind::kConnectivity: {
        const int nodes = morvex_nodes_per_element(asked.element_type);
        return "element " + std::to_string(index / static_cast<std::size_t>(std::max(nodes, 1)));
      }
      case ArrayKind::kVariables: {
        const morvex_variable& variable =
            a_.contents.variables[static_cast<std::size_t>(asked.variable)];
        const std::string component =
            componentText(variable, {-1, asked.component, asked.imaginary != 0});
        const bool isNode = variable.location == MORVEX_PER_NODE;
        const char* place = variable.on_particles != 0 ? "particle "
                            : isNode                   ? "node "
                                                       : "element ";
        return place + std::to_string(index) + (component.empty() ? "" : " " + component);
      }
      default:
        return "value " + std::to_string(index);
    }
  }

  const Side& a_;
  const Side& b_;
  const Tolerance& tolerance_;
  ArrayList listA_;
  ArrayList listB_;
  ProgressBar bar_;
  BatchReader readerA_;
  BatchReader readerB_;
  Comparison* into_ = nullptr;
  std::map<std::array<int, 4>, std::size_t> rows_;  ///< by kind, variable, step, part
  bool wasModel_ = false;
  std::vector<Pair> pairs_;
  std::uint64_t waiting_ = 0;                                ///< bytes of the pairs
  std::vector<std::optional<std::vector<std::byte>>> kept_;  ///< of A; nothing after a failure
  std::size_t next_ = 0;
  double done_ = 0;
  double total_ = 0;
  std::uint64_t bytes_ = 0;
};

}  // namespace

Comparison compareFiles(const Side& a, const Side& b, const Tolerance& tolerance, bool isQuiet) {
  Comparison comparison;
  for (const Side* side : {&a, &b}) {
    for (const std::string& problem : side->contents.problems) {
      comparison.problems.push_back(side->path + ": " + problem);
    }
  }
  comparison.structure = compareStructure(a, b, tolerance);
  ValueComparison(a, b, tolerance, isQuiet).run(comparison);
  return comparison;
}

}  // namespace morvex::tools
