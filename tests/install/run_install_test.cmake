# Installs the built library into a temporary prefix, then builds and runs a
# consumer found through find_package(toviktwo) and one built with pkg-config.
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
run(objdump -p ${soname})
if(NOT LAST_OUTPUT MATCHES "SONAME +libtoviktwo_dll_ssl\\.so\\.1")
  message(FATAL_ERROR "wrong SONAME:\n${LAST_OUTPUT}")
endif()

# 1. CMake package
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
separate_arguments(cflags UNIX_COMMAND "${cflags}")
separate_arguments(libs UNIX_COMMAND "${libs}")
run(${CXX} ${cflags} ${CONSUMER_DIR}/consumer.cpp -o ${WORK_DIR}/pc_consumer ${libs}
    -Wl,-rpath,${LIBDIR})
run(${WORK_DIR}/pc_consumer)
if(NOT LAST_OUTPUT MATCHES "consumer ok 96")
  message(FATAL_ERROR "unexpected output of the pkg-config consumer: ${LAST_OUTPUT}")
endif()
message(STATUS "install test passed")
