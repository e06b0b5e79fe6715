# Debian packages of the library, built by `make package` with CPack:
#   libtoviktwo-dll-ssl1     the runtime: libtoviktwo_dll_ssl.so.1 and the file it names
#   libtoviktwo-dll-ssl-dev  headers, the .so link, toviktwo.pc, the CMake package and
#                            the template tool toviktwo-template
# The names follow Debian's rule for libraries: the SONAME with "_" turned into
# "-" and the major version appended for the runtime, "-dev" for the headers.
# tests/install/run_package_test.cmake checks both packages.
set(TOVIK_DEB_RUNTIME libtoviktwo-dll-ssl1)
set(TOVIK_DEB_DEV libtoviktwo-dll-ssl-dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME toviktwo)
set(CPACK_PACKAGE_VENDOR "toviktwo developers")
set(CPACK_PACKAGE_CONTACT "toviktwo developers <toviktwo@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Library for applications with a web browser as their user interface")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${TOVIK_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The OpenSSL runtime, the C++ runtime and the C library the .so is linked
# against; Debian 12 ships OpenSSL 3 as libssl3.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libssl3 (>= 3.0.0), libstdc++6 (>= 12), libc6 (>= 2.36)")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "Library for applications with a web browser as their user interface (runtime)\n An embedded HTTP/HTTPS server, a job scheduler, an HTML/CSS/SVG object model,\n session contexts, widgets and an update channel to the open page.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${TOVIK_DEB_DEV})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${TOVIK_DEB_RUNTIME} (= ${PROJECT_VERSION}), libssl-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "Library for applications with a web browser as their user interface (development files)\n Headers under /usr/include/toviktwo, the link library, the pkg-config file\n toviktwo.pc and the CMake package toviktwo::toviktwo.")

include(CPack)
