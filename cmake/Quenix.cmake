# Shared build helpers.

function(quenix_warnings target)
  if(MSVC)
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports false -Wrestrict positives inside std::string at -O3.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(QUENIX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(QUENIX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT QUENIX_FUZZ AND NOT WIN32)
  # Checked buffer calls in optimised builds, as Debian builds its packages. Symbols stay bound
  # lazily: binding all of Qt's at load would add to every start.
  add_compile_options($<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
endif()

# Sources of this folder, with the platform files (name_posix.cpp / name_linux.cpp or
# name_win32.cpp / name_windows.cpp) taken for the platform being built.
function(quenix_collect_sources out)
  file(GLOB all CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  set(common ${all})
  list(FILTER common EXCLUDE REGEX "_(posix|linux|win32|windows)\\.cpp$")
  set(platform ${all})
  if(WIN32)
    list(FILTER platform INCLUDE REGEX "_(win32|windows)\\.cpp$")
  else()
    list(FILTER platform INCLUDE REGEX "_(posix|linux)\\.cpp$")
  endif()
  set(${out} ${common} ${platform} PARENT_SCOPE)
endfunction()

# A part of the desktop program loaded when first used: src/<dir>/<sources> -> lib<output>.so in
# the program folder. Every symbol it needs is linked in, so a missing one fails the build, not
# the first use.
function(quenix_loadable target output)
  cmake_parse_arguments(M "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${target} MODULE ${M_SOURCES})
  set_target_properties(${target} PROPERTIES PREFIX "lib" OUTPUT_NAME ${output})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${CMAKE_BINARY_DIR}/generated)
  target_link_libraries(${target} PRIVATE ${M_LIBS})
  # Sanitizer and fuzzer runtimes come with the program that loads the module.
  if(NOT QUENIX_SANITIZE AND NOT QUENIX_FUZZ)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
  quenix_warnings(${target})
endfunction()

# A Qt-free core module: src/<name>/*.cpp -> static library quenix_<name>.
function(quenix_module name)
  cmake_parse_arguments(M "" "" "DEPS;LIBS" ${ARGN})
  quenix_collect_sources(srcs)
  if(srcs)
    add_library(quenix_${name} STATIC ${srcs})
    target_include_directories(quenix_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${CMAKE_BINARY_DIR}/generated)
    target_link_libraries(quenix_${name} PUBLIC ${M_DEPS} ${M_LIBS})
    quenix_warnings(quenix_${name})
  else()
    add_library(quenix_${name} INTERFACE)
    target_include_directories(quenix_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src ${CMAKE_BINARY_DIR}/generated)
    target_link_libraries(quenix_${name} INTERFACE ${M_DEPS} ${M_LIBS})
  endif()
endfunction()

# A test executable from tests/<dir>/*.cpp, registered with ctest.
function(quenix_test dir)
  cmake_parse_arguments(T "" "" "DEPS;LABELS" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  # name_posix_test.cpp and name_win32_test.cpp run on their own system only.
  if(WIN32)
    list(FILTER srcs EXCLUDE REGEX "_(posix|linux)_test\\.cpp$")
    foreach(skip ${QUENIX_POSIX_ONLY_TESTS})
      list(FILTER srcs EXCLUDE REGEX "/${skip}$")
    endforeach()
  else()
    list(FILTER srcs EXCLUDE REGEX "_(win32|windows)_test\\.cpp$")
  endif()
  if(NOT srcs)
    return()
  endif()
  add_executable(test_${dir} ${srcs})
  set_target_properties(test_${dir} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(test_${dir} PRIVATE ${T_DEPS} quenix_test_support GTest::gmock_main)
  target_compile_definitions(test_${dir} PRIVATE QUENIX_SOURCE_DIR="${QUENIX_HOST_PREFIX}${PROJECT_SOURCE_DIR}"
                                                 QUENIX_PROGRAM_DIR="${QUENIX_HOST_PREFIX}${QUENIX_PROGRAM_DIR}")
  quenix_warnings(test_${dir})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    quenix_emulated_test(${dir} COMMAND test_${dir} LABELS ${dir} ${T_LABELS})
  else()
    # LABELS last: the discovery writes a list's items as words of their own.
    gtest_discover_tests(test_${dir} DISCOVERY_TIMEOUT 120 PROPERTIES
                         ENVIRONMENT "QUENIX_MODULE_DIR=${QUENIX_PROGRAM_DIR}" LABELS "${dir};${T_LABELS}")
  endif()
endfunction()

# Under an emulator each program is one test: Wine's start-up is paid per program, not per case.
function(quenix_emulated_test name)
  cmake_parse_arguments(T "" "" "COMMAND;LABELS" ${ARGN})
  add_test(NAME ${name} COMMAND ${T_COMMAND})
  list(JOIN QUENIX_EMULATOR_SKIPPED_CASES ":" skipped)
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}" FIXTURES_REQUIRED wine TIMEOUT 240
                                          ENVIRONMENT "GTEST_FILTER=-${skipped}")
endfunction()

# The emulator's prefix, made once per test run before the first emulated test.
function(quenix_emulator_fixture)
  set(prefix ${CMAKE_BINARY_DIR}/wine)
  add_test(NAME wine_prefix COMMAND ${PROJECT_SOURCE_DIR}/cmake/wine-prefix.sh setup ${prefix})
  add_test(NAME wine_prefix_end COMMAND ${PROJECT_SOURCE_DIR}/cmake/wine-prefix.sh cleanup ${prefix})
  set_tests_properties(wine_prefix PROPERTIES FIXTURES_SETUP wine TIMEOUT 120)
  set_tests_properties(wine_prefix_end PROPERTIES FIXTURES_CLEANUP wine)
endfunction()
