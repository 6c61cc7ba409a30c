# Compiles every target of the project. Compiler-specific flags are only in this file.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

add_library(kal_compiler INTERFACE)
target_compile_definitions(kal_compiler INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
if(MSVC)
  target_compile_options(kal_compiler INTERFACE /W4 /permissive- /utf-8 /EHsc /Zc:__cplusplus)
  target_compile_definitions(kal_compiler INTERFACE _CRT_SECURE_NO_WARNINGS)
  if(KAL_WARNINGS_AS_ERRORS)
    target_compile_options(kal_compiler INTERFACE /WX)
  endif()
else()
  target_compile_options(kal_compiler INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                                $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>)
  # GCC 12 wrongly reports overlapping copies inside std::string (GCC bug 105329).
  target_compile_options(kal_compiler INTERFACE $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
  target_compile_options(kal_compiler INTERFACE $<$<CONFIG:Release>:-ffunction-sections -fdata-sections>)
  # With a static runtime, the import tables name only system libraries. Time stamps and image bases are fixed, so that
  # two builds of one commit give the same bytes.
  target_link_options(kal_compiler INTERFACE -static -Wl,--no-insert-timestamp -Wl,--disable-auto-image-base
                      $<$<CONFIG:Release>:-Wl,--gc-sections -s>)
  if(KAL_WARNINGS_AS_ERRORS)
    target_compile_options(kal_compiler INTERFACE -Werror)
  endif()
endif()
