#pragma once

#include <vector>

namespace Kelbor::Platform {

/// What inflates the stored streams. zlib is always there and its answers are the defined ones; a
/// fast engine is tried first where the build has one, and counts only where it must agree.
enum class InflateEngine { igzip, zlib };

/// The engines of this build, the one that is used first. zlib is the last.
[[nodiscard]] std::vector<InflateEngine> inflateEngines();

/// Pins all kernels of the process to one of inflateEngines(), for streams of all sizes. For tests
/// and measurements: results are the same bits.
void useInflateEngine(InflateEngine engine);

/// Back to the first engine, but zlib for so little data that setting up costs the most.
void useBestInflateEngine();

}  // namespace Kelbor::Platform
