# What all targets share: warnings, and reports that name sources from the root of the tree.

# Every report of a source place reads the same on every machine: "Larkspan/Common/...".
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

set(LARKSPAN_WARNINGS
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override -Wmissing-declarations -Wundef
    -Wextra-semi)

# larkspan_warnings(TARGET): the project's warnings on a target of its own, for those who work on it.
# Whether they are errors is CMAKE_COMPILE_WARNING_AS_ERROR's affair; the presets set it.
function(larkspan_warnings target)
  if(NOT PROJECT_IS_TOP_LEVEL)
    return()
  endif()
  target_compile_options(${target} PRIVATE ${LARKSPAN_WARNINGS})
  if(CMAKE_COMPILE_WARNING_AS_ERROR AND CMAKE_VERSION VERSION_LESS 3.24)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# What is compatible with what: from 1.0 on the major version tells it, before that each minor one.
set(LARKSPAN_ABI_VERSION ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  string(APPEND LARKSPAN_ABI_VERSION .${PROJECT_VERSION_MINOR})
endif()

# larkspan_library(NAME DIRECTORY...): a library of all the units below the directories. The one name
# gives all others: the target Larkspan::NAME, here and in an installation, which is larkspan-name in
# the build, for the linker and for pkg-config.
function(larkspan_library name)
  string(TOLOWER larkspan-${name} target)
  set(patterns ${ARGN})
  list(TRANSFORM patterns APPEND "/*.cpp")
  file(GLOB_RECURSE units CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${patterns})
  add_library(${target} ${units})
  add_library(Larkspan::${name} ALIAS ${target})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  set_target_properties(${target} PROPERTIES
      EXPORT_NAME ${name}
      VERSION ${PROJECT_VERSION}
      SOVERSION ${LARKSPAN_ABI_VERSION}
      INSTALL_RPATH $ORIGIN)
  larkspan_warnings(${target})
endfunction()
