# Builds the two Debian packages with CPack from the build tree, checks them
# with dpkg-deb (names, dependencies, contents, the SONAME link), unpacks both
# into a temporary root with `dpkg -x`, and builds and runs a consumer against
# that root through pkg-config and through the CMake package.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(LAST_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

function(expect text pattern what)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: expected to match '${pattern}' in:\n${text}")
  endif()
endfunction()

function(expect_not text pattern what)
  if(text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: must not match '${pattern}' in:\n${text}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
run(cpack -G DEB -B ${WORK_DIR}/debs --config ${BUILD_DIR}/CPackConfig.cmake)

file(GLOB runtime_deb ${WORK_DIR}/debs/libtoviktwo-dll-ssl1_*.deb)
file(GLOB dev_deb ${WORK_DIR}/debs/libtoviktwo-dll-ssl-dev_*.deb)
if(NOT runtime_deb OR NOT dev_deb)
  file(GLOB all ${WORK_DIR}/debs/*)
  message(FATAL_ERROR "expected the runtime and the dev package, found: ${all}")
endif()

# ---- the runtime package
run(dpkg-deb -f ${runtime_deb} Package Depends Section)
expect("${LAST_OUTPUT}" "Package: libtoviktwo-dll-ssl1\n" "runtime name")
expect("${LAST_OUTPUT}" "Depends: [^\n]*libssl3" "runtime depends on the OpenSSL runtime")
run(dpkg-deb -c ${runtime_deb})
set(runtime_files "${LAST_OUTPUT}")
expect("${runtime_files}" "\\./usr/lib/libtoviktwo_dll_ssl\\.so\\.1 -> libtoviktwo_dll_ssl\\.so\\.1\\.[0-9.]+\n"
       "runtime holds the SONAME link")
expect("${runtime_files}" "\\./usr/lib/libtoviktwo_dll_ssl\\.so\\.1\\.[0-9]+\\.[0-9]+\n" "runtime holds the library")
expect_not("${runtime_files}" "include/|\\.so -> |pkgconfig|cmake/" "runtime holds no development files")

# ---- the development package
run(dpkg-deb -f ${dev_deb} Package Depends Section)
expect("${LAST_OUTPUT}" "Package: libtoviktwo-dll-ssl-dev\n" "dev name")
expect("${LAST_OUTPUT}" "Depends: [^\n]*libtoviktwo-dll-ssl1 \\(= " "dev depends on the exact runtime")
expect("${LAST_OUTPUT}" "Depends: [^\n]*libssl-dev" "dev depends on the OpenSSL headers")
run(dpkg-deb -c ${dev_deb})
set(dev_files "${LAST_OUTPUT}")
foreach(f include/toviktwo/toviktwo.h include/toviktwo/foundation/hkexception.h bin/toviktwo-template
          lib/pkgconfig/toviktwo.pc lib/cmake/toviktwo/toviktwoConfig.cmake)
  expect("${dev_files}" "\\./usr/${f}\n" "dev holds ${f}")
endforeach()
expect("${dev_files}" "\\./usr/lib/libtoviktwo_dll_ssl\\.so -> libtoviktwo_dll_ssl\\.so\\.1\n"
       "dev holds the link library")
expect_not("${dev_files}" "\\.so\\.1\\.[0-9]" "dev holds no runtime library")

# ---- unpack both and build against the tree
set(ROOT ${WORK_DIR}/root)
run(dpkg -x ${runtime_deb} ${ROOT})
run(dpkg -x ${dev_deb} ${ROOT})
run(objdump -p ${ROOT}/usr/lib/libtoviktwo_dll_ssl.so.1)
expect("${LAST_OUTPUT}" "SONAME +libtoviktwo_dll_ssl\\.so\\.1" "SONAME of the unpacked library")

set(ENV{PKG_CONFIG_PATH} ${ROOT}/usr/lib/pkgconfig)
run(pkg-config --cflags toviktwo)
string(STRIP "${LAST_OUTPUT}" cflags)
separate_arguments(cflags UNIX_COMMAND "${cflags}")
run(pkg-config --libs toviktwo)
string(STRIP "${LAST_OUTPUT}" libs)
separate_arguments(libs UNIX_COMMAND "${libs}")
run(${CXX} -std=c++20 ${cflags} ${CONSUMER_DIR}/consumer.cpp -o ${WORK_DIR}/pc_consumer ${libs}
    -Wl,-rpath,${ROOT}/usr/lib)
run(${WORK_DIR}/pc_consumer)
expect("${LAST_OUTPUT}" "consumer ok 96" "pkg-config consumer output")

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR}/cmake_consumer -B ${WORK_DIR}/cmake_consumer
    -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${ROOT}/usr -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_BUILD_RPATH=${ROOT}/usr/lib)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake_consumer)
run(${WORK_DIR}/cmake_consumer/consumer)
expect("${LAST_OUTPUT}" "consumer ok 96" "CMake consumer output")
file(REMOVE_RECURSE ${WORK_DIR})
message(STATUS "package test passed")
