# Installs the built library into a temporary prefix, then builds and runs a
# consumer found through find_package(toviktwo), one built with pkg-config, and
# one with its own xml/ and application/ folders, each with only
# <prefix>/include on its include path, and a program written in C that starts
# the server through the C entry and fetches a file over HTTPS. Leaves nothing.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(LAST_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(PREFIX ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})

file(GLOB_RECURSE sonames ${PREFIX}/*/libtoviktwo_dll_ssl.so.1)
if(NOT sonames)
  message(FATAL_ERROR "libtoviktwo_dll_ssl.so.1 was not installed")
endif()
list(GET sonames 0 soname)
get_filename_component(LIBDIR ${soname} DIRECTORY)
foreach(f include/toviktwo/toviktwo.h include/toviktwo/foundation/hkexception.h)
  if(NOT EXISTS ${PREFIX}/${f})
    message(FATAL_ERROR "${f} was not installed")
  endif()
endforeach()
# The template tool is installed beside the library and finds it from there.
run(${PREFIX}/bin/toviktwo-template --help)
run(objdump -p ${soname})
if(NOT LAST_OUTPUT MATCHES "SONAME +libtoviktwo_dll_ssl\\.so\\.1")
  message(FATAL_ERROR "wrong SONAME:\n${LAST_OUTPUT}")
endif()

# 1. CMake package; its target names exactly one include folder.
file(GLOB_RECURSE targets_file ${PREFIX}/*/toviktwoTargets.cmake)
file(READ "${targets_file}" targets_text)
string(REGEX MATCH "INTERFACE_INCLUDE_DIRECTORIES \"[^\"]*\"" include_line "${targets_text}")
if(NOT include_line STREQUAL "INTERFACE_INCLUDE_DIRECTORIES \"\${_IMPORT_PREFIX}/include\"")
  message(FATAL_ERROR "the CMake target must give exactly <prefix>/include, not: ${include_line}")
endif()
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR}/cmake_consumer -B ${WORK_DIR}/cmake_consumer
    -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake_consumer)
run(${WORK_DIR}/cmake_consumer/consumer)
if(NOT LAST_OUTPUT MATCHES "consumer ok 96")
  message(FATAL_ERROR "unexpected output of the CMake consumer: ${LAST_OUTPUT}")
endif()

# 2. pkg-config
set(ENV{PKG_CONFIG_PATH} ${LIBDIR}/pkgconfig)
run(pkg-config --cflags toviktwo)
string(STRIP "${LAST_OUTPUT}" cflags)
run(pkg-config --libs toviktwo)
string(STRIP "${LAST_OUTPUT}" libs)
separate_arguments(libs UNIX_COMMAND "${libs}")
string(REGEX REPLACE "^-I" "" incdir "${cflags}")
file(REAL_PATH "${incdir}" incdir)
file(REAL_PATH "${PREFIX}/include" wanted)
if(NOT cflags MATCHES "^-I[^ ]+$" OR NOT incdir STREQUAL wanted)
  message(FATAL_ERROR "pkg-config must give exactly one include folder, not: ${cflags}")
endif()
separate_arguments(cflags UNIX_COMMAND "${cflags}")
# The headers need C++20; pkg-config users say so themselves.
run(${CXX} -std=c++20 ${cflags} ${CONSUMER_DIR}/consumer.cpp -o ${WORK_DIR}/pc_consumer ${libs}
    -Wl,-rpath,${LIBDIR})
run(${WORK_DIR}/pc_consumer)
if(NOT LAST_OUTPUT MATCHES "consumer ok 96")
  message(FATAL_ERROR "unexpected output of the pkg-config consumer: ${LAST_OUTPUT}")
endif()
# 3. A consumer whose own folders share names with ours; its folder comes first.
run(${CXX} -std=c++20 -I${CONSUMER_DIR}/clash ${cflags} ${CONSUMER_DIR}/clash/clash_consumer.cpp
    -o ${WORK_DIR}/clash_consumer ${libs} -Wl,-rpath,${LIBDIR})
run(${WORK_DIR}/clash_consumer)
if(NOT LAST_OUTPUT MATCHES "consumer ok 96 item")
  message(FATAL_ERROR "unexpected output of the clash consumer: ${LAST_OUTPUT}")
endif()
# 4. A program written in C: the C compiler, only <prefix>/include, a key pair
# made here; it starts the server on port 0, fetches a file over HTTPS and stops.
set(C_SITE ${WORK_DIR}/c_site)
file(MAKE_DIRECTORY ${C_SITE})
file(WRITE ${C_SITE}/hello.txt "hello from C\n")
run(openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1
    -keyout ${WORK_DIR}/c_key.pem -out ${WORK_DIR}/c_cert.pem)
run(${CC} -std=c11 -Wall -Wextra -Werror -D_POSIX_C_SOURCE=200809L ${cflags} ${CONSUMER_DIR}/c_consumer.c
    -o ${WORK_DIR}/c_consumer ${libs} -Wl,-rpath,${LIBDIR})
run(${WORK_DIR}/c_consumer ${C_SITE} ${WORK_DIR}/c_cert.pem ${WORK_DIR}/c_key.pem)
if(NOT LAST_OUTPUT MATCHES "c consumer ok [1-9][0-9]*")
  message(FATAL_ERROR "unexpected output of the C consumer: ${LAST_OUTPUT}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
message(STATUS "install test passed")
