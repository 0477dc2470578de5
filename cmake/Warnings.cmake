# The warnings that the project keeps clean.
set(tavik_warnings -Wall -Wextra -Wpedantic -Wconversion -Wshadow)

# Compiles a target with these warnings.
function(tavik_enable_warnings target)
    target_compile_options(${target} PRIVATE ${tavik_warnings})
    if(TAVIK_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
