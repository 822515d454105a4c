# What every target of the project shares. A target includes headers as
# "room/Header.h" and sees only the rooms that it links.

add_library(vemo_options INTERFACE)
target_compile_features(vemo_options INTERFACE cxx_std_20)
if(VEMO_DEVELOPER)
  target_compile_options(vemo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual
    # g++ 12 sees overlaps in "text" + std::string(...) that can't be.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # Of several sources read as one, it takes all for headers.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>)
  # Where it optimises, and with a sanitizer, its warnings about the flow of values err often enough
  # to be warnings only: what is built to be used is not to fail by them.
  if(NOT (VEMO_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU))
    target_compile_options(vemo_options INTERFACE "$<$<CONFIG:Debug>:-Werror;-Wnull-dereference>")
  endif()
endif()
# Where several sources are read as one, g++ takes 2 GB, if it needs them, before it looks for what it no
# longer does: a tenth less of time.
target_compile_options(vemo_options INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:--param=ggc-min-heapsize=2000000>)
if(VEMO_SANITIZE)
  target_compile_options(vemo_options INTERFACE
    -fsanitize=${VEMO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # The thread sanitizer does not see fences; the library that has them locks as well.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
  target_link_options(vemo_options INTERFACE -fsanitize=${VEMO_SANITIZE})
endif()
if(VEMO_FUZZ)
  target_compile_options(vemo_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
# A host may be a shared library; only tests replace what is in ours from outside.
target_compile_options(vemo_options INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<NOT:$<CONFIG:Debug>>>:-fno-semantic-interposition>)
# Optimised, functions of shared libraries are called by their addresses rather than by way of a table of
# jumps (and all found when the program starts): a small command is a tenth faster.
target_compile_options(vemo_options INTERFACE "$<$<NOT:$<CONFIG:Debug>>:-fno-plt>")
# Where the sources lay is in nothing that is installed, so that any two builds are the same.
target_compile_options(vemo_options INTERFACE
  "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=;-ffile-prefix-map=${PROJECT_BINARY_DIR}/include/=>")

# The headers that most sources read are compiled once. Off where each source must show
# that it includes what it uses.
if(VEMO_PRECOMPILE)
  set(VEMO_COMMON_HEADERS <boost/json.hpp> <algorithm> <atomic> <chrono> <condition_variable>
    <functional> <map> <memory> <mutex> <optional> <string> <thread> <unordered_map> <vector>)
  file(WRITE "${PROJECT_BINARY_DIR}/precompiled.cpp" "")
  add_library(vemo_precompiled OBJECT "${PROJECT_BINARY_DIR}/precompiled.cpp")
  target_link_libraries(vemo_precompiled PRIVATE Boost::json vemo_options)
  target_precompile_headers(vemo_precompiled PRIVATE ${VEMO_COMMON_HEADERS})
  set_target_properties(vemo_precompiled PROPERTIES POSITION_INDEPENDENT_CODE ON)
  if(VEMO_DEVELOPER)
    add_library(vemo_precompiled_tests OBJECT "${PROJECT_BINARY_DIR}/precompiled.cpp")
    target_link_libraries(vemo_precompiled_tests PRIVATE Boost::json GTest::gtest vemo_options)
    target_precompile_headers(vemo_precompiled_tests PRIVATE ${VEMO_COMMON_HEADERS} <gtest/gtest.h>)
  endif()
endif()

# vemo_library(NAME ROOM SOURCES ... LINKS ...): a room as the library vemo_NAME, which others
# know as vemo::NAME. Whoever links it compiles as C++20, which its headers need.
# The room's headers are reached through a folder that holds a link to this room
# alone, so that a target can include only what it links.
# HEADERS ...: the library is a part of the room, and these headers are all of it.
# INLINED: what every message goes through. Of sources read as one, g++ inlines only until they have grown by
# two fifths, which a small source may exceed; without that limit a small command takes a tenth less, and
# texts of events a third.
function(vemo_library name)
  cmake_parse_arguments(ARG "INLINED" "ROOM" "SOURCES;HEADERS;LINKS;PRIVATE_LINKS" ${ARGN})
  set(include "${PROJECT_BINARY_DIR}/include/${name}")
  if(ARG_HEADERS)
    set(headers ${ARG_HEADERS})
    file(MAKE_DIRECTORY "${include}/${ARG_ROOM}")
    foreach(header IN LISTS headers)
      file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}/${header}" "${include}/${ARG_ROOM}/${header}"
        SYMBOLIC)
    endforeach()
  else()
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" *.h)
    file(MAKE_DIRECTORY "${include}")
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${include}/${ARG_ROOM}" SYMBOLIC)
  endif()
  if(ARG_SOURCES)
    add_library(vemo_${name} STATIC ${ARG_SOURCES})
    target_compile_features(vemo_${name} PUBLIC cxx_std_20)
    set_target_properties(vemo_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_include_directories(vemo_${name} PUBLIC "$<BUILD_INTERFACE:${include}>")
    target_link_libraries(vemo_${name} PUBLIC ${ARG_LINKS}
      PRIVATE $<BUILD_INTERFACE:vemo_options> ${ARG_PRIVATE_LINKS})
    if(ARG_INLINED)
      target_compile_options(vemo_${name} PRIVATE
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<NOT:$<CONFIG:Debug>>>:--param=inline-unit-growth=1000>)
    endif()
    # g++ reads such headers with the limit that they were compiled with.
    if(VEMO_PRECOMPILE AND NOT ARG_INLINED)
      target_precompile_headers(vemo_${name} REUSE_FROM vemo_precompiled)
    endif()
  else()
    add_library(vemo_${name} INTERFACE)
    target_compile_features(vemo_${name} INTERFACE cxx_std_20)
    target_include_directories(vemo_${name} INTERFACE "$<BUILD_INTERFACE:${include}>")
    target_link_libraries(vemo_${name} INTERFACE ${ARG_LINKS})
  endif()
  add_library(vemo::${name} ALIAS vemo_${name})
  set_target_properties(vemo_${name} PROPERTIES VEMO_ROOM ${ARG_ROOM} VEMO_HEADERS "${headers}")
  set_property(GLOBAL APPEND PROPERTY VEMO_LIBRARIES vemo_${name})
endfunction()

# vemo_test(NAME SOURCES ... LINKS ... [LABELS ...] [ENVIRONMENT NAME=VALUE ...] [TOGETHER]): a
# GoogleTest program; each of its cases is a test of ctest. TOGETHER: of many small cases; with a
# sanitizer, whose programs take long to begin, all are one test.
function(vemo_test name)
  cmake_parse_arguments(ARG "TOGETHER" "" "SOURCES;LINKS;LABELS;ENVIRONMENT" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gtest_main vemo_options)
  if(VEMO_PRECOMPILE)
    target_precompile_headers(${name} REUSE_FROM vemo_precompiled_tests)
  endif()
  # Many times what the longest takes on a busy machine, so that one that hangs is told of soon.
  set(properties TIMEOUT 600)
  foreach(property IN ITEMS LABELS ENVIRONMENT)
    if(ARG_${property})
      list(APPEND properties ${property} "${ARG_${property}}")
    endif()
  endforeach()
  if(VEMO_SANITIZE AND ARG_TOGETHER)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ${properties})
  else()
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
      PROPERTIES ${properties})
  endif()
endfunction()
