# The flags that Debian builds its packages with, all hardening included, and binaries that do not name the folders that
# they were built in.

function(tavik_append_debian_flags variable kind)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get ${kind}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    set(${variable} "${${variable}} ${flags}" PARENT_SCOPE)
endfunction()

tavik_append_debian_flags(CMAKE_CXX_FLAGS CPPFLAGS)
tavik_append_debian_flags(CMAKE_CXX_FLAGS CXXFLAGS)
tavik_append_debian_flags(CMAKE_SHARED_LINKER_FLAGS LDFLAGS)
string(APPEND CMAKE_CXX_FLAGS " -ffile-prefix-map=${PROJECT_BINARY_DIR}=.")
