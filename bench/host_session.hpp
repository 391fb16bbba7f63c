#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace morvex::Bench {

/// The library's only session, used through its exports.
class Session {
 public:
  /// std::runtime_error if the file can't be opened.
  Session(const std::string& path, int threads);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
};

/// One call that fills float arrays: three axes of a part, or one component of a variable.
struct Question {
  int variable = -1;  ///< -1 for coordinates
  int step = 0;
  int geometryStep = 0;
  int part = 0;
  int variableType = 0;
  int elementType = 0;
  int component = 0;
  std::size_t firstArray = 0;  ///< index among the arrays of a listing
};

/// The float arrays of the open file, in the order in which a host asks for them.
struct Listing {
  std::vector<Question> questions;
  std::vector<std::size_t> sizes;  ///< in values

  [[nodiscard]] std::size_t values() const;
};

/// All arrays of the open session's model: coordinates, then variables step by step, limited to
/// `largest` values in total. Without structured blocks and particles.
[[nodiscard]] Listing listArrays(std::size_t largest);

/// What a host does first: reads all tables that list the file's contents. Returns the number of
/// arrays of variables in them.
std::uint64_t readTables();

using Arrays = std::vector<std::vector<float>>;
/// Arrays of the listing's sizes, with all pages touched.
[[nodiscard]] Arrays emptyArrays(const Listing& listing);
/// std::runtime_error if the library refuses.
void ask(const Question& question, Arrays& arrays);
void askAll(const Listing& listing, Arrays& arrays);

}  // namespace morvex::Bench
