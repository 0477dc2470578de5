# The flags that Debian builds its packages with, all hardening included. Binaries name source files by their paths in
# the project, wherever that is built.

function(tavik_append_debian_flags variable kind)
    set(ENV{DEB_BUILD_MAINT_OPTIONS} "hardening=+all reproducible=-fixfilepath,-fixdebugpath")
    execute_process(COMMAND dpkg-buildflags --get ${kind}
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    set(${variable} "${${variable}} ${flags}" PARENT_SCOPE)
endfunction()

tavik_append_debian_flags(CMAKE_CXX_FLAGS CPPFLAGS)
tavik_append_debian_flags(CMAKE_CXX_FLAGS CXXFLAGS)
tavik_append_debian_flags(CMAKE_SHARED_LINKER_FLAGS LDFLAGS)
tavik_append_debian_flags(CMAKE_EXE_LINKER_FLAGS LDFLAGS)
string(APPEND CMAKE_CXX_FLAGS
    " -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PROJECT_BINARY_DIR}=.")
set(CMAKE_STRIP ${PROJECT_SOURCE_DIR}/packaging/strip)
