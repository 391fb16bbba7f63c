#include "simulation/dataset_path.hpp"

#include <boost/algorithm/string/finder.hpp>
#include <boost/algorithm/string/iter_find.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/lexical_cast.hpp>
#include <vector>

#include "core/checked.hpp"
#include "metadata/exception.hpp"

namespace morvex {
namespace {

constexpr std::size_t kStepComponent = 3;
constexpr std::size_t kPartComponent = 4;
constexpr std::size_t kDatasetComponent = 5;

constexpr std::string_view kStepOffset = "[ts";

std::vector<std::string> componentsOf(const std::string& path) {
  std::vector<std::string> components;
  boost::algorithm::iter_split(components, path,
                               boost::algorithm::token_finder([](char c) { return c == '/'; }));
  return components;
}

std::string pathOf(const std::vector<std::string>& components) {
  return boost::algorithm::join(components, "/");
}

template <class Number>
std::string textOf(Number number) {
  return boost::lexical_cast<std::string>(number);
}

int numberOf(const std::string& text) {
  return boost::lexical_cast<int>(text);
}

}  // namespace

std::string geometryGroup(int geometryType, int timestep, int part) {
  return "/geometry/" + textOf(geometryType) + "/" + textOf(timestep) + "/" + textOf(part);
}

std::string variableGroup(const std::string& variable, int timestep, int part) {
  return "/variable/" + variable + "/" + textOf(timestep) + "/" + textOf(part);
}

std::string variableDataset(int elementType, int component, bool imaginary) {
  std::string name = elementType < 0 ? std::string() : textOf(elementType) + "_";
  name += textOf(component);
  name += imaginary ? "_data_imag" : "_data";
  return name;
}

std::string elementDataset(int elementType, std::string_view suffix) {
  return textOf(elementType).append(suffix);
}

std::pair<std::string, std::string> splitDatasetPath(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {std::string(), path};
  return {path.substr(0, slash), path.substr(slash + 1)};
}

std::string injectTimeStepIntoVariablePath(const std::string& path, std::int64_t timestep) {
  std::vector<std::string> components = componentsOf(path);
  Kelbor::checkedAt(components, kStepComponent) = textOf(timestep);
  return pathOf(components);
}

std::string injectPartAndElementIntoVariablePath(const std::string& path, int part,
                                                 int elementType) {
  std::vector<std::string> components = componentsOf(path);
  std::string& dataset = Kelbor::checkedAt(components, kDatasetComponent);
  const std::size_t templateEnd = dataset.rfind('>');
  dataset = textOf(elementType) +
            (templateEnd == std::string::npos ? dataset : dataset.substr(templateEnd + 1));
  components[kPartComponent] = textOf(part);
  return pathOf(components);
}

int extractTimeStepFromVariablePath(const std::string& path) {
  return numberOf(Kelbor::checkedAt(componentsOf(path), kStepComponent));
}

int extractPartNumberFromVariablePath(const std::string& path) {
  return numberOf(Kelbor::checkedAt(componentsOf(path), kPartComponent));
}

int extractElementTypeFromParentDataset(const std::string& name) {
  return numberOf(name.substr(0, name.find('_')));
}

std::string resolveDatasetKey(const std::string& key, const std::string& group,
                              const std::string& name) {
  if (key.starts_with('_')) return group + "/" + name + key;

  const std::size_t offsetAt = key.rfind(kStepOffset);
  if (offsetAt != std::string::npos && key.ends_with(']')) {
    const std::size_t numberAt = offsetAt + kStepOffset.size();
    const int timeStepDistanceInt = numberOf(key.substr(numberAt, key.size() - 1 - numberAt));
    if (timeStepDistanceInt == 0) Kelbor::raise<InternalError>("timeStepDistanceInt=0!");
    const std::string base = group + "/" + (offsetAt == 0 ? name : key.substr(0, offsetAt));
    const std::int64_t step = extractTimeStepFromVariablePath(base);
    return injectTimeStepIntoVariablePath(base, step + timeStepDistanceInt);
  }

  if (key.find("<p>") != std::string::npos && key.find("<e>") != std::string::npos) {
    return injectPartAndElementIntoVariablePath(key, extractPartNumberFromVariablePath(group),
                                                extractElementTypeFromParentDataset(name));
  }
  return group + "/" + key;
}

}  // namespace morvex
