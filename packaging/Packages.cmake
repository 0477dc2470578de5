# Debian packages: `cmake --workflow --preset package` leaves them in build/package.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "Tavik")
set(CPACK_PACKAGE_CONTACT "Tavik Maintainers <maintainers@tavik.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Where the tool that computes the other dependencies finds libTavik.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src/Tavik/Core)

string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)

# Makes the Debian package `package` of an install component.
function(tavik_package component package section summary)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}" PARENT_SCOPE)

    set(documentation ${CMAKE_CURRENT_BINARY_DIR}/packaging/${package})
    configure_file(packaging/changelog.in ${documentation}/changelog @ONLY)
    execute_process(COMMAND gzip -9n
        INPUT_FILE ${documentation}/changelog OUTPUT_FILE ${documentation}/changelog.Debian.gz
        COMMAND_ERROR_IS_FATAL ANY)
    install(FILES packaging/copyright ${documentation}/changelog.Debian.gz
        DESTINATION share/doc/${package} COMPONENT ${component})
endfunction()

tavik_package(core libtavik${PROJECT_VERSION_MAJOR} libs "core library of Tavik
Strings, formatting and assertions that the other libraries are built on.")
tavik_package(core-development libtavik-dev libdevel "core library of Tavik - development files
The headers of the core library and what build systems need to find it.")
tavik_package(object-path libtavikobjectpath${PROJECT_VERSION_MAJOR} libs "hierarchical object names
Immutable names such as /dev[bus=pci][id=3]/port, which share what they have
in common, with a parser, a printer and a pattern matcher.")
tavik_package(object-path-development libtavikobjectpath-dev libdevel "hierarchical object names - development files
The header of the library and what build systems need to find it.")

set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
foreach(key CORE OBJECT-PATH)
    set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
endforeach()

set(CPACK_COMPONENT_CORE-DEVELOPMENT_DEPENDS core)
set(CPACK_COMPONENT_OBJECT-PATH_DEPENDS core)
set(CPACK_COMPONENT_OBJECT-PATH-DEVELOPMENT_DEPENDS object-path core-development)

# {fmt} puts each major version into a namespace of its own, and the layout of Abseil's containers is part of the
# library's ABI, so programs need the headers of the same version and series.
math(EXPR next_absl_version "${absl_VERSION} + 1")
set(CPACK_DEBIAN_CORE-DEVELOPMENT_PACKAGE_DEPENDS
    "libfmt-dev (>= ${fmt_VERSION_MAJOR}), libfmt-dev (<< ${next_fmt_version})")
set(CPACK_DEBIAN_OBJECT-PATH-DEVELOPMENT_PACKAGE_DEPENDS
    "libabsl-dev (>= ${absl_VERSION}), libabsl-dev (<< ${next_absl_version}), libboost-container-dev")

include(CPack)
