# install_compressed(FILE NAME DESTINATION): FILE is installed as NAME.gz, with the best compression and no time in it: a
# Debian package has its manual pages and changelogs so, and the same bytes from every build.
find_program(GZIP_PROGRAM gzip REQUIRED)
function(install_compressed file name destination)
  set(packed ${CMAKE_CURRENT_BINARY_DIR}/compressed/${name}.gz)
  add_custom_command(OUTPUT ${packed} DEPENDS ${file} VERBATIM
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/compressed
    COMMAND sh -c "\"$1\" -9nc \"$2\" >\"$3\"" sh ${GZIP_PROGRAM} ${file} ${packed})
  set_property(DIRECTORY APPEND PROPERTY OSTREL_COMPRESSED ${packed})
  install(FILES ${packed} DESTINATION ${destination})
endfunction()
