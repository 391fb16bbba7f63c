/**
 * \file morvex.hpp
 * \brief libmorvex in C++17: a header over morvex.h, nothing to link beside the library.
 *
 * \par Example
 * \snippet read.cpp read
 *
 * Calls throw morvex::Error. Rules of threads, steps and numbers are those of morvex.h. Texts and spans
 * of times belong to the file and are valid as long as the File that they came from.
 */
#ifndef MORVEX_HPP
#define MORVEX_HPP

#include <morvex/morvex.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace morvex {

/** A failed call: what() is the reason, in one line. */
class Error : public std::runtime_error {
 public:
  /** Copies what the thread's last failure says. */
  explicit Error(const morvex_error& error)
      : std::runtime_error(error.path[0] == '\0' ? std::string(error.text)
                                                 : std::string(error.path) + ": " + error.text),
        code_(error.code),
        step_(error.step),
        part_(error.part),
        path_(error.path) {}

  /** Why. */
  [[nodiscard]] morvex_code code() const noexcept { return code_; }
  /** The step that was asked for; -1 where there is none. */
  [[nodiscard]] int step() const noexcept { return step_; }
  /** The part that was asked for; -1 where there is none. */
  [[nodiscard]] int part() const noexcept { return part_; }
  /** Of the dataset that failed; empty where none is known. */
  [[nodiscard]] const std::string& path() const noexcept { return path_; }

 private:
  morvex_code code_;
  int step_;
  int part_;
  std::string path_;
};

/** Throws the thread's last failure unless the code is #MORVEX_OK. */
inline void check(morvex_code code) {
  if (code != MORVEX_OK) throw Error(*morvex_last_error());
}

/** The cells of a part: cell i has the nodes connectivity[offsets[i]] to connectivity[offsets[i + 1]]. */
struct Cells {
  std::vector<std::int64_t> offsets;      /**< one more than cells */
  std::vector<std::int64_t> connectivity; /**< nodes from 0 */
  std::vector<std::uint8_t> types;        /**< element type of each cell */
};

/** Starts a request for an array; set the numbers that its kind names. */
[[nodiscard]] inline morvex_request request(morvex_kind kind, int step = 0, int part = 0) {
  morvex_request made = MORVEX_REQUEST_INIT;
  made.kind = kind;
  made.step = step;
  made.part = part;
  return made;
}

/** Starts a request for all components of a variable. */
[[nodiscard]] inline morvex_request variableRequest(int variable, int step, int part = 0,
                                                    int elementType = 0) {
  morvex_request made = request(MORVEX_VARIABLE, step, part);
  made.variable = variable;
  made.element_type = elementType;
  return made;
}

