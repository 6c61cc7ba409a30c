# Functions that define each kind of target in one place.

if(MINGW AND CMAKE_CROSSCOMPILING)
  find_program(KAL_LLD ld.lld REQUIRED DOC "LLVM's linker")
  find_program(KAL_DLLTOOL llvm-dlltool REQUIRED DOC "Makes the import libraries from which LLVM's linker can delay imports")
endif()

# kal_optimise(TARGET): optimises like the library itself, for size. Most time goes into system calls, and loading takes time
# per page.
function(kal_optimise target)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
  endif()
endfunction()

# kal_link_with_lld(TARGET): links with LLVM's linker where it is found, otherwise with the compiler's own.
function(kal_link_with_lld target)
  if(KAL_LLD)
    target_link_options(${target} PRIVATE "SHELL:-wrapper \"${PROJECT_SOURCE_DIR}/cmake/link-with-lld\"")
  endif()
endfunction()

# kal_lean_image(TARGET): few sections, each of which is on pages of its own in the file as in memory. So the system maps
# the file instead of copying it. KAL_FILE_ALIGNMENT=512 gives the smallest file.
set(KAL_FILE_ALIGNMENT 4096 CACHE STRING "Alignment of the sections in the shipped files that are linked with LLVM's linker")
function(kal_lean_image target)
  kal_link_with_lld(${target})
  if(KAL_LLD)
    target_link_options(${target} PRIVATE -Wl,--file-alignment=${KAL_FILE_ALIGNMENT} -Wl,-Xlink=-merge:.pdata=.rdata
                        -Wl,-Xlink=-merge:.xdata=.rdata -Wl,-Xlink=-merge:.CRT=.rdata -Wl,-Xlink=-merge:.didat=.rdata)
  endif()
endfunction()

# kal_delay_imports(TARGET DLL...): the target loads these system DLLs at the first call of one of their functions, by
# platform/DelayedImports.cpp. GNU's linker cannot do that and imports them as usual.
function(kal_delay_imports target)
  if(MSVC)
    target_link_libraries(${target} PRIVATE kal_delayed_imports)
    foreach(dll ${ARGN})
      target_link_options(${target} PRIVATE /DELAYLOAD:${dll}.dll)
    endforeach()
  elseif(KAL_LLD)
    target_link_libraries(${target} PRIVATE kal_delayed_imports)
    foreach(dll ${ARGN})
      set(library "${PROJECT_BINARY_DIR}/delayed/lib${dll}.a")
      if(NOT EXISTS "${library}")
        kal_import_library(${dll} "${library}")
      endif()
      # Options come before every library, so that these names are found here first.
      target_link_options(${target} PRIVATE "${library}" -Wl,--delayload=${dll}.dll)
    endforeach()
  endif()
endfunction()

# kal_import_library(DLL FILE): LLVM's import library of a system DLL, with the names of GNU's.
function(kal_import_library dll file)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=lib${dll}.a OUTPUT_VARIABLE original
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${CMAKE_NM} --defined-only --extern-only "${original}" OUTPUT_VARIABLE symbols ERROR_QUIET
                  COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL " T [A-Za-z0-9_]+" names "${symbols}")
  list(TRANSFORM names REPLACE " T " "  ")
  list(JOIN names "\n" names)
  cmake_path(GET file PARENT_PATH folder)
  file(WRITE "${folder}/${dll}.def" "LIBRARY ${dll}.dll\nEXPORTS\n${names}\n")
  execute_process(COMMAND ${KAL_DLLTOOL} -m i386:x86-64 -d "${folder}/${dll}.def" -l "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# kal_without_exceptions(TARGET): for a module that must not link the C++ runtime. Exceptions of other modules still pass.
function(kal_without_exceptions target)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti)
  endif()
endfunction()

# kal_rules(NAME sources...): the sources of a folder that do not include <windows.h>, as a static library that tools and
# native tests can link alone.
function(kal_rules name)
  add_library(kal_${name}_rules STATIC ${ARGN})
  target_include_directories(kal_${name}_rules PUBLIC "${PROJECT_SOURCE_DIR}")
  target_link_libraries(kal_${name}_rules PUBLIC kal_compiler)
  kal_optimise(kal_${name}_rules)
endfunction()

# kal_folder(NAME sources...): one folder of the library as a static library that the DLL, tests and benches link.
function(kal_folder name)
  add_library(kal_${name} STATIC ${ARGN})
  target_include_directories(kal_${name} PUBLIC "${PROJECT_SOURCE_DIR}")
  target_link_libraries(kal_${name} PUBLIC kal_compiler)
  target_compile_definitions(kal_${name} PUBLIC KAL_BUILDING_LIBRARY)
  kal_optimise(kal_${name})
