#include "simulation/stored_dataset.hpp"

#include <stdexcept>
#include <utility>

#include "core/byte_cursor.hpp"
#include "core/error.hpp"
#include "core/storage.hpp"
#include "sdf/tail_provider.hpp"

namespace morvex {

using Kelbor::DataProvider;
using Kelbor::raise;
using Kelbor::MathModule::EntryFields;

namespace {

/// Up to this size header and payload are fetched by one read.
constexpr std::uint64_t kReadWholeBytes = 65536;

DatasetHeader headerOf(DataProvider& front) {
  const Kelbor::ScopedConstDataAny bytes(&front);
  return Kelbor::RecordCursor(bytes.bytes()).read<DatasetHeader>();
}

bool isSmallAndPlain(const EntryFields& entry) {
  const bool isInline = entry.field1 <= Kelbor::MathModule::kMaxInlineSize;
  return isInline || (entry.field3 == 0 && entry.field1 <= kReadWholeBytes);
}

}  // namespace

StoredDataset openStoredDataset(Kelbor::MathModule::SdfFile& file, const std::string& group,
                                const std::string& name) {
  const auto entry = file.findDataset(group, name);
  if (!entry) raise<std::runtime_error>("No dataset " + group + "/" + name);
  if (entry->field1 < sizeof(DatasetHeader)) {
    raise<std::runtime_error>("Dataset " + group + "/" + name + " has no header");
  }
  if (isSmallAndPlain(*entry)) {
    auto whole = file.providerOf(*entry, 0, 0);
    if (whole->prepare()) {
      const Kelbor::ContentHold hold(*whole);  // the front is read, and then the rest
      const DatasetHeader header = headerOf(*whole);
      return {header, std::make_unique<Kelbor::MathModule::TailProvider>(std::move(whole),
                                                                         sizeof(DatasetHeader))};
    }
    // Cut short: its header may be there all the same.
  }
  const auto front = file.providerOf(*entry, sizeof(DatasetHeader), 0);
  return {headerOf(*front), file.providerOf(*entry, 0, sizeof(DatasetHeader))};
}

}  // namespace morvex
