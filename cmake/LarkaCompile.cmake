# Options that every target is compiled with, and the processor's part in the library's name.

add_library(larka_compile INTERFACE)
target_compile_options(larka_compile INTERFACE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor
                       -Wcast-align -Wunused -Woverloaded-virtual)
if(LARKA_WERROR)
  target_compile_options(larka_compile INTERFACE -Werror)
endif()
if(LARKA_SANITIZE)
  target_compile_options(larka_compile INTERFACE -fsanitize=${LARKA_SANITIZE}
                         -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(larka_compile INTERFACE -fsanitize=${LARKA_SANITIZE})
endif()
# The library lives in the host's process: what a mistake in it can be made to do is limited.
if(NOT LARKA_SANITIZE)
  target_compile_options(larka_compile INTERFACE -fstack-protector-strong -fstack-clash-protection
                         $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
                         $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  target_link_options(larka_compile INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
# Without it a 32-bit library could not open files beyond 2 GiB, nor tell those with large numbers
# apart.
target_compile_definitions(larka_compile INTERFACE _FILE_OFFSET_BITS=64)
# Names that were deprecated after this release of Qt cause warnings; older ones don't exist.
target_compile_definitions(larka_compile INTERFACE QT_NO_CAST_TO_ASCII
                           QT_DEPRECATED_WARNINGS)

# i486 stands for all 32-bit x86. The instructions are those that the compiler takes by default: on
# Debian those of an i686.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|x86_64|amd64|AMD64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(LARKA_CPU i486)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|amd64|AMD64)$")
  set(LARKA_CPU x86_64)
else()
  set(LARKA_CPU ${CMAKE_SYSTEM_PROCESSOR})
endif()
