# Toolchain: Debian's MinGW-w64 with POSIX threads, for the Windows half; its programs run under Wine.
# MVGEO_WINDOWS_CXX and MVGEO_WINDOWS_CC in the environment name other compilers.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
if(DEFINED ENV{MVGEO_WINDOWS_CC})
    set(CMAKE_C_COMPILER "$ENV{MVGEO_WINDOWS_CC}")
endif()
if(DEFINED ENV{MVGEO_WINDOWS_CXX})
    set(CMAKE_CXX_COMPILER "$ENV{MVGEO_WINDOWS_CXX}")
endif()

# Headers and libraries of this machine are for this machine.
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
