# Installs the build into a fresh prefix and runs what was installed from there:
# `lumisk --version`, and `import lumisk` when the Python module is built.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}
  RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${status}")
endif()

set(programs lumisk lumisk-dataserver)
if(WITH_TRAIN)
  list(APPEND programs lumisk-train)
endif()
foreach(program ${programs})
  if(NOT EXISTS ${WORK_DIR}/bin/${program})
    message(FATAL_ERROR "not installed: bin/${program}")
  endif()
endforeach()

# --version ends with status 1, as --help does; the line is what counts.
execute_process(COMMAND ${WORK_DIR}/bin/lumisk --version OUTPUT_VARIABLE out ERROR_VARIABLE err
  WORKING_DIRECTORY ${WORK_DIR})
if(NOT out MATCHES "version .*build on")
  message(FATAL_ERROR "installed lumisk --version printed: ${out}${err}")
endif()

if(WITH_PYTHON)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${WORK_DIR}/${PYTHON_DIR}
    ${PYTHON} -c "import lumisk; print(lumisk.__file__); print(lumisk.extract.__doc__ is not None)"
    WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(FIND "${out}" "${WORK_DIR}/${PYTHON_DIR}/lumisk" at)
  if(NOT status EQUAL 0 OR NOT at EQUAL 0 OR NOT out MATCHES "\nTrue")
    message(FATAL_ERROR "import lumisk from the prefix failed (${status}): ${out}${err}")
  endif()
endif()
file(REMOVE_RECURSE ${WORK_DIR})
