#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/error.hpp"
#include "core/procedure.hpp"
#include "core/scoped_access.hpp"
#include "metadata/deserializer.hpp"
#include "writer/byte_writer.hpp"

namespace Kelbor::MathModule {

/// Sources, and reading of results, for tests of single procedures. Declare it before the
/// procedures: it owns what they read.
class Graph {
 public:
  [[nodiscard]] DataManager* context() { return &manager_; }

  template <class T>
  DataProvider* source(const std::vector<T>& values) {
    sources_.push_back(
        std::make_unique<DataProvider>(&manager_, DataDimension(dataTypeOf<T>(), {values.size()})));
    sources_.back()->copyMemory(values.data(), values.size() * sizeof(T));
    // A second reader: the content of a source does not come back once it is dropped.
    sources_.back()->addReference();
    return sources_.back().get();
  }
  DataProvider* source(const morvex::Writer::Bytes& bytes) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return source(std::vector<std::uint8_t>(first, first + bytes.size()));
  }

  /// Reads output 0, which runs the procedure.
  template <class T>
  static std::vector<T> resultOf(DataProcedure& procedure) {
    const ScopedConstData<T> values(dynamic_cast<DataProvider*>(procedure.getOutputProvider(0)));
    return {values.data(), values.data() + values.size()};
  }

 private:
  DataManager manager_;
  std::vector<std::unique_ptr<DataProvider>> sources_;
};

/// A parameter block of values that the test writes behind its version.
class Parameters {
 public:
  explicit Parameters(morvex::Writer::ByteWriter values)
      : bytes_(morvex::Writer::ByteWriter(morvex::MetadataVersion{}).raw(values.bytes()).take()) {}
  [[nodiscard]] morvex::Deserializer stream() const { return {nullptr, bytes_}; }

 private:
  morvex::Writer::Bytes bytes_;
};

/// Expects that `action` throws E with a message that holds `text`.
template <class E, class Action>
void expectRaised(const std::string& text, Action&& action) {
  try {
    action();
    ADD_FAILURE() << "nothing was thrown, expected: " << text;
  } catch (const E& failure) {
    EXPECT_EQ(typeid(failure), typeid(E));
    EXPECT_NE(std::string(failure.what()).find(text), std::string::npos) << failure.what();
  }
}

inline const std::string kPreparationFailed = "Provider prepare the content failed!";

}  // namespace Kelbor::MathModule
