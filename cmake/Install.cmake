# What `cmake --install` and CPack put where. Three components, which are three Debian packages:
#   runtime   the platform layer and the component
#   dev       headers, CMake package, pkg-config file
#   program   the command-line host with its manual pages and completions, the Python module
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Headers include each other as "tallowbrook/..." and "platform/...", so they have a folder of
# their own.
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/tallowbrook-${PROJECT_VERSION_MAJOR})
set(TALLOWBROOK_PYTHON_FOLDER "" CACHE STRING
    "Where the Python module is installed, below the prefix; else where an interpreter looks there")
# Debian's interpreter and shell look under /usr in other folders than under /usr/local. The prefix is
# known when it is installed.
install(CODE "set(python \"${TALLOWBROOK_PYTHON_FOLDER}\")" COMPONENT program)
install(CODE [[
  foreach(interpreter python3 /usr/bin/python3)
    if(NOT python)
      execute_process(
        COMMAND ${interpreter} -c "import sys; root = sys.argv[1] + '/'; print(next((
          one[len(root):] for one in sys.path
          if one.startswith(root + 'lib') and one.endswith('-packages')), ''))"
          ${CMAKE_INSTALL_PREFIX}
        OUTPUT_VARIABLE python OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
  endforeach()
  if(NOT python)
    set(python lib/python3/dist-packages)
  endif()
  set(zsh site-functions)
  if(CMAKE_INSTALL_PREFIX MATCHES "/usr$")
    set(zsh vendor-completions)
  endif()]] COMPONENT program)

# --- libraries -----------------------------------------------------------------------------------

set_target_properties(tallowbrook-platform PROPERTIES VERSION ${PROJECT_VERSION}
                                                      SOVERSION ${PROJECT_VERSION_MAJOR})
target_include_directories(tallowbrook-platform INTERFACE $<INSTALL_INTERFACE:${headers}>)
set_target_properties(tallowbrook-platform PROPERTIES EXPORT_NAME platform)
# Hosts load the component by its name while they run; nobody links with it.
set_target_properties(tallowbrook PROPERTIES INSTALL_RPATH "$ORIGIN" NO_SONAME ON)

install(TARGETS tallowbrook-platform EXPORT tallowbrook
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev)
install(TARGETS tallowbrook LIBRARY COMPONENT runtime NAMELINK_SKIP)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtallowbrook1
        COMPONENT runtime RENAME copyright)

# --- for C++ hosts -------------------------------------------------------------------------------

install(DIRECTORY include/tallowbrook platform DESTINATION ${headers} COMPONENT dev
        FILES_MATCHING PATTERN "*.h")
install(EXPORT tallowbrook NAMESPACE Tallowbrook:: FILE TallowbrookTargets.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tallowbrook COMPONENT dev)
configure_package_config_file(
  cmake/TallowbrookConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/TallowbrookConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tallowbrook
  PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TallowbrookConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TallowbrookConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TallowbrookConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tallowbrook COMPONENT dev)
file(RELATIVE_PATH prefix_of_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/tallowbrook.pc.in ${CMAKE_CURRENT_BINARY_DIR}/tallowbrook.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tallowbrook.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtallowbrook-dev COMPONENT dev RENAME copyright)

# --- the program ---------------------------------------------------------------------------------

if(TARGET tallowbrook-cli)
  set_target_properties(tallowbrook-cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS tallowbrook-cli RUNTIME COMPONENT program)
  # The program writes its manual pages and completions itself.
  set(pages ${CMAKE_CURRENT_BINARY_DIR}/self)
  add_custom_command(
    OUTPUT ${pages}/man1/tallowbrook.1
    COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:tallowbrook-cli> -DFOLDER=${pages}
            -P ${PROJECT_SOURCE_DIR}/cmake/DescribeProgram.cmake
    DEPENDS tallowbrook-cli ${PROJECT_SOURCE_DIR}/cmake/DescribeProgram.cmake
    COMMENT "Writing manual pages and completions")
  add_custom_target(tallowbrook-manual ALL DEPENDS ${pages}/man1/tallowbrook.1)
  install(DIRECTORY ${pages}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT program)
  install(FILES ${pages}/tallowbrook.bash COMPONENT program RENAME tallowbrook
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${pages}/_tallowbrook COMPONENT program
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/\${zsh})
endif()
if(EXISTS ${PROJECT_SOURCE_DIR}/python/tallowbrook)
  install(DIRECTORY python/tallowbrook DESTINATION \${python} COMPONENT program
          FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed")
endif()
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program
        RENAME copyright)
install(DIRECTORY docs samples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program
        FILES_MATCHING PATTERN "*.md" PATTERN "*.eml" PATTERN "*.py" PATTERN "*.cc"
        PATTERN explorer EXCLUDE)

# --- Debian packages -----------------------------------------------------------------------------

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The Tallowbrook developers <tallowbrook@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Loads, edits, writes and sends Internet mail")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev program)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtallowbrook1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The mail component and its platform layer")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtallowbrook-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libtallowbrook1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers, CMake package and pkg-config file for C++ hosts")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME tallowbrook)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libtallowbrook1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "python3 (>= 3.9)")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/postinst
                                               ${PROJECT_SOURCE_DIR}/cmake/debian/prerm)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "Command-line host and Python binding")
# Dependencies on our own libraries are given above; their folder is where they are looked up.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
include(CPack)
