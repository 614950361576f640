# add_zpe_module(name source.c... [ZPELINK_OPTIONS option...] [DEPENDS file...])
#
# Builds the game module ${name}.zpe in the current binary directory from C sources with the
# 32-bit MinGW-w64 compiler and zpelink: freestanding code, the SDK header on the include
# path, the SDK support functions and libgcc linked in. ZPELINK_OPTIONS go to zpelink as they
# stand (--init, --fini, --import-dll, --resource, --external, --no-entry, ...). The target
# ${name} builds the module; its file is in the target property ZPE_FILE.
#
# zpelink is the ZPELINK_EXECUTABLE cache variable when set (a cross build uses the native
# one), else the SDK's own (bin/ of the folder that make sdk writes), else the zpelink target of
# this build. The support functions come from the SDK's lib/ when it has them built, else from
# their source.
set(RUNA1_SDK_DIR ${CMAKE_CURRENT_LIST_DIR}/..)
if(NOT ZPELINK_EXECUTABLE AND EXISTS ${RUNA1_SDK_DIR}/bin/zpelink)
  set(ZPELINK_EXECUTABLE ${RUNA1_SDK_DIR}/bin/zpelink)
elseif(CMAKE_CROSSCOMPILING AND NOT ZPELINK_EXECUTABLE)
  set(ZPELINK_EXECUTABLE ${CMAKE_BINARY_DIR}/../native/bin/zpelink)  # the Makefile's native build
endif()
find_program(ZPE_MODULE_CC NAMES i686-w64-mingw32-gcc-posix i686-w64-mingw32-gcc REQUIRED)
find_program(ZPE_MODULE_AR NAMES i686-w64-mingw32-ar REQUIRED)
set(ZPE_MODULE_CFLAGS -O2 -malign-data=abi -ffreestanding -fno-builtin -fno-asynchronous-unwind-tables -fno-stack-protector
    -fno-ident -Wall -Wextra -Wno-unused-parameter)

# The support functions built for modules, as the archive `archive`.
function(runa1_support_archive archive object)
  get_filename_component(directory ${object} DIRECTORY)
  add_custom_command(OUTPUT ${archive}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${directory}
    COMMAND ${ZPE_MODULE_CC} ${ZPE_MODULE_CFLAGS} -c ${RUNA1_SDK_DIR}/support/runa1_support.c -o ${object}
    COMMAND ${CMAKE_COMMAND} -E rm -f ${archive}
    COMMAND ${ZPE_MODULE_AR} rcs ${archive} ${object}
    DEPENDS ${RUNA1_SDK_DIR}/support/runa1_support.c VERBATIM)
endfunction()

function(add_zpe_module name)
  cmake_parse_arguments(Z "" "" "ZPELINK_OPTIONS;DEPENDS" ${ARGN})
  if(ZPELINK_EXECUTABLE)
    set(linker ${ZPELINK_EXECUTABLE})
    set(linkerDepends ${ZPELINK_EXECUTABLE})
  else()
    set(linker $<TARGET_FILE:zpelink>)
    set(linkerDepends zpelink)
  endif()
  execute_process(COMMAND ${ZPE_MODULE_CC} -print-libgcc-file-name OUTPUT_VARIABLE libgcc
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(objects)
  foreach(source ${Z_UNPARSED_ARGUMENTS})
    get_filename_component(full ${source} ABSOLUTE)
    get_filename_component(stem ${source} NAME_WE)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/${name}.dir/${stem}.o)
    add_custom_command(OUTPUT ${object}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/${name}.dir
      COMMAND ${ZPE_MODULE_CC} ${ZPE_MODULE_CFLAGS} -I${RUNA1_SDK_DIR}/include -c ${full} -o ${object}
      DEPENDS ${full} ${RUNA1_SDK_DIR}/include/runa1.h
      COMMENT "Compiling module source ${stem}.c for ${name}.zpe" VERBATIM)
    list(APPEND objects ${object})
  endforeach()
  # The support functions go in as an archive: linked where needed, and not in the tables.
  if(EXISTS ${RUNA1_SDK_DIR}/lib/libruna1_support.a)
    set(supportArchive ${RUNA1_SDK_DIR}/lib/libruna1_support.a)
  else()
    set(supportArchive ${CMAKE_CURRENT_BINARY_DIR}/${name}.dir/libruna1_support.a)
    runa1_support_archive(${supportArchive} ${CMAKE_CURRENT_BINARY_DIR}/${name}.dir/runa1_support.o)
  endif()
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.zpe)
  add_custom_command(OUTPUT ${output}
    COMMAND ${linker} ${Z_ZPELINK_OPTIONS} -o ${output} ${objects} ${supportArchive} ${libgcc}
    DEPENDS ${objects} ${supportArchive} ${linkerDepends} ${Z_DEPENDS}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    COMMENT "Linking module ${name}.zpe" VERBATIM)
  add_custom_target(${name} ALL DEPENDS ${output})
  set_target_properties(${name} PROPERTIES ZPE_FILE ${output})
endfunction()
