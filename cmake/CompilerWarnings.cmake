# SPDX-License-Identifier: MIT
# What the compiler has to say about our own code, as a target to link. Every warning is an error.
add_library(QuillonWarnings INTERFACE)
if(MSVC)
    target_compile_options(QuillonWarnings INTERFACE /W4 /permissive- /utf-8)
else()
    target_compile_options(QuillonWarnings INTERFACE
        -Wall -Wextra -Wpedantic
        -Werror
        -Wshadow                # a hidden member is read where a local was meant
        -Wconversion            # byte counts are 64 bits wide; every narrowing is written out
        -Wsign-conversion
        -Wold-style-cast
        -Wnon-virtual-dtor
        -Woverloaded-virtual
        -Wformat=2              # the log takes printf formats
        -Wimplicit-fallthrough
    )
endif()
target_compile_definitions(QuillonWarnings INTERFACE
    QT_NO_CAST_FROM_BYTEARRAY   # no silent guess at a text's encoding
    QT_NO_URL_CAST_FROM_STRING  # every address says how it is parsed
    QT_DEPRECATED_WARNINGS
)
