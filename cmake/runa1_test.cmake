# runa1_add_test(name SOURCES... LIBS...): one GoogleTest executable, registered with CTest as
# one test, with the project's test main (tests/test_main.cpp: library started, main thread
# attached); in the win32 build CTest runs it through Wine (the cross-compiling emulator), so one
# Wine start serves all cases of the executable.
function(runa1_add_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} runa1_test_main)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

# runa1_add_fuzzer(name SOURCES... LIBS... [SECONDS n]): a libFuzzer target (clang build with
# RUNA1_FUZZ only) that CTest runs for a short time from an empty corpus. The target defines
# LLVMFuzzerTestOneInput.
function(runa1_add_fuzzer name)
  if(NOT RUNA1_FUZZ)
    return()
  endif()
  cmake_parse_arguments(F "" "SECONDS" "SOURCES;LIBS" ${ARGN})
  if(NOT F_SECONDS)
    set(F_SECONDS 20)
  endif()
  add_executable(${name} ${F_SOURCES})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE ${F_LIBS})
  set(corpus ${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus)
  add_test(NAME ${name}
    COMMAND ${CMAKE_COMMAND} -E env ASAN_OPTIONS=detect_leaks=0
            ${CMAKE_COMMAND} -E chdir ${CMAKE_CURRENT_BINARY_DIR}
            $<TARGET_FILE:${name}> -max_total_time=${F_SECONDS} -rss_limit_mb=2048 ${corpus})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 FIXTURES_REQUIRED ${name}-corpus)
  add_test(NAME ${name}-corpus COMMAND ${CMAKE_COMMAND} -E make_directory ${corpus})
  set_tests_properties(${name}-corpus PROPERTIES FIXTURES_SETUP ${name}-corpus)
endfunction()
