#include "procedures/kernels/id_window.hpp"

#include "kernel_test_support.hpp"

namespace Kelbor::MathModule::Kernels {
namespace {

template <class T>
class IdWindow : public testing::Test {};
using IdTypes = testing::Types<std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(IdWindow, IdTypes);

TYPED_TEST(IdWindow, RebuildsTheListItWasMadeFrom) {
  using T = TypeParam;
  for (const std::size_t count : Testing::kSizes) {
    // Few different ids, so that most positions repeat; the list is searched backwards as a writer
    // would do it.
    std::vector<T> ids = Testing::randomValues<T>(count, 1);
    for (T& id : ids) id = static_cast<T>(id % 50 * 1000);
    std::vector<T> references(count);
    std::vector<T> newIds;
    for (std::size_t i = 0; i < count; ++i) {
      std::size_t back = 1;
      while (back <= i && ids[i - back] != ids[i]) ++back;
      references[i] = static_cast<T>(back <= i ? back : 0);
      if (back > i) newIds.push_back(ids[i]);
    }
    ASSERT_TRUE(idWindowIsValid<T>(references, newIds.size()));
    std::vector<T> out(count);
    reconstructIds<T>(references, newIds, out);
    EXPECT_TRUE(Testing::sameBits(out, ids));
    reconstructIds<T>(references, newIds, references);
    EXPECT_TRUE(Testing::sameBits(references, ids)) << "in place";
  }
}

TYPED_TEST(IdWindow, RefusesReferencesThatLeaveTheList) {
  using T = TypeParam;
  using List = std::vector<T>;
  EXPECT_TRUE(idWindowIsValid<T>(List{}, 0));
  EXPECT_TRUE(idWindowIsValid<T>(List{0, 1, 2, 0}, 2));
  EXPECT_FALSE(idWindowIsValid<T>(List{0, 2}, 5)) << "before the list";
  EXPECT_FALSE(idWindowIsValid<T>(List{1}, 5)) << "the first id is always new";
  EXPECT_FALSE(idWindowIsValid<T>(List{0, 1, 0}, 1)) << "one new id is missing";
  EXPECT_FALSE(idWindowIsValid<T>(List{0, 0, static_cast<T>(-1)}, 5));
  EXPECT_FALSE(idWindowIsValid<T>(List{0, std::numeric_limits<T>::max()}, 5));
}

}  // namespace
}  // namespace Kelbor::MathModule::Kernels
