# The warnings that the project keeps clean.
set(tavik_warnings -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    list(APPEND tavik_warnings -Wthread-safety)  # which lock guards what: see src/Tavik/Core/ThreadSafety.h
endif()

# Compiles a target with these warnings. Not as part of another project, whose dependencies may bring warnings of their
# own in headers that it does not mark as a system's.
function(tavik_enable_warnings target)
    if(NOT PROJECT_IS_TOP_LEVEL)
        return()
    endif()
    target_compile_options(${target} PRIVATE ${tavik_warnings})
    if(TAVIK_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
