# Build options every Quillo target shares: warnings, strict Qt string handling, sanitizers.
add_library(quillo_build_options INTERFACE)
target_compile_options(quillo_build_options INTERFACE
  -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Wcast-align -Woverloaded-virtual
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
if(QUILLO_WERROR)
  target_compile_options(quillo_build_options INTERFACE -Werror)
endif()
# These turn silent encoding and keyword mistakes into compile errors.
target_compile_definitions(quillo_build_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
  QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_CAST_FROM_BYTEARRAY
  QT_USE_QSTRINGBUILDER)
if(QUILLO_SANITIZE)
  target_compile_options(quillo_build_options INTERFACE
    -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(quillo_build_options INTERFACE -fsanitize=address,undefined)
endif()
if(QUILLO_FUZZ)
  # Every library is instrumented so the fuzzer sees coverage inside it.
  target_compile_options(quillo_build_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined)
  target_link_options(quillo_build_options INTERFACE -fsanitize=address,undefined)
endif()
