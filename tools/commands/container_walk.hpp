#pragma once

#include <functional>
#include <string>

#include "sdf/sdf_file.hpp"

namespace morvex::tools {

/// Visits the groups and datasets of a container below a group, parents first. Ends for every file:
/// tables of damaged ones may form a circle.
class ContainerWalk {
 public:
  /// A group with the numbers of groups and datasets in it.
  using OnGroup =
      std::function<void(const std::string& path, std::size_t groups, std::size_t datasets)>;
  /// May throw; the failure is reported and the walk goes on.
  using OnDataset = std::function<void(const std::string& group, const std::string& name)>;
  /// A place that can't be read, with the reason.
  using OnFailure = std::function<void(const std::string& what)>;

  /// `file` is borrowed.
  ContainerWalk(Kelbor::MathModule::SdfFile& file, OnGroup onGroup, OnDataset onDataset,
                OnFailure onFailure)
      : file_(file),
        onGroup_(std::move(onGroup)),
        onDataset_(std::move(onDataset)),
        onFailure_(std::move(onFailure)) {}

  /// To be called once.
  void run(const std::string& group) { visit(group, 0); }

 private:
  void visit(const std::string& path, int depth);
  template <class Work>
  void attempt(const std::string& what, const Work& work);

  Kelbor::MathModule::SdfFile& file_;
  OnGroup onGroup_;
  OnDataset onDataset_;
  OnFailure onFailure_;
  std::uint64_t entries_ = 0;
};

}  // namespace morvex::tools
