# fuzz_xtream: libFuzzer drives every Xtream reader with mutated answers under the sanitizers.
# Included from this folder's CMakeLists.txt; like fuzz_m3u, built only where libFuzzer is available.
if(NOT QUENVO_HAVE_LIBFUZZER)
    return()
endif()

# IPTVCore carries libFuzzer's coverage instrumentation in this build (see CompilerSettings.cmake).
add_executable(fuzz_xtream fuzz_xtream.cpp)
target_link_libraries(fuzz_xtream PRIVATE IPTVCore quenvo_compiler_settings)
target_compile_options(fuzz_xtream PRIVATE -fsanitize=fuzzer)
target_link_options(fuzz_xtream PRIVATE -fsanitize=fuzzer)

# A short run for ctest: the committed seeds, plus the third-party provider answers when they are
# present. The first folder is a scratch corpus of the build tree, emptied before each run; crashes
# land in `xtream-artifacts/`. Inputs are cut at 64 KB (the fixtures' larger answers are read
# whole by tst_xtream_realworld). For a longer session run the target by hand, e.g.
#   fuzz_xtream -max_total_time=900 -max_len=65536 <scratch folder> <seeds> <fixtures>/xtream
set(fuzz_xtream_corpus ${CMAKE_CURRENT_BINARY_DIR}/xtream-corpus)
set(fuzz_xtream_artifacts ${CMAKE_CURRENT_BINARY_DIR}/xtream-artifacts/)
file(MAKE_DIRECTORY ${fuzz_xtream_artifacts})
set(fuzz_xtream_inputs ${fuzz_xtream_corpus} ${CMAKE_CURRENT_SOURCE_DIR}/xtream-seeds)
if(IS_DIRECTORY "${QUENVO_FIXTURES_DIR}/xtream")
    list(APPEND fuzz_xtream_inputs "${QUENVO_FIXTURES_DIR}/xtream")
else()
    message(STATUS "fuzz_xtream_smoke: no answers in ${QUENVO_FIXTURES_DIR}/xtream, fuzzing from the seeds only")
endif()

add_test(NAME fuzz_xtream_scratch_corpus
    COMMAND ${CMAKE_COMMAND} -DFOLDER=${fuzz_xtream_corpus} -P ${CMAKE_CURRENT_SOURCE_DIR}/EmptyFolder.cmake)
set_tests_properties(fuzz_xtream_scratch_corpus PROPERTIES FIXTURES_SETUP fuzz_xtream_corpus)
add_test(NAME fuzz_xtream_smoke
    COMMAND fuzz_xtream -max_total_time=20 -max_len=65536 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
            -artifact_prefix=${fuzz_xtream_artifacts} ${fuzz_xtream_inputs})
set_tests_properties(fuzz_xtream_smoke PROPERTIES TIMEOUT 120 FIXTURES_REQUIRED fuzz_xtream_corpus
    ENVIRONMENT "LC_ALL=C.UTF-8")
