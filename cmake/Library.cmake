# What the shared libraries of the project have in common.

include(CMakePackageConfigHelpers)

# Refuses static libraries, among the given targets and what they link to, that cannot become part of a shared library:
# otherwise the linker would say so at the end of a long build. Of an imported library, that is not always known.
function(tavik_require_position_independent_code)
    set(targets ${ARGV})
    set(seen)
    while(targets AND NOT CMAKE_CXX_FLAGS MATCHES -fPIC)
        list(POP_FRONT targets target)
        string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" target "${target}")
        if(NOT TARGET "${target}" OR target IN_LIST seen)
            continue()
        endif()
        list(APPEND seen "${target}")
        get_target_property(type ${target} TYPE)
        get_target_property(imported ${target} IMPORTED)
        get_target_property(independent ${target} POSITION_INDEPENDENT_CODE)
        if(type STREQUAL STATIC_LIBRARY AND NOT independent AND NOT (imported AND independent MATCHES NOTFOUND))
            message(FATAL_ERROR
                "${target} is a static library without position-independent code, so it cannot become part of a shared "
                "one: set(CMAKE_POSITION_INDEPENDENT_CODE ON) before it is added")
        endif()
        get_target_property(links ${target} INTERFACE_LINK_LIBRARIES)
        if(links)
            list(APPEND targets ${links})
        endif()
    endwhile()
endfunction()

# Sets the SONAME and the exports of a library. What it exports is listed in `exports.map` beside its CMakeLists.txt;
# everything else stays local. Exported symbols stay interposable: a program that is not position-independent may hold
# the one copy of a table reference or mutex.
function(tavik_configure_library target)
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LINK_DEPENDS ${exports})
    # Reports of failed assertions name a file by its path in the project, whatever folder the project is in.
    target_compile_options(${target} PUBLIC $<BUILD_INTERFACE:-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=>)
    target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,--version-script=${exports})
    # With clang, only the program is linked with the runtime of a sanitizer.
    if(NOT (CMAKE_CXX_COMPILER_ID MATCHES Clang AND CMAKE_CXX_FLAGS MATCHES -fsanitize))
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()

# Installs a library as the package `package`, in two components: `component` is what programs need to run, and
# `component`-development what else is needed to build them. The headers are those of the file set HEADERS.
function(tavik_install_library target package component)
    if(NOT TAVIK_INSTALL)
        return()
    endif()
    set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${package})
    set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    set(development COMPONENT ${component}-development)

    install(TARGETS ${target} EXPORT ${package}Targets
        LIBRARY COMPONENT ${component} NAMELINK_COMPONENT ${component}-development
        FILE_SET HEADERS ${development})
    install(EXPORT ${package}Targets NAMESPACE Tavik:: DESTINATION ${config_dir} ${development})

    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${package}Config.cmake.in ${package}Config.cmake
        INSTALL_DESTINATION ${config_dir} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${package}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES
        ${CMAKE_CURRENT_BINARY_DIR}/${package}Config.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/${package}ConfigVersion.cmake
        DESTINATION ${config_dir} ${development})

    get_target_property(name ${target} OUTPUT_NAME)
    file(RELATIVE_PATH pkgconfig_to_prefix /${pkgconfig_dir} /)
    string(REGEX REPLACE "/$" "" pkgconfig_to_prefix "${pkgconfig_to_prefix}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir} ${development})
endfunction()
