# Compile settings that every target shares: language, warnings, floating point, instrumentation.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(PROJECT_IS_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
  endif()
  find_program(MORVEX_CCACHE ccache)
  if(MORVEX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER ${MORVEX_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${MORVEX_CCACHE})
  endif()
endif()

add_library(morvex_options INTERFACE)
target_include_directories(morvex_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# No path may fuse or reorder the dequantisation; numbers in dataset paths never follow a locale.
target_compile_options(morvex_options INTERFACE -ffp-contract=off -fno-fast-math)
target_compile_definitions(morvex_options INTERFACE
  BOOST_LEXICAL_CAST_ASSUME_C_LOCALE)

add_library(morvex_warnings INTERFACE)
target_compile_options(morvex_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion;-Wnon-virtual-dtor;-Wold-style-cast>
  # What GCC 12 sees at -O3 in inlined strings, vectors and optionals is not there (its bugs 105651,
  # 106199, 107852); clang looks for the same faults without it.
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict;-Wno-stringop-overflow;-Wno-maybe-uninitialized>)
target_link_libraries(morvex_options INTERFACE morvex_warnings)

if(MORVEX_SANITIZE)
  target_compile_options(morvex_options INTERFACE
    -fsanitize=${MORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(morvex_options INTERFACE -fsanitize=${MORVEX_SANITIZE})
endif()

# Link-time optimisation for the shared libraries: a small read runs through many small functions of all
# its folders. Tests that link the same objects would be optimised as well, which takes minutes: presets
# with tests leave it out.
set(MORVEX_HAS_LTO OFF)
if(MORVEX_LTO AND CMAKE_BUILD_TYPE STREQUAL Release AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT MORVEX_HAS_LTO LANGUAGES CXX)
endif()
function(morvex_optimise_across)
  if(MORVEX_HAS_LTO)
    set_target_properties(${ARGN} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
  endif()
endfunction()

if(MORVEX_COVERAGE)
  target_compile_options(morvex_options INTERFACE --coverage)
  target_link_options(morvex_options INTERFACE --coverage)
endif()
