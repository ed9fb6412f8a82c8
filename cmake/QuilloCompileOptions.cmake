# SPDX-License-Identifier: Apache-2.0
# Warnings and Qt string-safety switches shared by every Quillo target.
add_library(quillo_compile_options INTERFACE)

target_compile_options(quillo_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
    -Wcast-align -Woverloaded-virtual -Wimplicit-fallthrough)

if(QUILLO_WERROR)
    target_compile_options(quillo_compile_options INTERFACE -Werror)
endif()

target_compile_definitions(quillo_compile_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_UP_TO=0x060400)