/** An open result file. Movable; closes itself. */
class File {
 public:
  /**
   * Opens a result file. Error.
   * \param path     in the encoding of the file system
   * \param threads  most threads of a read; 0 for as many as processors
   */
  explicit File(const std::string& path, int threads = 0) {
    morvex_open_options options = MORVEX_OPEN_OPTIONS_INIT;
    options.threads = threads;
    check(morvex_open(path.c_str(), &options, &file_));
  }
  /** The same with all options. */
  File(const std::string& path, const morvex_open_options& options) {
    check(morvex_open(path.c_str(), &options, &file_));
  }
  ~File() { morvex_close(file_); }
  /** What `other` had; only assignments and its end are allowed to it then. */
  File(File&& other) noexcept : file_(std::exchange(other.file_, nullptr)) {}
  /** Exchanges the two. */
  File& operator=(File&& other) noexcept {
    std::swap(file_, other.file_);
    return *this;
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /** For the functions of morvex.h. */
  [[nodiscard]] morvex_file* handle() const noexcept { return file_; }

  /** The file at a glance. */
  [[nodiscard]] morvex_summary summary() const {
    morvex_summary info = MORVEX_SUMMARY_INIT;
    check(morvex_get_summary(file_, &info));
    return info;
  }
  /** Times of a time set; {0} for -1, no time set. */
  [[nodiscard]] std::vector<float> times(int timeset) const {
    const float* values = nullptr;
    std::uint64_t count = 0;
    check(morvex_get_times(file_, timeset, &values, &count));
    return std::vector<float>(values, values + count);
  }
  /** Parts of the model at a step. */
  [[nodiscard]] int partCount(int step = 0) const {
    std::uint64_t count = 0;
    check(morvex_get_part_count(file_, step, &count));
    return static_cast<int>(count);
  }
  /** A part of the model at a step. */
  [[nodiscard]] morvex_part part(int part, int step = 0) const {
    morvex_part info = MORVEX_PART_INIT;
    check(morvex_get_part(file_, step, part, &info));
    return info;
  }
  /** Number of the first part of that name. */
  [[nodiscard]] int findPart(const std::string& name, int step = 0) const {
    std::int32_t part = 0;
    check(morvex_find_part(file_, step, name.c_str(), &part));
    return part;
  }
  /** A variable, by number. */
  [[nodiscard]] morvex_variable variable(int variable) const {
    morvex_variable info = MORVEX_VARIABLE_INIT;
    check(morvex_get_variable(file_, variable, &info));
    return info;
  }
  /** Number of the first variable of that name. */
  [[nodiscard]] int findVariable(const std::string& name) const {
    std::int32_t variable = 0;
    check(morvex_find_variable(file_, name.c_str(), &variable));
    return variable;
  }
  /** Particles at a step; 0 in a file without. */
  [[nodiscard]] std::uint64_t particleCount(int step = 0) const {
    std::uint64_t count = 0;
    check(morvex_get_particle_count(file_, step, &count));
    return count;
  }
  /** xmin, ymin, zmin, xmax, ymax, zmax; nothing where the file has no box of that step. */
  [[nodiscard]] std::optional<std::array<float, 6>> box(int step = 0) const {
    std::array<float, 6> values{};
    std::int32_t given = 0;
    check(morvex_get_box(file_, step, values.data(), &given));
    if (given == 0) return std::nullopt;
    return values;
  }
  /** The number of a constant at a step. */
  [[nodiscard]] float constant(int variable, int step = 0) const {
    float value = 0;
    check(morvex_get_constant(file_, variable, step, &value));
    return value;
  }

  /** Number of values of an array. */
  [[nodiscard]] std::uint64_t size(const morvex_request& of) const {
    std::uint64_t count = 0;
    check(morvex_get_size(file_, &of, &count, nullptr));
    return count;
  }
  /** Minimum and maximum of an array; minimum above maximum if it has no numbers. */
  [[nodiscard]] std::pair<double, double> range(const morvex_request& of) const {
    double values[2] = {0, -1};
    check(morvex_get_range(file_, &of, values, nullptr));
    return {values[0], values[1]};
  }
  /** Whether the file has the array. */
  [[nodiscard]] bool has(const morvex_request& of) const {
    std::int32_t answer = 0;
    check(morvex_has_array(file_, &of, &answer));
    return answer != 0;
  }
  /** Reads arrays into the targets of the requests. */
  void read(std::vector<morvex_request>& requests) const {
    check(morvex_read(file_, requests.data(), requests.size(), nullptr));
  }
  /** The same with options; the requests have the code of each array. */
  [[nodiscard]] morvex_code read(std::vector<morvex_request>& requests,
                                 const morvex_read_options& options) const {
    return morvex_read(file_, requests.data(), requests.size(), &options);
  }
  /**
   * Reads one array.
   * \tparam T  the type of its values: float, std::int32_t, std::int16_t, std::int64_t, std::uint8_t
   */
  template <class T>
  [[nodiscard]] std::vector<T> read(morvex_request of) const {
    std::uint64_t count = 0;
    std::uint64_t valueBytes = 0;
    check(morvex_get_size(file_, &of, &count, &valueBytes));
    if (valueBytes != sizeof(T)) throw std::invalid_argument("T is not the type of the array");
    std::vector<T> values(static_cast<std::size_t>(count));
    of.target = values.data();
    of.capacity = count;
    check(morvex_read(file_, &of, 1, nullptr));
    return values;
  }
  /** x, y, z of the first node, then of the second, ... */
  [[nodiscard]] std::vector<float> coordinates(int part, int step = 0) const {
    morvex_request of = request(MORVEX_COORDINATES, step, part);
    of.layout = MORVEX_INTERLEAVED;
    return read<float>(of);
  }
  /** The cells of a part that is no block. */
  [[nodiscard]] Cells cells(int part, int step = 0) const {
    return {read<std::int64_t>(request(MORVEX_CELL_OFFSETS, step, part)),
            read<std::int64_t>(request(MORVEX_CELL_CONNECTIVITY, step, part)),
            read<std::uint8_t>(request(MORVEX_CELL_TYPES, step, part))};
  }
  /** All components of a variable, interleaved. */
  [[nodiscard]] std::vector<float> values(int variable, int step, int part = 0,
                                          int elementType = 0) const {
    morvex_request of = variableRequest(variable, step, part, elementType);
    of.layout = MORVEX_INTERLEAVED;
    return read<float>(of);
  }

 private:
  morvex_file* file_ = nullptr;
};

}  // namespace morvex

#endif  // MORVEX_HPP
