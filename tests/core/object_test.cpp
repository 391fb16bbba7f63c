#include <gtest/gtest.h>

#include <string>

#include "core/error.hpp"
#include "core/scoped_object.hpp"
#include "fake_procedure.hpp"
#include "support/log_capture.hpp"

namespace Kelbor {
namespace {

class Objects : public ::testing::Test {
 protected:
  LogCapture log_{LogLevel::kSilent};
  DataManager manager_;
  ObjectProvider provider_{&manager_, ObjectDetails{2, 0, {}, {}}};
};

TEST_F(Objects, AreReachedByNumberWhileSomebodyHoldsThem) {
  EXPECT_EQ(messageOf<std::runtime_error>([] { ScopedObject{nullptr}; }),
            "ScopedObject without provider!");
  EXPECT_EQ(messageOf<Exception>([&] { ScopedConstObject{&provider_}; }),
            "Provider prepare the content failed!");
  {
    ScopedObject writer(&provider_);
    writer.set(1, std::make_shared<std::string>("one"));
    EXPECT_THROW(writer.set(2, nullptr), std::out_of_range);
    { const ScopedConstObject reader(&provider_); }
    EXPECT_TRUE(provider_.hasContainer()) << "the writer keeps them";
  }
  provider_.addReference();
  provider_.addReference();
  {
    const ScopedConstObject reader(&provider_);
    EXPECT_EQ(*static_cast<const std::string*>(reader.object(1)), "one");
    EXPECT_EQ(messageOf<KelborDataException>([&] { (void)reader.object(0); }),
              "Failed to get read data access!");
    EXPECT_EQ(messageOf<std::runtime_error>([&] { (void)reader.object(2); }),
              "Object container index is higher than upper bound!");
  }
  EXPECT_TRUE(provider_.hasContainer());
  provider_.releaseReference();
  { const ScopedConstObject reader(&provider_); }
  EXPECT_FALSE(provider_.hasContainer()) << "the last reader has left";
  provider_.releaseReference();
}

}  // namespace
}  // namespace Kelbor
