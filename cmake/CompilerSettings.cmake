# Warnings, sanitizers and strictness shared by every target of the project.

add_library(quenvo_compiler_settings INTERFACE)
target_compile_options(quenvo_compiler_settings INTERFACE -Wall -Wextra -Wpedantic)
if(QUENVO_WARNINGS_AS_ERRORS)
    target_compile_options(quenvo_compiler_settings INTERFACE -Werror)
endif()
target_compile_definitions(quenvo_compiler_settings INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH)

if(QUENVO_SANITIZE)
    set(quenvo_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # clang 14 cannot emit the "function" check's tables for coroutine frames
        # ("Cannot represent a difference across sections").
        list(APPEND quenvo_sanitizers -fno-sanitize=function)
    endif()
    target_compile_options(quenvo_compiler_settings INTERFACE ${quenvo_sanitizers})
    target_link_options(quenvo_compiler_settings INTERFACE ${quenvo_sanitizers})
endif()

# libFuzzer needs clang; fuzz targets are only built in the clang sanitizer build, where the code
# they drive carries coverage instrumentation (see core/CMakeLists.txt) so that the fuzzers link the
# core library as it is instead of compiling its sources again.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND QUENVO_SANITIZE)
    set(QUENVO_HAVE_LIBFUZZER ON)
else()
    set(QUENVO_HAVE_LIBFUZZER OFF)
endif()
