# Debian packages: `cmake --workflow --preset package` leaves them in build/package. Two builds have the same bytes:
# their date is that of the newest version in CHANGELOG.md, unless SOURCE_DATE_EPOCH is in the environment of both
# configuring and packing.

if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    message(FATAL_ERROR "TAVIK_PACKAGES needs CMAKE_INSTALL_PREFIX=/usr, not ${CMAKE_INSTALL_PREFIX}")
endif()

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
# Where the tool that computes the other dependencies finds the libraries.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/src/Tavik/Core ${PROJECT_BINARY_DIR}/src/Tavik/ObjectPath)

if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    file(STRINGS CHANGELOG.md released REGEX "^## .*\\([0-9-]+\\)$" LIMIT_COUNT 1)
    string(REGEX REPLACE ".*\\((.*)\\)" "\\1" released "${released}")
    execute_process(COMMAND date --utc --date=${released} +%s
        OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    set(ENV{SOURCE_DATE_EPOCH} ${epoch})
    # CPack is another process. It runs this first.
    set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/packaging/Date.cmake)
    file(CONFIGURE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} CONTENT "set(ENV{SOURCE_DATE_EPOCH} ${epoch})\n")
endif()
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)

function(tavik_compress source destination)
    configure_file(${source} ${destination} @ONLY)
    execute_process(COMMAND gzip -9n
        INPUT_FILE ${destination} OUTPUT_FILE ${destination}.gz
        COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Makes the Debian package `package` of an install component.
function(tavik_package component package section summary)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}" PARENT_SCOPE)

    set(generated ${CMAKE_CURRENT_BINARY_DIR}/packaging/${package})
    tavik_compress(packaging/changelog.in ${generated}/changelog.Debian)
    tavik_compress(CHANGELOG.md ${generated}/changelog)
    install(FILES packaging/copyright ${generated}/changelog.Debian.gz ${generated}/changelog.gz
        DESTINATION share/doc/${package} COMPONENT ${component})
endfunction()

# Adds what the package of a shared library needs besides, and the package `package`-dbgsym with its debug symbols.
macro(tavik_package_library component package target)
    string(TOUPPER ${component} key)
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/packaging/${package})
    configure_file(packaging/${package}.symbols ${generated}/symbols.in @ONLY)
    add_custom_target(${target}Description ALL
        COMMAND ${PROJECT_SOURCE_DIR}/packaging/describe-library
            $<TARGET_SONAME_FILE:${target}> ${generated}/symbols.in ${PROJECT_VERSION} ${generated}
        DEPENDS ${target} ${PROJECT_SOURCE_DIR}/packaging/describe-library ${generated}/symbols.in)
    set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ON)
    # Scripts that do not exist, so that CPack writes none: those would call ldconfig, which the trigger does already.
    set(scripts ${generated}/none/postinst ${generated}/none/postrm)
    set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA
        ${PROJECT_SOURCE_DIR}/packaging/triggers ${generated}/symbols ${generated}/shlibs ${scripts})

    tavik_package(${component}-debug ${package}-dbgsym debug "debug symbols for ${package}
With these, debuggers and profilers show the names of functions and the lines
of code in the shared library.")
    install(DIRECTORY ${generated}/debug/ DESTINATION lib/debug COMPONENT ${component}-debug)
    set(CPACK_COMPONENT_${key}-DEBUG_DEPENDS ${component})
endmacro()

set(core libtavik${PROJECT_VERSION_MAJOR})
set(object_path libtavikobjectpath${PROJECT_VERSION_MAJOR})
tavik_package(core ${core} libs "core library of Tavik
Strings, formatting and assertions that the other libraries are built on.
Programs that use those are linked with it, too.")
tavik_package(core-development libtavik-dev libdevel "core library of Tavik - development files
The headers of the core library and what build systems need to find it. The
development files of the other libraries depend on them.")
tavik_package(object-path ${object_path} libs "hierarchical object names
Immutable names such as /dev[bus=pci][id=3]/port, which share what they have
in common, with a parser, a printer and a pattern matcher.")
tavik_package(object-path-development libtavikobjectpath-dev libdevel "hierarchical object names - development files
The header of the library, what build systems need to find it, its manual and
examples.")
tavik_package_library(core ${core} TavikCore)
tavik_package_library(object-path ${object_path} TavikObjectPath)
install(FILES packaging/lintian-overrides
    DESTINATION share/lintian/overrides RENAME ${object_path} COMPONENT object-path)

tavik_package(objectpath-grep objectpath-grep utils "search files of hierarchical object names
Prints the lines of files that hold a path such as /dev[bus=pci][id=3]/port
which a pattern selects, as grep does for regular expressions.")
set(CPACK_DEBIAN_OBJECTPATH-GREP_PACKAGE_SHLIBDEPS ON)
set(manual_page ${CMAKE_CURRENT_BINARY_DIR}/packaging/objectpath-grep/objectpath-grep.1)
tavik_compress(tools/objectpath-grep/objectpath-grep.1.in ${manual_page})
install(FILES ${manual_page}.gz DESTINATION share/man/man1 COMPONENT objectpath-grep)

set(manual DESTINATION share/doc/libtavikobjectpath-dev COMPONENT object-path-development)
install(FILES README.md SECURITY.md CONTRIBUTING.md CHANGELOG.md ${manual})
install(DIRECTORY docs examples ${manual} FILES_MATCHING
    PATTERN *.md PATTERN *.svg PATTERN *.cpp PATTERN expected EXCLUDE PATTERN input EXCLUDE PATTERN site EXCLUDE)

set(CPACK_COMPONENT_CORE-DEVELOPMENT_DEPENDS core)
set(CPACK_COMPONENT_OBJECT-PATH_DEPENDS core)
set(CPACK_COMPONENT_OBJECT-PATH-DEVELOPMENT_DEPENDS object-path core-development)
set(CPACK_COMPONENT_OBJECTPATH-GREP_DEPENDS object-path core)

# {fmt} puts each major version into a namespace of its own, and the layout of Abseil's containers is part of the
# library's ABI, so programs need the headers of the same version and series. Those that are built depend on a package
# that only a library of that series provides, as packaging/*.symbols says.
set(object_path_of_series ${object_path}-absl${absl_VERSION})
set(CPACK_DEBIAN_OBJECT-PATH_PACKAGE_PROVIDES ${object_path_of_series})
math(EXPR next_absl_version "${absl_VERSION} + 1")
set(CPACK_DEBIAN_CORE-DEVELOPMENT_PACKAGE_DEPENDS
    "libfmt-dev (>= ${fmt_VERSION_MAJOR}), libfmt-dev (<< ${next_fmt_version})")
string(JOIN ", " CPACK_DEBIAN_OBJECT-PATH-DEVELOPMENT_PACKAGE_DEPENDS
    ${object_path_of_series} "libabsl-dev (>= ${absl_VERSION})" "libabsl-dev (<< ${next_absl_version})"
    libboost-container-dev)

include(CPack)
