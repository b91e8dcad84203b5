# Shared compile settings: strict warnings, sanitizers for test builds, ccache when present.

find_program(TAVIX_CCACHE ccache)
if(TAVIX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${TAVIX_CCACHE}")
endif()

add_library(tavix_settings INTERFACE)
target_compile_options(tavix_settings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
  -Wconversion -Wsign-conversion -Wimplicit-fallthrough
  # Records are built with designated initialisers that leave defaulted fields out on purpose.
  -Wno-missing-field-initializers)
target_compile_definitions(tavix_settings INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CONTEXTLESS_CONNECT QT_USE_QSTRINGBUILDER
  QT_NO_KEYWORDS)

if(TAVIX_SANITIZE)
  target_compile_options(tavix_settings INTERFACE
    -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(tavix_settings INTERFACE -fsanitize=address,undefined)
  target_compile_definitions(tavix_settings INTERFACE _GLIBCXX_ASSERTIONS)
endif()
