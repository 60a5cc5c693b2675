# Debian packages: `cpack` in a build folder writes them. A 32-bit build makes
# those of i386, which a 64-bit Debian takes as a foreign architecture.
#
# tests/packaging/deb_test.sh reads them; packaging/try-debs installs them on a
# bare Debian.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quaymarsh)
set(CPACK_PACKAGE_VENDOR "Quay Marsh")
set(CPACK_PACKAGE_CONTACT "Quay Marsh <quaymarsh@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL lib dev tools)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Debian keeps libraries in a folder for each architecture. The tree is built
# for lib/ and rearranged when it is packed, so that a package takes no build
# of its own.
if(QM_BITS EQUAL 32)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  set(CPACK_QM_LIBDIR lib/i386-linux-gnu)
else()
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
  set(CPACK_QM_LIBDIR lib/x86_64-linux-gnu)
endif()
set(CPACK_QM_BUILT_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
set(CPACK_QM_PC "${PROJECT_BINARY_DIR}/packaging/quaymarsh.pc")
set(CPACK_QM_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
qm_pkg_config("${CPACK_QM_LIBDIR}" "${CPACK_QM_PC}")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/deb_layout.cmake")

# What the binaries need is told here and not by dpkg-shlibdeps: that finds the
# 32-bit libraries of a 64-bit Debian in other packages than those of i386. The
# test compares it with the symbols that they ask for.
set(QM_RUNTIME "libc6 (>= 2.36), libgcc-s1 (>= 4.2), libstdc++6 (>= 12)")

# CPack writes no Multi-Arch field; it goes in behind the section.
set(CPACK_DEBIAN_LIB_PACKAGE_NAME libquaymarsh1)
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_LIB_PACKAGE_DEPENDS "${QM_RUNTIME}")
# What links with the library depends on this package, and ldconfig sees it.
configure_file(packaging/lib/shlibs.in packaging/shlibs @ONLY)
set(CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA
    "${PROJECT_BINARY_DIR}/packaging/shlibs"
    "${PROJECT_SOURCE_DIR}/packaging/lib/triggers")
set(CPACK_COMPONENT_LIB_DESCRIPTION
    "A library that judges one mail message: a state, a score, the causes, and the
header block rewritten.")

set(QM_SAME_LIBRARY "libquaymarsh1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libquaymarsh-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${QM_SAME_LIBRARY}")
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "What a program needs that is to be linked with libquaymarsh, and an example.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME quaymarsh)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${QM_SAME_LIBRARY}, ${QM_RUNTIME}")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "The command line, the compiler of rule dictionaries, and the sources of the
one that is built in.")

if(QM_BITS EQUAL 64)
  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-quaymarsh)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "python3, libquaymarsh1 (>= ${PROJECT_VERSION})")
  # They compile the module, and remove what was compiled.
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
      "${PROJECT_SOURCE_DIR}/packaging/python/postinst"
      "${PROJECT_SOURCE_DIR}/packaging/python/prerm")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "A Python module that scans messages.")
endif()

include(CPack)
