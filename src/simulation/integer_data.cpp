#include "simulation/integer_data.hpp"

#include <stdexcept>
#include <utility>

#include "procedures/factory_table.hpp"
#include "simulation/host_read.hpp"

namespace morvex {
namespace {

const ClassCreators& connectivityClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kIdWindowChain, ClassTags::kParallelWrapper});
  return creators;
}

/// Reads any integer dataset. `secondName` is null for kinds with one input and one label.
template <class T>
void readIntegersInto(ReadContext& context, const std::string& group, const std::string& name,
                      const std::string* secondName, BufferInfo<T, long long> buffer, bool keep,
                      const char* mismatch) {
  const FailureNote note(context, group, name);
  const std::string path = group + "/" + name;
  if (readFromStorage<T>(context.storage, path, buffer, mismatch)) return;

  StoredDataset dataset = openStoredDataset(context, group, name);
  const ZipRecipe& zipRecipe = context.recipeOf(dataset.header);
  const ParameterBlock* parameters = nullptr;
  if (zipRecipe.label == Labels::kDefault) {
    parameters = &context.parameterBlocks.decompression(Kelbor::dataTypeOf<T>());
  } else if (secondName && zipRecipe.label == Labels::kWindow) {
    parameters = &context.parameterBlocks.window();
  } else {
    Kelbor::raise<std::logic_error>("Unexpected recipe!");
  }

  Providers inputs;
  inputs.push_back(std::move(dataset.payload));
  if (secondName) inputs.push_back(context.payloadOf(group, *secondName));
  const auto size = static_cast<std::uint64_t>(buffer.size);
  const auto chain =
      zipRecipe.recipe.buildChain(std::move(inputs), Deserializer(context.manager(), *parameters),
                                  context.chainSettings(connectivityClasses(), size));
  pullInto<T>(*chain, kUncompressed, buffer);
  if (keep) keepInStorage(context, path, Kelbor::dataTypeOf<T>(), buffer);
}

constexpr const char* kStorageMismatch = "fromStorage.getDataSize() != buffer.size!";

}  // namespace

void readConnectivityInto(ReadContext& context, const std::string& group,
                          const std::string& mainName, const std::string& secondName,
                          Int32Buffer buffer, bool keep) {
  readIntegersInto(context, group, mainName, &secondName, buffer, keep,
                   "connectivities.getDataSize() != buffer.size!");
}

void readInt32Into(ReadContext& context, const std::string& group, const std::string& name,
                   Int32Buffer buffer, bool keep) {
  readIntegersInto(context, group, name, nullptr, buffer, keep, kStorageMismatch);
}

void readInt16Into(ReadContext& context, const std::string& group, const std::string& name,
                   Int16Buffer buffer, bool keep) {
  readIntegersInto(context, group, name, nullptr, buffer, keep, kStorageMismatch);
}

}  // namespace morvex
