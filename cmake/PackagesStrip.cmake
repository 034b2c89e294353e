# Strips the programs and the library as Debian does, before CPack packs them.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
list(FILTER files INCLUDE REGEX "/bin/[^/]+$|/larka-engine$|\\.so\\.0$")
execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note
  ${files} COMMAND_ERROR_IS_FATAL ANY)
