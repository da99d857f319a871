# Installs the built library into a staging prefix and builds and runs examples/consumer against
# it through find_package(QELTABase) only.
#
# Variables: BUILD_DIR, SOURCE_DIR, CXX_FLAGS, LINKER_FLAGS, GENERATOR.

set(stage ${BUILD_DIR}/install-check/prefix)
set(consumer_build ${BUILD_DIR}/install-check/consumer)
file(REMOVE_RECURSE ${BUILD_DIR}/install-check)

execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${stage}
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "cmake --install failed")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/consumer -B ${consumer_build}
    -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${stage}
    "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}"
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "configuring the consumer against the installed package failed")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} --build ${consumer_build} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "building the consumer against the installed package failed")
endif()

execute_process(COMMAND ${consumer_build}/consumer alpha beta alpha
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output STREQUAL "words: 2\n")
    message(FATAL_ERROR "the consumer printed '${output}' (exit ${result}), expected 'words: 2'")
endif()

# The pkg-config file names the installed library.
file(GLOB_RECURSE pc_files ${stage}/*/QELTABase.pc)
if(NOT pc_files)
    message(FATAL_ERROR "no QELTABase.pc was installed")
endif()
list(GET pc_files 0 pc_file)
file(READ ${pc_file} pc)
if(NOT pc MATCHES "-lQELTABase")
    message(FATAL_ERROR "QELTABase.pc does not link the library")
endif()
