# The toolchain of game modules: 32-bit Windows code from MinGW-w64, linked by the SDK's zpelink.
# With it, include(zpe_module) finds add_zpe_module:
#   cmake -S . -B build -DCMAKE_TOOLCHAIN_FILE=<SDK>/cmake/runa1_toolchain.cmake
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
find_program(RUNA1_MODULE_CC NAMES i686-w64-mingw32-gcc-posix i686-w64-mingw32-gcc REQUIRED)
set(CMAKE_C_COMPILER ${RUNA1_MODULE_CC})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
