# Installs the built library into a staging prefix, builds examples/host against it, starts it
# twice at once (one instance must hold the lock and stop in order, the other must be refused),
# then once more alone, which must find that the last run ended properly.
#
# Variables: BUILD_DIR, SOURCE_DIR, CXX_FLAGS, LINKER_FLAGS, GENERATOR.

set(root ${BUILD_DIR}/example-host-check)
set(stage ${root}/prefix)
set(host_build ${root}/build)
set(home ${root}/home)
file(REMOVE_RECURSE ${root})
file(MAKE_DIRECTORY ${home}/runtime)

execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${stage} OUTPUT_QUIET RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "cmake --install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/host -B ${host_build} -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${stage} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}"
    OUTPUT_QUIET RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "configuring the example host against the installed package failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${host_build} OUTPUT_QUIET RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "building the example host failed")
endif()

set(environment HOME=${home} XDG_DATA_HOME=${home}/data XDG_CONFIG_HOME=${home}/config
    XDG_RUNTIME_DIR=${home}/runtime TMPDIR=${home})
execute_process(COMMAND ${CMAKE_COMMAND} -E env ${environment} QELTA_EXAMPLE_HOLD_MS=3000
    sh -c "\"$0\" > \"$1/first.txt\" 2>&1 & \"$0\" > \"$1/second.txt\" 2>&1; echo $? > \"$1/second.rc\"; wait"
    ${host_build}/example_host ${root})
file(READ ${root}/first.txt first)
file(READ ${root}/second.txt second)
string(CONCAT both "${first}" "${second}")
string(REGEX MATCHALL "holds the instance lock" holders "${both}")
string(REGEX MATCHALL "another instance is running" refused "${both}")
list(LENGTH holders holder_count)
list(LENGTH refused refused_count)
if(NOT holder_count EQUAL 1 OR NOT refused_count EQUAL 1 OR NOT both MATCHES "stopped in order")
    message(FATAL_ERROR "two instances at once printed:\n${first}\n---\n${second}")
endif()
if(NOT both MATCHES "Computer Manufacturer: [^\n]+\n" OR NOT both MATCHES "Application Name: Example Host")
    message(FATAL_ERROR "the start-up information is missing:\n${both}")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -E env ${environment} ${host_build}/example_host
    OUTPUT_VARIABLE third RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT third MATCHES "last run ended properly: yes, first run: no\n.*stopped in order")
    message(FATAL_ERROR "the run after an orderly one printed (exit ${result}):\n${third}")
endif()
