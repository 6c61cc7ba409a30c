# The files that `cmake --install` installs. The simulator and the spy have their own folders, so that their comc.dll cannot
# get into the folder of a production kalclient.dll by accident.
include(CMakePackageConfigHelpers)

install(TARGETS kalclient RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(TARGETS kal RUNTIME DESTINATION bin)
install(TARGETS comc_simulator RUNTIME DESTINATION simulator)
install(TARGETS spy_front spy_recorder RUNTIME DESTINATION spy)
install(FILES api/kal.h DESTINATION include)

# The linker writes a map of each binary. A test compares the notices in the archive with the maps.
if(MINGW)
  file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/link-maps")
  foreach(target kalclient kal comc_simulator spy_front spy_recorder)
    # Relative to the folder in which Ninja links, because an absolute path may contain a comma.
    target_link_options(${target} PRIVATE "LINKER:-Map,link-maps/${target}.map")
  endforeach()
endif()

# The import library for Visual C++, which creates its own. The cross build creates it from the export list during
# installation, so that building does not need the tool.
if(NOT MSVC)
  install(CODE "set(export_list \"${PROJECT_SOURCE_DIR}/api/kal.def\")")
  install(CODE [[
    find_program(LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
    if(LLVM_DLLTOOL)
      set(library "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/kalclient.lib")
      execute_process(COMMAND "${LLVM_DLLTOOL}" -m i386:x86-64 -d "${export_list}" -D kalclient.dll -l "${library}"
                      COMMAND_ERROR_IS_FATAL ANY)
      message(STATUS "Installing: ${library}")
    else()
      message(WARNING "lib/kalclient.lib, the import library for Visual C++, is left out: llvm-dlltool (package llvm) was not found")
    endif()
  ]])
endif()

# The package files use paths relative to themselves, so that the tree can be moved.
configure_file(cmake/kal.pc.in "${PROJECT_BINARY_DIR}/install/kal.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/install/kal.pc" DESTINATION lib/pkgconfig)
configure_package_config_file(cmake/kalConfig.cmake.in "${PROJECT_BINARY_DIR}/install/kalConfig.cmake"
                              INSTALL_DESTINATION lib/cmake/kal NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/install/kalConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/install/kalConfig.cmake" "${PROJECT_BINARY_DIR}/install/kalConfigVersion.cmake"
        DESTINATION lib/cmake/kal)

install(FILES docs/sdk-readme.md DESTINATION . RENAME README.md)
install(FILES CHANGELOG.md DESTINATION .)
# Without the pages for the library's maintainers, which describe the sources.
install(DIRECTORY docs/ DESTINATION docs PATTERN sdk-readme.md EXCLUDE PATTERN doxygen EXCLUDE
        PATTERN architecture.md EXCLUDE PATTERN performance.md EXCLUDE PATTERN testing.md EXCLUDE)
install(DIRECTORY examples/ DESTINATION examples PATTERN CMakeLists.txt EXCLUDE)
install(FILES resources/examples.cmake DESTINATION examples RENAME CMakeLists.txt)
install(DIRECTORY bindings DESTINATION . PATTERN __pycache__ EXCLUDE PATTERN generate EXCLUDE)
install(FILES abi/kal.abi.json DESTINATION abi)
