# How every folder becomes a target.
#
# A module sees only the headers of the modules that it links: each one gets an include folder of
# its own, holding a link to its sources under their full name. Including "TavrinKit/Imaging/Image.h"
# without linking Imaging is a build error. The folders are the same for all presets, so that a
# compiler cache can serve one build from another.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# -ffp-contract=off: the same bits from every kernel, whichever instructions the machine has.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                    -ffp-contract=off)

set(TAVRIN_SANITIZE "" CACHE STRING "address;undefined or thread")
if(TAVRIN_SANITIZE)
  string(REPLACE ";" "," _sanitizers "${TAVRIN_SANITIZE}")
  add_compile_options(-fsanitize=${_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${_sanitizers})
endif()

# tavrin_pkg(Name pkg…): an imported target PkgConfig::Name
function(tavrin_pkg name)
  if(NOT TARGET PkgConfig::${name})
    pkg_check_modules(${name} REQUIRED IMPORTED_TARGET GLOBAL ${ARGN})
  endif()
endfunction()

# tavrin_module(Name [LINK public…] [PRIVATE private…])
# Makes a static library of the sources in the current folder.
function(tavrin_module name)
  cmake_parse_arguments(arg "" "" "LINK;PRIVATE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  file(RELATIVE_PATH path ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(include ${CMAKE_SOURCE_DIR}/build/include/${name})
  get_filename_component(parent ${path} DIRECTORY)
  file(MAKE_DIRECTORY ${include}/${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include}/${path} SYMBOLIC)
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${include})
  target_link_libraries(${name} PUBLIC Threads::Threads ${arg_LINK} PRIVATE ${arg_PRIVATE})
endfunction()

# tavrin_test(Folder LINK modules… [TIMEOUT seconds] [OWN_MAIN] [SERIAL])
# One test program a folder, with what Tests/Fixtures shares; its cases are found when CTest runs. With OWN_MAIN
# the folder has a main of its own, with SERIAL nothing else runs beside its cases.
function(tavrin_test name)
  cmake_parse_arguments(arg "OWN_MAIN;SERIAL" "TIMEOUT" "LINK" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  add_executable(${name}Tests ${sources})
  target_link_libraries(${name}Tests PRIVATE ${arg_LINK} TestFixtures GTest::gmock)
  if(NOT arg_OWN_MAIN)
    target_link_libraries(${name}Tests PRIVATE GTest::gtest_main)
  endif()
  # Findings inside of libraries that are built without the sanitizers.
  if("thread" IN_LIST TAVRIN_SANITIZE)
    set(known TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/Tests/Sanitizers/thread.supp)
  else()
    set(known LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/Tests/Sanitizers/leak.supp)
  endif()
  gtest_discover_tests(${name}Tests DISCOVERY_MODE PRE_TEST TEST_PREFIX ${name}/
                       PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT ${known} RUN_SERIAL ${arg_SERIAL})
endfunction()
