# Third-party libraries; each is linked to the targets that need it and to no other.
find_package(ZLIB REQUIRED)
find_package(TBB REQUIRED)
find_package(Boost REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(HWY REQUIRED IMPORTED_TARGET libhwy)

if(MORVEX_BUILD_TESTS)
  find_package(OpenMP REQUIRED COMPONENTS CXX)  # a host that has teams of its own
  find_package(GTest REQUIRED)
  include(GoogleTest)
  # Programs list their tests when ctest asks: a build runs none of them.
  set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
endif()
if(MORVEX_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()
if(MORVEX_BUILD_TOOLS)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  pkg_check_modules(MINIZIP REQUIRED IMPORTED_TARGET minizip)
  find_package(PNG REQUIRED)
endif()
