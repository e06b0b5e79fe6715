# Fails when a public header is missing from the umbrella header
# include/toviktwo/toviktwo.h. Run with -DSOURCE_DIR=<top of the sources>.
file(READ ${SOURCE_DIR}/include/toviktwo/toviktwo.h umbrella)
set(missing "")
foreach(dir foundation scheduler transport xml documents/html documents/css documents/svg documents/charts
            application persistence devices)
  file(GLOB headers RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${dir}/*.h)
  foreach(h IN LISTS headers)
    string(FIND "${umbrella}" "#include <toviktwo/${h}>" at)
    if(at EQUAL -1)
      list(APPEND missing ${h})
    endif()
  endforeach()
endforeach()
if(missing)
  message(FATAL_ERROR "not in include/toviktwo/toviktwo.h: ${missing}")
endif()
message(STATUS "every public header is in the umbrella header")
