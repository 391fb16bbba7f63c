#pragma once

#include <random>
#include <span>
#include <string>
#include <vector>

#include "recipes/recipe.hpp"
#include "writer/result_image.hpp"

namespace morvex::Fuzz {

/// Changes one thing in the datasets of a file and keeps the rest readable, so that mutations reach
/// the code after the checks of the container, the lists and the zlib streams.
///
/// | dataset | change |
/// |---|---|
/// | recipes | class tags, wiring, numbers of inputs, keys, labels; whole recipes |
/// | encoded data | header, chunk table, and the bytes within a zlib stream |
/// | outliers | the bytes within their zlib stream |
/// | all others | numbers and bytes in place |
/// | any | removed, copied, exchanged, added under a name that recipes refer to |
class Mutator {
 public:
  explicit Mutator(std::mt19937& random) : random_(random) {}

  /// An image without datasets has nothing to mutate.
  void mutate(Writer::ResultImage& image);
  /// Copies some datasets of another file. Neither may be empty.
  void cross(Writer::ResultImage& image, const Writer::ResultImage& other);

 private:
  using Bytes = Writer::Bytes;

  void mutateTree(Writer::ResultImage& image);
  void mutateDataset(const std::string& path, Bytes& content);
  void mutateRecipes(Bytes& record);
  void mutateRecipe(Recipe& recipe);
  [[nodiscard]] Recipe::Input someInput();
  /// `payload` begins with a chunk table.
  void mutatePayload(Bytes& payload);
  void mutateStream(Bytes& stream);
  void mutateNumber(std::span<std::byte> bytes);
  void mutateBytes(Bytes& bytes);

  [[nodiscard]] std::size_t below(std::size_t end) { return end == 0 ? 0 : random_() % end; }
  [[nodiscard]] bool oneIn(unsigned chances) { return random_() % chances == 0; }
  [[nodiscard]] std::uint64_t someNumber(std::uint64_t old);
  [[nodiscard]] std::string someKey();
  [[nodiscard]] const std::string& somePath(const Writer::ResultImage& image);
  template <class T>
  void resize(std::vector<T>& items);

  std::mt19937& random_;
};

}  // namespace morvex::Fuzz
