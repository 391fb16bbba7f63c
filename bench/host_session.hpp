#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace morvex::Bench {

/// The library's one session, through its exports.
class Session {
 public:
  /// std::runtime_error if the file can't be opened.
  Session(const std::string& path, int threads);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
};

/// One call that fills float arrays: the three axes of a part, or a component of a variable.
struct Question {
  int variable = -1;  ///< -1 for coordinates
  int step = 0;
  int geometryStep = 0;
  int part = 0;
  int variableType = 0;
  int elementType = 0;
  int component = 0;
  std::size_t firstArray = 0;  ///< of the arrays of a listing
};

/// The float arrays of the open file, in the order in which a host asks for them.
struct Listing {
  std::vector<Question> questions;
  std::vector<std::size_t> sizes;  ///< in values

  [[nodiscard]] std::size_t values() const;
};

/// All that the open session has for the model: coordinates, then variables step by step, of no
/// more than `largest` values together. Structured blocks and particles are left out.
[[nodiscard]] Listing listArrays(std::size_t largest);

/// What a host does first: all tables that tell what is in the file. Returns the number of arrays
/// of variables that it told of.
std::uint64_t readTables();

using Arrays = std::vector<std::vector<float>>;
/// Arrays of the listing's sizes, their memory touched.
[[nodiscard]] Arrays emptyArrays(const Listing& listing);
/// std::runtime_error if the library refuses.
void ask(const Question& question, Arrays& arrays);
void askAll(const Listing& listing, Arrays& arrays);

}  // namespace morvex::Bench
