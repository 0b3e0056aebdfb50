# What `cmake --install` lays out: the libraries with what a program that uses them needs (component
# development), and the programs with what a system that runs them needs (component runtime). All of
# it may be moved: nothing but the unit file has an absolute path, and that is made when the prefix
# is known.

include(CMakePackageConfigHelpers)

# Beside the headers of a later release that breaks with this one.
set(headerDir "${CMAKE_INSTALL_INCLUDEDIR}/mrp-${PROJECT_VERSION_MAJOR}")
set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/mrp")
set(pkgConfigDir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(systemdDir lib/systemd/system)
set(sysusersDir lib/sysusers.d)
set(completionDir "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")

# --- The libraries ---

set_target_properties(mrpplatform PROPERTIES EXPORT_NAME platform)
set_target_properties(mrpplatform-linux PROPERTIES EXPORT_NAME platform-linux)
set_target_properties(mrpplatform-virtual PROPERTIES EXPORT_NAME platform-virtual)
set_target_properties(mrp mrpplatform PROPERTIES INSTALL_RPATH "$ORIGIN")
target_compile_features(mrpplatform INTERFACE cxx_std_20)

install(TARGETS mrp mrpplatform mrpplatform-linux mrpplatform-virtual
    EXPORT mrpTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    INCLUDES DESTINATION "${headerDir}")

# Every header but those that only our own sources include.
install(DIRECTORY mrp platform DESTINATION "${headerDir}" COMPONENT development
    FILES_MATCHING PATTERN "*.h"
    PATTERN MrpEventPacking.h EXCLUDE
    PATTERN MrpLeaveAllRun.h EXCLUDE
    PATTERN MrpLogHandles.h EXCLUDE
    PATTERN MrpTrace.h EXCLUDE
    PATTERN MrpTxRun.h EXCLUDE
    PATTERN MsrpHeaders.h EXCLUDE
    PATTERN MvrpOpenVector.h EXCLUDE
    PATTERN RunRecords.h EXCLUDE)

install(EXPORT mrpTargets NAMESPACE mrp:: DESTINATION "${packageDir}" COMPONENT development)
configure_package_config_file(packaging/mrpConfig.cmake.in
    "${CMAKE_CURRENT_BINARY_DIR}/mrpConfig.cmake" INSTALL_DESTINATION "${packageDir}")
# Before 1.0 a minor release may break with the one before.
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/mrpConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/mrpConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/mrpConfigVersion.cmake"
    DESTINATION "${packageDir}" COMPONENT development)

file(RELATIVE_PATH prefixFromPkgConfig "/${pkgConfigDir}" "/")
function(install_pkg_config name description requires libs)
    configure_file(packaging/mrp.pc.in "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc"
        DESTINATION "${pkgConfigDir}" COMPONENT development)
endfunction()
install_pkg_config(mrp "${PROJECT_DESCRIPTION}" "" "-lmrp -lmrpplatform")
install_pkg_config(mrp-linux "The engine's clock and packets on Linux" mrp "-lmrpplatform-linux")
install_pkg_config(mrp-virtual "The engine's clock and packets in memory" mrp
    "-lmrpplatform-virtual")

# --- The programs ---

if(NOT MRP_BUILD_PROGRAMS)
    return()
endif()

file(RELATIVE_PATH libFromBin "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
function(install_program target directory)
    if(TARGET ${target})
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libFromBin}")
        install(TARGETS ${target} RUNTIME DESTINATION "${directory}" COMPONENT runtime)
    endif()
endfunction()
install_program(mrp-agent "${CMAKE_INSTALL_SBINDIR}")
install_program(mrpctl "${CMAKE_INSTALL_BINDIR}")
install_program(mrp-lab "${CMAKE_INSTALL_BINDIR}")

# The unit names the program by its absolute path, which the prefix given to `cmake --install`
# decides. Under DESTDIR the path is that on the system for which it is meant.
install(CODE "
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX OUTPUT_VARIABLE MRP_PREFIX)
    set(MRP_SBINDIR \"\${MRP_PREFIX}/${CMAKE_INSTALL_SBINDIR}\")
    configure_file(\"${CMAKE_SOURCE_DIR}/packaging/mrp-agent.service.in\"
        \"${CMAKE_CURRENT_BINARY_DIR}/mrp-agent.service\" @ONLY)
    file(INSTALL \"${CMAKE_CURRENT_BINARY_DIR}/mrp-agent.service\"
        DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${systemdDir}\")"
    COMPONENT runtime)
install(FILES packaging/mrp.sysusers DESTINATION "${sysusersDir}" RENAME mrp.conf
    COMPONENT runtime)

# Pages by their sections; one completion a command.
file(GLOB manPages CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/packaging/man/*.[1-9]")
foreach(page IN LISTS manPages)
    string(REGEX MATCH "[1-9]$" section "${page}")
    install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}" COMPONENT runtime)
endforeach()
file(GLOB completions CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/packaging/completion/*")
install(FILES ${completions} DESTINATION "${completionDir}" COMPONENT runtime)

# What docs/ says of working on the source stays with the source.
install(DIRECTORY docs/ DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime
    PATTERN fuzzing.md EXCLUDE)
install(FILES packaging/mrp-agent.toml DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples"
    RENAME etc-mrp-agent.toml COMPONENT runtime)
