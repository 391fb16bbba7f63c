#include "reader/reader.hpp"

#include <utility>

namespace morvex {

GenericMXReader::GenericMXReader(std::string fileName, std::uint64_t hostValue,
                                 std::uint64_t totalPhysicalMemory)
    : fileName_(std::move(fileName)),
      totalPhysicalMemory_(totalPhysicalMemory),
      hostValue_(hostValue) {}

GenericMXReader::~GenericMXReader() = default;

}  // namespace morvex
