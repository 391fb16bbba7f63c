#pragma once

#include "core/byte_cursor.hpp"
#include "metadata/exception.hpp"

namespace morvex {

/// Reads metadata records, recipes and parameter blocks; raises InternalError at their end.
using RecordCursor = Kelbor::BasicByteCursor<InternalError>;

}  // namespace morvex