endfunction()

# kal_header_package(TARGET HEADER): a target for an installed header-only package. It exposes only this package, because
# /usr/include of the host must not be on the include path of a cross build.
function(kal_header_package target header)
  if(TARGET ${target})
    return()
  endif()
  cmake_path(GET header PARENT_PATH folder)
  set(found "")
  foreach(root /usr/include ${CMAKE_PREFIX_PATH})
    foreach(prefix "${root}" "${root}/include")
      if(EXISTS "${prefix}/${header}")
        set(found "${prefix}")
        break()
      endif()
    endforeach()
    if(found)
      break()
    endif()
  endforeach()
  if(NOT found)
    message(FATAL_ERROR "${header} was not found; on Debian `./dev build` installs it, elsewhere name its folder in CMAKE_PREFIX_PATH")
  endif()
  set(private "${PROJECT_BINARY_DIR}/headers/${target}")
  file(MAKE_DIRECTORY "${private}")
  file(CREATE_LINK "${found}/${folder}" "${private}/${folder}" SYMBOLIC COPY_ON_ERROR)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE "${private}")
endfunction()

# kal_stage(TARGET file-or-generator-expression...): copies the files to TARGET's output folder after each build, so that
# a program is in the same folder as the DLLs that it loads.
function(kal_stage target)
  # Links the target again when a file changes; otherwise the copy would be outdated.
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${ARGN})
  foreach(file ${ARGN})
    add_custom_command(TARGET ${target} POST_BUILD
                       COMMAND ${CMAKE_COMMAND} -E copy_if_different "${file}" "$<TARGET_FILE_DIR:${target}>" VERBATIM)
  endforeach()
endfunction()

# kal_add_test(NAME ...): add_test, in a lane of the run: one core and one Wine (scripts/test). The time limit is for tests that
# hang, so it is far above what any test takes on a busy machine.
function(kal_add_test keyword name)
  add_test(${keyword} ${name} ${ARGN})
  set_tests_properties(${name} PROPERTIES RESOURCE_GROUPS lanes:1 TIMEOUT 1200)
endfunction()

# kal_test_program(NAME SOURCES ... [LIBRARIES ...] [STAGE files...] [LABELS ...]): a GoogleTest program in its own folder
# under build/<preset>/tests/, which CTest runs under Wine. Further options:
#   PARTS n    divides the tests among n entries, NAME.1 to NAME.n
#   ALL_CORES  runs the program on every core, not only on that of its lane
function(kal_test_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "ALL_CORES" "PARTS" "SOURCES;LIBRARIES;STAGE;LABELS;DEPENDS")
  add_executable(${name} ${arg_SOURCES})
  # Compiles several files as one, because the framework's headers and templates take longer than the tests.
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests/${name}"
                        UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # In such a group, the compiler treats each file as a header.
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
  endif()
  kal_link_with_lld(${name})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} kal_compiler gtest_main gmock)
  if(arg_DEPENDS)
    add_dependencies(${name} ${arg_DEPENDS})
  endif()
  kal_stage(${name} ${arg_STAGE})
  set_property(TARGET ${name} PROPERTY kal_staged "${arg_STAGE}")
  if(arg_PARTS)
    foreach(number RANGE 1 ${arg_PARTS})
      math(EXPR index "${number} - 1")
      kal_program_entry(${name} ${name}.${number})
      set_tests_properties(${name}.${number} PROPERTIES
                           COST 100 ENVIRONMENT "GTEST_TOTAL_SHARDS=${arg_PARTS};GTEST_SHARD_INDEX=${index}")
    endforeach()
  else()
    kal_program_entry(${name} ${name})
    if(arg_ALL_CORES)
      kal_on_all_cores(${name})
    endif()
  endif()
  foreach(label ${arg_LABELS})
    set_property(GLOBAL APPEND PROPERTY kal_${label}_programs ${name})
  endforeach()
endfunction()

# One CTest entry of a program, with its own report.
macro(kal_program_entry program entry)
  kal_add_test(NAME ${entry} COMMAND ${program} "--gtest_output=xml:../../results/${entry}.xml"
               WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/tests/${program}")
  set_tests_properties(${entry} PROPERTIES LABELS "${arg_LABELS}")
endmacro()

function(kal_on_all_cores test)
  set_tests_properties(${test} PROPERTIES ENVIRONMENT "KAL_WINE_CORES=all")
endfunction()
