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
    target_compile_options(quenvo_compiler_settings INTERFACE ${quenvo_sanitizers})
    target_link_options(quenvo_compiler_settings INTERFACE ${quenvo_sanitizers})
endif()

# libFuzzer needs clang; fuzz targets are only built where it is available.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(QUENVO_HAVE_LIBFUZZER ON)
else()
    set(QUENVO_HAVE_LIBFUZZER OFF)
endif()
