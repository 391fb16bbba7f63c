// `morvex thumb`: a picture of the model as a PNG file.

#include <array>
#include <charconv>
#include <memory>
#include <string_view>

#include "commands/command.hpp"
#include "common/output.hpp"
#include "picture/render.hpp"
#include "picture/scene.hpp"

namespace morvex::tools {
namespace {

using picture::Size;

/// As typed; drawFile() checks each before the file is opened.
struct ThumbOptions {
  std::string file;
  std::string output;
  std::string size = "1200x900";
  std::string view;
  std::string range;
  std::string focus;
  picture::Wish wish;
  bool hasEdges = false;
  bool mayReplace = false;
};

/// Two numbers with a separator between them, such as 640x480 or -1:2.5.
template <class T>
std::optional<std::pair<T, T>> pairOf(std::string_view text, char separator) {
  std::pair<T, T> numbers;
  const char* const end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, numbers.first);
  if (first.ec != std::errc() || first.ptr == end || *first.ptr != separator) return {};
  const auto second = std::from_chars(first.ptr + 1, end, numbers.second);
  if (second.ec != std::errc() || second.ptr != end) return {};
  return numbers;
}

/// x, y, z and a distance, with commas between them.
picture::Focus focusOf(const std::string& text) {
  std::array<float, 4> numbers{};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto read = std::from_chars(at, end, numbers[i]);
    // Each number but the last is followed by a comma, and nothing follows the last.
    const bool isLast = i + 1 == numbers.size();
    const bool isFollowed = read.ptr != end && *read.ptr == ',';
    if (read.ec != std::errc() || isFollowed == isLast || (isLast && read.ptr != end)) {
      throw Failure(kUsageError, "--focus '" + text + "' is no point and distance: x,y,z,distance");
    }
    at = read.ptr + 1;
  }
  // Written so that NaN is refused as well.
  const auto [x, y, z, radius] = numbers;
  if (!(radius > 0)) throw Failure(kUsageError, "--focus: the distance is not above 0");
  return {{x, y, z}, radius};
}

/// Failure kUsageError for what is no size.
Size sizeOf(const std::string& text) {
  // From an icon to a poster; more would be a mistake of typing and much memory.
  constexpr int kLeast = 16;
  constexpr int kMost = 16384;
  const auto fitting = [](int side) { return side >= kLeast && side <= kMost; };
  const auto sides = pairOf<int>(text, 'x');
  if (!sides || !fitting(sides->first) || !fitting(sides->second)) {
    throw Failure(kUsageError, "--size '" + text + "' is no size such as 640x480, of 16 to 16384");
  }
  return {sides->first, sides->second};
}

/// `options` takes the parsed range, which belongs to the wish.
ExitCode drawFile(ThumbOptions& options, const Common& common) {
  picture::Style style;
  style.size = sizeOf(options.size);
  style.hasEdges = options.hasEdges;
  if (!options.view.empty()) {
    style.direction = picture::directionOf(options.view);
    if (!style.direction) {
      throw Failure(kUsageError,
                    "--view '" + options.view +
                        "' is none of iso, front, back, left, right, top, bottom, nor two angles "
                        "such as 30,20");
    }
  }
  // Equal ends would divide by 0.
  if (!options.range.empty()) {
    options.wish.range = pairOf<float>(options.range, ':');
    if (!options.wish.range || !(options.wish.range->first < options.wish.range->second)) {
      throw Failure(kUsageError, "--range '" + options.range + "' is no range such as 0:2.5");
    }
  }
  if (!options.focus.empty()) style.focus = focusOf(options.focus);
  const bool toStandardOutput = options.output == "-";
  if (toStandardOutput && terminalWidth() != 0) {
    // Binary data may leave the terminal in an unusable state.
    throw Failure(kUsageError,
                  "a terminal can't show a PNG file; `morvex info --picture` draws there");
  }
  // The name says which file a picture in a report was made from; the folder stays private.
  style.title = options.file.substr(options.file.rfind('/') + 1);
  // Before the work, so that a place that is taken costs no time.
  std::unique_ptr<NewFile> place;
  if (!toStandardOutput) place = std::make_unique<NewFile>(options.output, options.mayReplace);
  const File file = openFile(options.file, common.open);
  // Complete in memory: a failure leaves no half of a picture in a pipe.
  const std::string png =
      pngOf(picture::render(picture::readScene(options.file, file, options.wish), style));
  if (toStandardOutput) {
    put(png);
  } else {
    place->write(png);
    place->commit();
  }
  return kSuccess;
}

}  // namespace

Command addThumb(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand("thumb", "Draws a picture of the model as a PNG file");
  const auto options = std::make_shared<ThumbOptions>();
  addFile(*app, options->file);
  app->add_option("-o,--output", options->output, "PNG file to write; - for standard output")
      ->type_name("PNG")
      ->required();
  addSelection(*app, options->wish.selection);
  app->add_option("--component", options->wish.component,
                  "of the variable: its name, its number from 0, or magnitude")
      ->type_name("NAME");
  app->add_flag("--by-part", options->wish.byPart, "a colour for each part, no variable");
  app->add_option("--range", options->range, "values at the ends of the colour map")
      ->type_name("LEAST:MOST");
  app->add_option("--view", options->view,
                  "iso, front, back, left, right, top, bottom, or degrees around z from the front "
                  "and above the horizon, such as 30,20")
      ->type_name("VIEW");
  app->add_option("--focus", options->focus, "a detail: what is within a distance of a point")
      ->type_name("X,Y,Z,DISTANCE");
  app->add_option("--size", options->size, "width and height in pixels (1200x900)")
      ->type_name("WxH");
  app->add_flag("--edges", options->hasEdges, "draw the edges of the elements");
  app->add_flag("--force", options->mayReplace, "replace a file that is there");
  app->footer(
      "Examples:\n  morvex thumb crash.mvx --variable stress -o crash.png\n"
      "  morvex thumb crash.mvx --by-part --view front --size 640x480 -o parts.png");
  return {app, [options, &common] { return drawFile(*options, common); }};
}

}  // namespace morvex::tools
