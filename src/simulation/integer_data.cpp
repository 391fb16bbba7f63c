#include "procedures/factory_table.hpp"
#include "simulation/read_support.hpp"

namespace morvex {
namespace {

const ClassCreators& connectivityClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kIdWindowChain, ClassTags::kParallelWrapper});
  return creators;
}

}  // namespace

/// All integer datasets. `secondName` is null for those that have one input and know one label.
template <class T>
void EnsgSimulation::readIntegersInto(const std::string& group, const std::string& name,
                                      const char* secondName, BufferInfo<T, long long> buffer,
                                      bool keep, const char* mismatch) {
  const std::string path = group + "/" + name;
  if (readFromStorage<T>(path, buffer, mismatch)) return;

  StoredDataset dataset = openStoredDataset(*this, group, name);
  const ZipRecipe& zipRecipe = recipeOf(dataset.header);
  ParameterBlock parameters;
  if (zipRecipe.label == Labels::kDefault) {
    parameters = decompressionBlock(Kelbor::dataTypeOf<T>());
  } else if (secondName && zipRecipe.label == Labels::kWindow) {
    parameters = windowBlock();
  } else {
    Kelbor::raise<std::logic_error>("Unexpected recipe!");
  }

  Providers inputs;
  inputs.push_back(std::move(dataset.payload));
  if (secondName) inputs.push_back(payloadOf(group, secondName));
  const auto chain = makeChain(zipRecipe.recipe, std::move(inputs), parameters,
                               connectivityClasses(), static_cast<std::uint64_t>(buffer.size));
  pullInto<T>(*chain, kUncompressed, buffer);
  if (keep) keepInStorage(path, Kelbor::dataTypeOf<T>(), buffer);
}

void EnsgSimulation::readConnectivityInto(const std::string& group, const std::string& mainName,
                                          const std::string& secondName, Int32Buffer buffer,
                                          bool keep) {
  readIntegersInto(group, mainName, secondName.c_str(), buffer, keep,
                   "connectivities.getDataSize() != buffer.size!");
}

void EnsgSimulation::readInt32Into(const std::string& group, const std::string& name,
                                   Int32Buffer buffer, bool keep) {
  readIntegersInto(group, name, nullptr, buffer, keep, "fromStorage.getDataSize() != buffer.size!");
}

void EnsgSimulation::readInt16Into(const std::string& group, const std::string& name,
                                   Int16Buffer buffer, bool keep) {
  readIntegersInto(group, name, nullptr, buffer, keep, "fromStorage.getDataSize() != buffer.size!");
}

}  // namespace morvex
