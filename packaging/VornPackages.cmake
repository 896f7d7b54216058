# The packages that scripts/package.sh makes, as .deb and as .rpm: one for each
# component of VornInstall.cmake, and one for the library's debug information.
# Debian's names and rules are taken for both.

if(NOT PROJECT_IS_TOP_LEVEL OR multi_config OR NOT VORN_INSTALL
    OR NOT VORN_BUILD_TOOLS OR NOT VORN_BUILD_CHECKER OR NOT VORN_PLATFORM STREQUAL "development")
  message(FATAL_ERROR "VORN_PACKAGES needs VORN_INSTALL, VORN_BUILD_TOOLS, VORN_BUILD_CHECKER, the "
    "stubs of the platform, a generator of one configuration, and to be no part of another "
    "project.")
endif()

set(templates "${CMAKE_CURRENT_LIST_DIR}")
set(CPACK_PACKAGE_CONTACT "vorndatabase developers <vorndatabase@example.org>")
set(CPACK_COMPONENTS_ALL "")
set(packages "")

# vorn_package(<component> <package> <section> <synopsis> [<notices>]) makes a package of a
# component, with its documents. Its description is in PACKAGE.txt, and in the file of notices
# are the licences of the code of others in it.
macro(vorn_package component package section synopsis)
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(APPEND packages " [${package}]=${component}")
  file(READ "${templates}/${package}.txt" text)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${synopsis}\n${text}")
  set(CPACK_RPM_${upper}_PACKAGE_NAME ${package})
  set(CPACK_RPM_${upper}_PACKAGE_SUMMARY "${synopsis}")
  set(CPACK_RPM_${upper}_PACKAGE_DESCRIPTION "${text}")
  file(READ "${PROJECT_SOURCE_DIR}/COPYRIGHT" text)
  foreach(file ${ARGN})
    file(READ "${templates}/${file}" notices)
    string(APPEND text "${notices}")
  endforeach()
  file(WRITE "${PROJECT_BINARY_DIR}/${package}/copyright" "${text}")
  install(FILES "${PROJECT_BINARY_DIR}/${package}/copyright" "${PROJECT_BINARY_DIR}/changelog.gz"
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}" COMPONENT ${component})
endmacro()

vorn_package(runtime libvorndatabase libs "rows in SQLite files without writing SQL")
vorn_package(development libvorndatabase-dev libdevel
  "rows in SQLite files without writing SQL - development")
vorn_package(debug_symbols libvorndatabase-dbgsym debug "debug symbols for libvorndatabase")
vorn_package(tool vorndb utils "rows in SQLite files from the command line" tools.notices)
vorn_package(checker vorncheck devel "checker of applications that use libvorndatabase"
  tools.notices)
vorn_package(stand_ins vorn-desktop-stand-ins devel
  "stand-ins for a device's own libraries, for desktops only")

# --- Their relations ---------------------------------------------------------------
# The library needs the platform's libraries: a device's own packages, or the stubs, which
# replace them and conflict with them. rpm derives the dependency from the names of the
# libraries.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${VORN_RUNTIME_DEPENDS}, libdlog, libvornutil")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libvorndatabase (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEBUG_SYMBOLS_PACKAGE_DEPENDS "libvorndatabase (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
  "${VORN_TOOL_DEPENDS}, libvorndatabase (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_CHECKER_PACKAGE_DEPENDS "${VORN_CHECKER_DEPENDS}")
set(CPACK_DEBIAN_STAND_INS_PACKAGE_DEPENDS "${VORN_STAND_INS_DEPENDS}")
set(CPACK_DEBIAN_STAND_INS_PACKAGE_PROVIDES "libdlog, libvornutil")
set(CPACK_DEBIAN_STAND_INS_PACKAGE_CONFLICTS "libdlog, libvornutil")

set(CPACK_RPM_PACKAGE_RELEASE 1)
set(this_library "libvorndatabase = ${PROJECT_VERSION}-${CPACK_RPM_PACKAGE_RELEASE}")
set(CPACK_RPM_DEVELOPMENT_PACKAGE_REQUIRES "${this_library}")
set(CPACK_RPM_DEBUG_SYMBOLS_PACKAGE_REQUIRES "${this_library}")
set(CPACK_RPM_TOOL_PACKAGE_REQUIRES "${this_library}")
set(CPACK_RPM_STAND_INS_PACKAGE_PROVIDES "libdlog, libvornutil")
set(CPACK_RPM_STAND_INS_PACKAGE_CONFLICTS "libdlog, libvornutil")

# --- The debug information ---------------------------------------------------------
# Where debuggers look for it by the library's build identifier. The packaged
# libraries themselves are stripped.
set(debug_file "${PROJECT_BINARY_DIR}/VornDebugFile.cmake")
configure_file("${templates}/VornDebugFile.cmake.in" "${debug_file}.in" @ONLY)
file(GENERATE OUTPUT "${debug_file}" INPUT "${debug_file}.in")
install(SCRIPT "${debug_file}" COMPONENT debug_symbols EXCLUDE_FROM_ALL)
set(CPACK_STRIP_FILES ON)

# --- The documents -----------------------------------------------------------------
# The packages' changes are those of the newest version in CHANGELOG.md. The time is
# SOURCE_DATE_EPOCH, if that is set.
execute_process(COMMAND awk -f "${templates}/changelog.awk" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  OUTPUT_VARIABLE changes COMMAND_ERROR_IS_FATAL ANY)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${templates}/changelog.in" "${PROJECT_BINARY_DIR}/changelog" @ONLY)
execute_process(COMMAND gzip --best --no-name --force --keep "${PROJECT_BINARY_DIR}/changelog"
  COMMAND_ERROR_IS_FATAL ANY)

# --- CPack -------------------------------------------------------------------------
set(CPACK_PACKAGE_NAME "${PROJECT_NAME}")
set(CPACK_PACKAGE_VENDOR "vorndatabase developers")
# Every package has a synopsis of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PRE_BUILD_SCRIPTS "${templates}/VornTouch.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${VORN_DEBIAN_ARCHITECTURE}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
foreach(component RUNTIME CHECKER STAND_INS)
  set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${templates}/triggers")
endforeach()

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_PACKAGE_RELOCATABLE OFF)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_ARCHITECTURE "${VORN_RPM_ARCHITECTURE}")
set(CPACK_RPM_PACKAGE_LICENSE "none granted")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /usr/lib/debug /usr/lib/debug/.build-id
  "/usr/${CMAKE_INSTALL_LIBDIR}/cmake" "/usr/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
# No links by build identifier, which would be in no component; and no times but the
# sources'.
string(CONCAT CPACK_RPM_SPEC_MORE_DEFINE
  "%define _build_id_links none\n"
  "%define use_source_date_epoch_as_buildtime 1\n"
  "%define clamp_mtime_to_source_date_epoch 1\n"
  "%define _buildhost reproducible")

# The variables of check.sh.
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
file(CONFIGURE OUTPUT packages.env @ONLY CONTENT [[
version='@PROJECT_VERSION@'
declare -A components=(@packages@)
architecture='@VORN_DEBIAN_ARCHITECTURE@'
deb_libdir='lib/@CMAKE_CXX_LIBRARY_ARCHITECTURE@'
rpm_architecture='@VORN_RPM_ARCHITECTURE@'
rpm_libdir='@CMAKE_INSTALL_LIBDIR@'
compiler='@CMAKE_CXX_COMPILER@'
toolchain='@CMAKE_TOOLCHAIN_FILE@'
linker_flags='@CMAKE_EXE_LINKER_FLAGS@'
emulator='@emulator@'
]])

include(CPack)
