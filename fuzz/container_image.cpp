#include "container_image.hpp"

#include <algorithm>
#include <exception>
#include <map>
#include <string>

#include "sdf/sdf_compression.hpp"
#include "sdf/sdf_format.hpp"
#include "sdf/sdf_group.hpp"

namespace morvex::Fuzz {

using namespace Kelbor::MathModule;
using Writer::Bytes;
using Writer::ResultImage;

namespace {

constexpr int kDeepestGroup = 8;
constexpr std::size_t kMostGroups = 512;  // a damaged group may contain itself
constexpr std::size_t kMostDatasets = 512;
constexpr std::uint64_t kLargestDataset = 1U << 20;

class Reader {
 public:
  explicit Reader(std::span<const std::byte> file) : file_(file) {}

  ResultImage read() {
    Kelbor::ContainerCursor header(file_.first(kHeaderSize));
    const std::uint64_t tables =
        std::min<std::uint64_t>(readFileHeader(header).tableOffset, file_.size() - kFieldsSize);
    Kelbor::ContainerCursor trailer(file_.last(kFieldsSize));
    SdfGroup root(readSdfObject(trailer), file_.subspan(tables));
    collect(root, "", 0);
    return std::move(image_);
  }

 private:
  void collect(SdfGroup& group, const std::string& path, int depth) {
    if (++groups_ > kMostGroups) return;
    for (SdfEntry& entry : group.getEntries()) {
      if (image_.datasets().size() >= kMostDatasets) return;
      const std::string child = path + '/' + std::string(entry.name.text());
      if (entry.isGroup() && depth < kDeepestGroup) {
        collect(group.enter(entry), child, depth + 1);
      } else if (entry.isDataset()) {
        if (auto content = contentOf(entry.object)) image_[child] = std::move(*content);
      }
    }
  }

  std::optional<Bytes> contentOf(const SdfObject& fields) const {
    if (fields.field1 <= kMaxInlineSize) {
      const auto bytes = inlineBytes(fields);
      return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(fields.field1));
    }
    const std::uint64_t stored = fields.field3 == 0 ? fields.field1 : fields.field3;
    if (fields.field1 > kLargestDataset || fields.field2 > file_.size() ||
        stored > file_.size() - fields.field2) {
      return std::nullopt;
    }
    const auto bytes = file_.subspan(fields.field2, stored);
    if (fields.field3 == 0) return Bytes(bytes.begin(), bytes.end());
    Bytes content(fields.field1);
    if (!inflateStream(bytes, content)) return std::nullopt;
    return content;
  }

  std::span<const std::byte> file_;
  ResultImage image_;
  std::size_t groups_ = 0;
};

/// Stands in for the groups of a file while it is composed.
struct GroupContent {
  std::map<std::string, GroupContent, std::less<>> groups;
  std::map<std::string, const Bytes*, std::less<>> datasets;

  void add(std::string_view path, const Bytes& content) {
    const std::size_t slash = path.find('/');
    if (slash == std::string_view::npos) {
      datasets[std::string(path)] = &content;
    } else {
      groups[std::string(path.substr(0, slash))].add(path.substr(slash + 1), content);
    }
  }
};

class Assembler {
 public:
  explicit Assembler(std::mt19937& random) : random_(random) {
    writeFileHeader(file_, {});  // written again once the tables' position is known
  }

  Bytes assemble(const GroupContent& root) {
    const SdfObject fields = putGroup(root);
    Bytes header;
    writeFileHeader(header, {.tableOffset = file_.size()});
    std::ranges::copy(header, file_.begin());
    file_.insert(file_.end(), tables_.begin(), tables_.end());
    writeSdfObject(file_, fields);
    return std::move(file_);
  }

 private:
  SdfObject putGroup(const GroupContent& group) {
    Bytes table;
    writeNumber(table, group.groups.size() + group.datasets.size());
    for (const auto& [name, child] : group.groups) {
      writeTableRecord(table, kGroupTag, name, putGroup(child));
    }
    for (const auto& [name, content] : group.datasets) {
      writeTableRecord(table, kDatasetTag, name, putDataset(*content));
    }
    SdfObject fields{table.size(), tables_.size(), table.size()};
    if (const auto deflated = maybeDeflated(table)) {
      fields.field3 = deflated->view().size();
      append(tables_, deflated->view());
    } else {
      append(tables_, table);
    }
    return fields;
  }

  SdfObject putDataset(const Bytes& content) {
    SdfObject fields{.field1 = content.size()};
    if (content.size() <= kMaxInlineSize) {
      std::array<std::byte, kMaxInlineSize> bytes{};
      std::ranges::copy(content, bytes.begin());
      setInlineBytes(fields, bytes);
      return fields;
    }
    fields.field2 = file_.size();
    if (const auto deflated = maybeDeflated(content)) {
      fields.field3 = deflated->view().size();
      append(file_, deflated->view());
    } else {
      append(file_, content);
    }
    return fields;
  }

  std::optional<ByteBlock> maybeDeflated(std::span<const std::byte> bytes) {
    if (random_() % 16 != 0) return std::nullopt;
    return deflateIfShorter({&bytes, 1});
  }

  static void append(Bytes& target, std::span<const std::byte> bytes) {
    target.insert(target.end(), bytes.begin(), bytes.end());
  }

  std::mt19937& random_;
  Bytes file_;
  Bytes tables_;
};

}  // namespace

std::optional<ResultImage> readContainer(std::span<const std::byte> bytes) {
  if (bytes.size() < kSmallestFile) return std::nullopt;
  try {
    return Reader(bytes).read();
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

Bytes containerBytes(const ResultImage& image, std::mt19937& random) {
  GroupContent root;
  for (const auto& [path, content] : image.datasets()) {
    root.add(std::string_view(path).substr(1), content);
  }
  return Assembler(random).assemble(root);
}

}  // namespace morvex::Fuzz
