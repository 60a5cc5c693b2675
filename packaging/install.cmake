# What `cmake --install` puts where, in four components, which are the Debian
# packages of deb.cmake, too: lib, dev, tools, and in 64 bits python.

# Writes a pkg-config file for a library in LIBDIR, which is below the prefix.
function(qm_pkg_config libdir output)
  file(RELATIVE_PATH QM_PC_UP "/${libdir}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" QM_PC_UP "${QM_PC_UP}")
  set(QM_PC_LIBDIR "${libdir}")
  configure_file("${PROJECT_SOURCE_DIR}/src/api/quaymarsh.pc.in" "${output}"
                 @ONLY)
endfunction()

set(QM_MAN "${CMAKE_INSTALL_MANDIR}")
set(QM_SHARE "${CMAKE_INSTALL_DATADIR}/quaymarsh")
set(QM_DOC "${CMAKE_INSTALL_DATADIR}/doc/quaymarsh")
set(QM_COMPLETION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")

# ---- lib and dev

install(TARGETS quaymarsh LIBRARY
        DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT lib
        NAMELINK_COMPONENT dev)
qm_pkg_config("${CMAKE_INSTALL_LIBDIR}" "${PROJECT_BINARY_DIR}/quaymarsh.pc")
install(FILES "${PROJECT_BINARY_DIR}/quaymarsh.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)
install(FILES src/api/quaymarsh.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev)
install(FILES man/quaymarsh.3 DESTINATION "${QM_MAN}/man3" COMPONENT dev)
# Each function's name leads to the one page, too.
file(STRINGS "${QM_EXPORTS}" QM_FUNCTIONS REGEX "^ +[A-Za-z]+;$")
foreach(function ${QM_FUNCTIONS})
  string(REGEX MATCH "[A-Za-z]+" function "${function}")
  file(WRITE "${PROJECT_BINARY_DIR}/man/${function}.3"
       ".so man3/quaymarsh.3\n")
  install(FILES "${PROJECT_BINARY_DIR}/man/${function}.3"
          DESTINATION "${QM_MAN}/man3" COMPONENT dev)
endforeach()
install(DIRECTORY examples/ DESTINATION "${QM_SHARE}/examples" COMPONENT dev)

# ---- tools

install(TARGETS qmkwc DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
install(FILES man/quaymarsh.1 man/qmkwc.1
        DESTINATION "${QM_MAN}/man1" COMPONENT tools)
install(FILES man/quaymarsh.5 DESTINATION "${QM_MAN}/man5" COMPONENT tools)
# bash looks for a file of the command's name; the second one reads the first.
install(FILES packaging/completion/quaymarsh packaging/completion/qmkwc
        DESTINATION "${QM_COMPLETION}" COMPONENT tools)
install(FILES packaging/completion/_quaymarsh
        DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
        COMPONENT tools)
install(FILES README.md CHANGES.md LICENSE
        DESTINATION "${QM_DOC}" COMPONENT tools)
install(DIRECTORY doc DESTINATION "${QM_DOC}" COMPONENT tools)
# To copy, and to write one's own dictionary from.
install(DIRECTORY dictionary DESTINATION "${QM_SHARE}" COMPONENT tools)

# ---- python, for a 64-bit interpreter

if(QM_BITS EQUAL 64)
  set(QM_PYTHONDIR lib/python3/dist-packages CACHE STRING
      "Where the Python module goes")
  install(FILES bindings/python/quaymarsh.py
          DESTINATION "${QM_PYTHONDIR}" COMPONENT python)
endif()
