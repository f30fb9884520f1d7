# 64-bit Windows, built on Debian with MinGW-w64 and run under Wine. scripts/native_deps
# installs the compiler, Wine and the libraries.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The compiler whose std::thread is complete.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
  set(U_NATIVE_PREFIX $ENV{XDG_CACHE_HOME}/u-native/prefix)
else()
  set(U_NATIVE_PREFIX $ENV{HOME}/.cache/u-native/prefix)
endif()
set(CMAKE_FIND_ROOT_PATH ${U_NATIVE_PREFIX} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's DLLs, which programs need where they run.
set(U_RUNTIME_DLLS /usr/x86_64-w64-mingw32/lib/libwinpthread-1.dll)
foreach(name libgcc_s_seh-1 libstdc++-6)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}.dll
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  list(APPEND U_RUNTIME_DLLS ${path})
endforeach()

get_filename_component(folder ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${folder}/scripts/wine)
