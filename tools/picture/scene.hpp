#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/selection.hpp"
#include "picture/surface.hpp"
#include "picture/view.hpp"

namespace morvex::picture {

/// What a user wants to see.
struct Wish {
  tools::Selection selection;
  std::string component;  ///< a name, a number or "magnitude"; empty for the usual one
  bool byPart = false;    ///< colours by part, whatever variables there are
  std::optional<std::pair<float, float>> range;  ///< of the colour map
};

/// A part that is drawn. Values are one for each node or one for each cell, NaN where there is
/// none.
struct DrawnPart {
  int number = 0;
  std::string name;
  std::vector<Vector> nodes;
  Surface surface;
  bool isPerNode = false;
  std::vector<float> values;
};

/// All that a picture shows, read from a file.
struct Scene {
  std::vector<DrawnPart> parts;
  std::vector<Vector> particles;
  std::vector<float> particleValues;  ///< empty unless the variable is one of particles
  /// Particles are inside of solids: sides of these that face the viewer are not drawn.
  bool isInside = false;
  /// The parts bound what is around them, such as a flow: their material is on the inner side.
  bool isFlow = false;
  Box box;

  std::string variable;  ///< name and component; empty where colours are by part
  std::pair<float, float> range{0, 0};
  bool hasMissing = false;  ///< some of what is drawn has no value
  int step = 0;
  float time = 0;
  bool isTimed = false;  ///< step and time mean something
};

/// Reads what is drawn, by all threads of the file. Without a variable in the selection it is the
/// first that varies: scalars before vectors, values per node before values per element. Without a
/// step it is the last. Where the user names no parts, these are left out:
/// - solids, if other parts have all of their outer faces as elements of their own;
/// - parts that lie on the sides of the model's box, if the rest is less than half as large.
/// Failure kUsageError for what is not there, kDataError for what can't be read or if nothing can
/// be drawn; its text begins with `path`.
[[nodiscard]] Scene readScene(const std::string& path, const File& file, const Wish& wish);

}  // namespace morvex::picture
