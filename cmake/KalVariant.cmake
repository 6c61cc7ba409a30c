# Passed to cmake as CMAKE_PROJECT_kal_INCLUDE by builds of instrumented libraries. With KAL_COVERAGE, the code of
# kalclient.dll counts executed lines and branches. With KAL_MUTATION, it contains code that was changed on purpose. The
# target kal_exercise consists of all test programs that run the library's own code. Programs that only load the library
# are copied from KAL_ORDINARY_BUILD to the folder of this build's library.

# Lists the targets of a folder and its subfolders.
function(kal_targets_below folder result)
  get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  get_property(subfolders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
  foreach(subfolder ${subfolders})
    kal_targets_below("${subfolder}" below)
    list(APPEND targets ${below})
  endforeach()
  set(${result} ${targets} PARENT_SCOPE)
endfunction()

# Uses the program of the ordinary build if that is sufficient; otherwise builds it.
function(kal_exercise target)
  get_property(staged TARGET ${target} PROPERTY kal_staged)
  if(staged MATCHES "TARGET_FILE:kalclient>")
    add_custom_target(ordinary_${target}
      COMMAND ${CMAKE_COMMAND} -E make_directory "$<TARGET_FILE_DIR:${target}>"
      COMMAND ${CMAKE_COMMAND} -E copy_if_different "${KAL_ORDINARY_BUILD}/tests/${target}/${target}.exe" ${staged}
              "$<TARGET_FILE_DIR:${target}>"
      VERBATIM)
    add_dependencies(ordinary_${target} kalclient comc_double)
    set(target ordinary_${target})
  endif()
  add_dependencies(kal_exercise ${target})
endfunction()

function(kal_variant)
  add_custom_target(kal_exercise)
  set(kinds unit contract)
  if(KAL_COVERAGE)
    list(APPEND kinds faults)
  endif()
  foreach(kind ${kinds})
    kal_targets_below("${CMAKE_SOURCE_DIR}/tests/${kind}" targets)
    foreach(target ${targets})
      kal_exercise(${target})
    endforeach()
  endforeach()
  set(library kal_platform kal_compiler_runtime kal_delayed_imports kal_settings_rules kal_settings kal_logging_rules kal_logging kal_service_rules kal_service
              kal_api_rules kal_api)
  if(KAL_MUTATION)
    foreach(target ${library})
      target_compile_options(${target} PRIVATE -w -Wno-narrowing)
      target_include_directories(${target} PRIVATE "${CMAKE_SOURCE_DIR}")
    endforeach()
  endif()
  if(KAL_COVERAGE)
    # The unit tests contain their own copies of code in headers.
    kal_targets_below("${CMAKE_SOURCE_DIR}/tests/unit" unit_tests)
    foreach(target ${library} ${unit_tests})
      # Unoptimised, so that lines correspond to code; the counters are atomic because of the threads.
      target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -O0)
    endforeach()
    target_link_options(kal_compiler INTERFACE --coverage)
  endif()
endfunction()
cmake_language(DEFER DIRECTORY "${CMAKE_SOURCE_DIR}" CALL kal_variant)
