#include "simulation/stored_dataset.hpp"

#include <stdexcept>
#include <utility>

#include "core/error.hpp"
#include "core/storage.hpp"
#include "metadata/record_cursor.hpp"
#include "sdf/tail_provider.hpp"
#include "simulation/read_context.hpp"

namespace morvex {

using Kelbor::DataProvider;
using Kelbor::raise;
using Kelbor::MathModule::SdfObject;

namespace {

/// Up to 64 KiB, one read fetches header and payload.
constexpr std::uint64_t kReadWholeBytes = 65536;

DatasetHeader headerOf(DataProvider& front) {
  const Kelbor::ScopedConstDataAny bytes(&front);
  return RecordCursor(bytes.bytes()).read<DatasetHeader>();
}

bool isSmallAndPlain(const SdfObject& entry) {
  const bool isInline = entry.field1 <= Kelbor::MathModule::kMaxInlineSize;
  return isInline || (entry.field3 == 0 && entry.field1 <= kReadWholeBytes);
}

}  // namespace

StoredDataset openStoredDataset(ReadContext& context, const std::string& group,
                                const std::string& name) {
  Kelbor::MathModule::SdfFile& file = context.file;
  const auto entry = file.findDataset(group, name);
  if (!entry) {
    const std::string path = group + "/" + name;
    context.failure = {.requested = {}, .dataset = path, .isMissing = true};
    raise<std::runtime_error>("No dataset " + path);
  }
  if (entry->field1 < sizeof(DatasetHeader)) {
    raise<std::runtime_error>("Dataset " + group + "/" + name + " has no header");
  }
  if (isSmallAndPlain(*entry)) {
    auto whole = file.providerOf(*entry, 0, 0);
    if (whole->prepare()) {
      const Kelbor::ContentHold hold(*whole);  // two reads: the header, then the rest
      const DatasetHeader header = headerOf(*whole);
      return {header, std::make_unique<Kelbor::MathModule::TailProvider>(std::move(whole),
                                                                         sizeof(DatasetHeader))};
    }
    // Damaged: its header may be readable on its own.
  }
  const auto front = file.providerOf(*entry, sizeof(DatasetHeader), 0);
  return {headerOf(*front), file.providerOf(*entry, 0, sizeof(DatasetHeader))};
}

}  // namespace morvex
