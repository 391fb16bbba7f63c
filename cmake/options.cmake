# Compile settings that every target shares: language, warnings, floating point, instrumentation.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_program(MORVEX_CCACHE ccache)
if(MORVEX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${MORVEX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${MORVEX_CCACHE})
endif()

add_library(morvex_options INTERFACE)
target_include_directories(morvex_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# No path may fuse or reorder the dequantisation; numbers in dataset paths never follow a locale.
target_compile_options(morvex_options INTERFACE
  -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>
  -ffp-contract=off -fno-fast-math)
target_compile_definitions(morvex_options INTERFACE
  BOOST_LEXICAL_CAST_ASSUME_C_LOCALE)

add_library(morvex_warnings INTERFACE)
target_compile_options(morvex_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion;-Wnon-virtual-dtor;-Wold-style-cast>
  # What GCC 12 sees at -O3 in inlined strings, vectors and optionals is not there (its bugs 105651,
  # 106199, 107852); clang looks for the same faults without it.
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict;-Wno-stringop-overflow;-Wno-maybe-uninitialized>
  $<$<BOOL:${MORVEX_WERROR}>:-Werror>)
target_link_libraries(morvex_options INTERFACE morvex_warnings)

if(MORVEX_SANITIZE)
  target_compile_options(morvex_options INTERFACE
    -fsanitize=${MORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(morvex_options INTERFACE -fsanitize=${MORVEX_SANITIZE})
endif()
# Lets the linker of a release see through the folders that a library is made of: a small read runs
# through many small functions of all of them. Their objects hold plain code as well, for linkers
# without the compiler's plugin; with it, tests that link a folder are optimised in the same way.
function(morvex_optimise_across library)
  if(CMAKE_BUILD_TYPE STREQUAL Release AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    foreach(folder ${ARGN})
      target_compile_options(${folder} PRIVATE -flto=auto -ffat-lto-objects)
    endforeach()
    target_link_options(${library} PRIVATE -flto=auto)
  endif()
endfunction()

if(MORVEX_COVERAGE)
  target_compile_options(morvex_options INTERFACE --coverage)
  target_link_options(morvex_options INTERFACE --coverage)
endif()
