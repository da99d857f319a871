# qelta_set_warnings(<target>): the one warning set of every target of the project.
function(qelta_set_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic
        -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
        -Woverloaded-virtual -Wnull-dereference -Wdouble-promotion
        -Wformat=2 -Wimplicit-fallthrough -Wmisleading-indentation)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The library relocates elements by raw bytes on purpose: its Buffer moves
        # non-trivially-copyable elements with memmove and realloc.
        target_compile_options(${target} PRIVATE -Wno-class-memaccess -Wduplicated-cond -Wlogical-op)
    endif()
    if(QELTA_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
