# Given to cmake as CMAKE_PROJECT_kal_INCLUDE by builds of a library that is not quite the one that ships. With KAL_COVERAGE,
# what goes into kalclient.dll counts which lines and branches ran; with KAL_MUTATION, it may be code that no person would
# write. The target kal_exercise is every test program that runs the library's own code. A program that loads the library
# as an application does has none of it inside: it is taken from KAL_ORDINARY_BUILD, and lies beside this build's library.

# The targets of a folder and of those below it.
function(kal_targets_below folder result)
  get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  get_property(subfolders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
  foreach(subfolder ${subfolders})
    kal_targets_below("${subfolder}" below)
    list(APPEND targets ${below})
  endforeach()
  set(${result} ${targets} PARENT_SCOPE)
endfunction()

# The program of the ordinary build where that will do, else this build's.
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
  set(library kal_platform kal_thread_local_slot kal_settings_rules kal_settings kal_logging_rules kal_logging kal_service_rules kal_service
              kal_api_rules kal_api)
  if(KAL_MUTATION)
    foreach(target ${library})
      target_compile_options(${target} PRIVATE -w -Wno-narrowing)
      target_include_directories(${target} PRIVATE "${CMAKE_SOURCE_DIR}")
    endforeach()
  endif()
  if(KAL_COVERAGE)
    # The unit tests have copies of their own of what stands in headers.
    kal_targets_below("${CMAKE_SOURCE_DIR}/tests/unit" unit_tests)
    foreach(target ${library} ${unit_tests})
      # Without optimisation, so that a line is a line; counted exactly by any number of threads.
      target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -O0)
    endforeach()
    target_link_options(kal_compiler INTERFACE --coverage)
  endif()
endfunction()
cmake_language(DEFER DIRECTORY "${CMAKE_SOURCE_DIR}" CALL kal_variant)
