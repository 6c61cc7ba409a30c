# Builds the examples against the installed package, like an application would:
#   cmake -S examples -B build -DCMAKE_PREFIX_PATH=WHERE-THIS-ARCHIVE-WAS-UNPACKED
cmake_minimum_required(VERSION 3.16)
project(kal_examples LANGUAGES C CXX RC)
find_package(kal 1.0 CONFIG REQUIRED)

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)

add_executable(print_example print.c)
add_executable(status_window WIN32 status_window/Main.cpp status_window/PrinterService.cpp status_window/StateIcons.cpp
               status_window/StatusWindow.cpp status_window/StatusWindowContents.cpp
               status_window/StatusWindowLayout.cpp status_window/TestPage.cpp status_window/Texts.cpp
               status_window/status_window.rc)
target_compile_definitions(status_window PRIVATE UNICODE NOMINMAX) # the names of the system mean its wide functions
target_link_libraries(status_window PRIVATE comctl32)
if(MSVC)
  target_link_options(status_window PRIVATE /MANIFEST:NO) # the resource file contains the manifest
elseif(MINGW)
  target_link_options(status_window PRIVATE -static)
endif()

foreach(example print_example status_window)
  target_compile_definitions(${example} PRIVATE $<$<BOOL:${MSVC}>:_CRT_SECURE_NO_WARNINGS>)
  target_link_libraries(${example} PRIVATE kal::client)
  add_custom_command(TARGET ${example} POST_BUILD
                     COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:kal::client> ${kal_SIMULATOR}
                             $<TARGET_FILE_DIR:${example}> VERBATIM)
endforeach()
