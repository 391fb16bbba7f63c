#include "sdf/hierarchical_file.hpp"

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "core/error.hpp"
#include "sdf/open_file_pool.hpp"

namespace Kelbor::MathModule {

HierarchicalFileInterface::HierarchicalFileInterface(DataManager* context, std::string fileName,
                                                     bool writable)
    : context_(context), fileName_(std::move(fileName)), writable_(writable) {}

HierarchicalFileInterface::~HierarchicalFileInterface() {
  getOpenFilePool().remove(*this);
}

void HierarchicalFileInterface::ensureOpen() {
  if (isOpen_) return;
  getOpenFilePool().add(*this);
  try {
    do {
      errno = 0;
      isOpen_ = openHandle();
      // The process may be allowed fewer descriptors than the pool's limit.
    } while (!isOpen_ && errno == EMFILE && getOpenFilePool().closeOldest(*this));
  } catch (...) {
    getOpenFilePool().remove(*this);
    throw;
  }
  if (isOpen_) return;
  getOpenFilePool().remove(*this);
  raise<std::runtime_error>("Failed to open file");
}

bool HierarchicalFileInterface::closeIfOpen(bool unregister) {
  if (!isOpen_) return true;
  if (unregister) getOpenFilePool().remove(*this);
  isOpen_ = false;  // a failed close leaves no stream either
  return closeHandle();
}

}  // namespace Kelbor::MathModule
