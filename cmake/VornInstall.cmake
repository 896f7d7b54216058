# The files of `cmake --install`, in components:
#
#   runtime      the shared library
#   development  its headers, its CMake package, its pkg-config module, documents
#   tool         the command-line tool, its manual page and completion; see
#                tools/vorndb/CMakeLists.txt
#   checker      the checker, its manual page and completion; see
#                tools/vorncheck/CMakeLists.txt
#   stand_ins    the stubs of the platform's libraries, for a desktop; a
#                device has its own

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

foreach(directory LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${directory}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${directory} is '${CMAKE_INSTALL_${directory}}'; it must be "
      "relative to the prefix, since what is installed can be moved with it.")
  endif()
endforeach()

# The headers include each other by their bare names, and so do hosts.
set(vorn_includedir "${CMAKE_INSTALL_INCLUDEDIR}/vorndatabase")
set(vorn_cmakedir "${CMAKE_INSTALL_LIBDIR}/cmake/vorndatabase")
set(vorn_pkgconfigdir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS vorndatabase EXPORT vorndatabase
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime
  INCLUDES DESTINATION "${vorn_includedir}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" DESTINATION "${vorn_includedir}"
  COMPONENT development FILES_MATCHING PATTERN "*.h")

install(EXPORT vorndatabase NAMESPACE vorndatabase:: FILE vorndatabaseTargets.cmake
  DESTINATION "${vorn_cmakedir}" COMPONENT development)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/vorndatabaseConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/vorndatabaseConfig.cmake"
  INSTALL_DESTINATION "${vorn_cmakedir}"
  PATH_VARS CMAKE_INSTALL_LIBDIR
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
# Until 1.0, a minor version may break what the one before has promised.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/vorndatabaseConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/vorndatabaseConfig.cmake"
  "${PROJECT_BINARY_DIR}/vorndatabaseConfigVersion.cmake"
  DESTINATION "${vorn_cmakedir}" COMPONENT development)

# The module finds the prefix from where it lies itself.
string(REGEX REPLACE "[^/]+" ".." vorn_pkgconfigdir_to_prefix "${vorn_pkgconfigdir}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/vorndatabase.pc.in"
  "${PROJECT_BINARY_DIR}/vorndatabase.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vorndatabase.pc"
  DESTINATION "${vorn_pkgconfigdir}" COMPONENT development)

# vorn_install_completion(<program> <component>): its folder completion/ has a file for each shell.
function(vorn_install_completion program component)
  set(data "${CMAKE_INSTALL_DATADIR}")
  install(FILES completion/${program}.bash RENAME ${program}
    DESTINATION "${data}/bash-completion/completions" COMPONENT ${component})
  install(FILES completion/${program}.zsh RENAME _${program}
    DESTINATION "${data}/zsh/vendor-completions" COMPONENT ${component})
  install(FILES completion/${program}.fish
    DESTINATION "${data}/fish/vendor_completions.d" COMPONENT ${component})
endfunction()

# vorn_install_manual(<page> <component>): a page of the calling folder; packages have it
# compressed.
function(vorn_install_manual page component)
  if(VORN_PACKAGES)
    execute_process(COMMAND gzip --best --no-name --stdout "${CMAKE_CURRENT_SOURCE_DIR}/${page}"
      OUTPUT_FILE "${CMAKE_CURRENT_BINARY_DIR}/${page}.gz" COMMAND_ERROR_IS_FATAL ANY)
    set(page "${CMAKE_CURRENT_BINARY_DIR}/${page}.gz")
  endif()
  install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT ${component})
endfunction()

# In a host's project, this is the host's own folder.
if(PROJECT_IS_TOP_LEVEL)
  # The README and what it refers to.
  foreach(document README.md CHANGELOG.md CONTRIBUTING.md abi/README.md)
    get_filename_component(folder "${CMAKE_INSTALL_DOCDIR}/${document}" DIRECTORY)
    install(FILES "${PROJECT_SOURCE_DIR}/${document}" DESTINATION "${folder}"
      COMPONENT development)
  endforeach()
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    COMPONENT development FILES_MATCHING PATTERN "*.md" PATTERN "*.svg"
    PATTERN mainpage.md EXCLUDE PATTERN site EXCLUDE)
endif()

# Where a device has its own: hosts look for all of them in the same places. The library
# finds the stubs beside itself, but for packages, which install to the system's folders.
if(VORN_PLATFORM STREQUAL "development")
  if(NOT VORN_PACKAGES)
    set_target_properties(vorndatabase PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
  install(TARGETS dlog vornutil
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT stand_ins)
  install(FILES
    "${PROJECT_SOURCE_DIR}/platform/dlog/dlog.h"
    "${PROJECT_SOURCE_DIR}/platform/vornutil/VornLogger.h"
    "${PROJECT_SOURCE_DIR}/platform/vornutil/VornMutex.h"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT stand_ins)
endif()
