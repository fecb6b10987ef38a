# What ships: `cmake --install BUILD --prefix FOLDER` lays it out (with --component driver, without debug symbols), and
# the target package makes a zip of it. scripts/package does so from a clean build, whose bytes anybody can make again.
install(FILES $<TARGET_FILE:r5lqz_ui> ${R5LQZ_HELP_FILES} DESTINATION . COMPONENT driver)
configure_file(${CMAKE_SOURCE_DIR}/package/INSTALL.txt ${CMAKE_BINARY_DIR}/package/INSTALL.txt @ONLY NEWLINE_STYLE DOS)
install(FILES ${CMAKE_BINARY_DIR}/package/INSTALL.txt DESTINATION . COMPONENT driver)
# Whoever passes on the module passes on cJSON, and its licence asks to come along.
if(EXISTS ${R5LQZ_CJSON}/cjson/LICENSE)
  install(FILES ${R5LQZ_CJSON}/cjson/LICENSE DESTINATION licenses RENAME cJSON.txt COMPONENT driver)
endif()
# So does that of the tool chain's C runtime, whose start-up code and functions are part of every DLL that it makes.
find_file(R5LQZ_RUNTIME_LICENCE copyright PATHS /usr/share/doc/mingw-w64-x86-64-dev NO_DEFAULT_PATH
  NO_CMAKE_FIND_ROOT_PATH DOC "The licences of the C runtime, to go with the package")
if(R5LQZ_RUNTIME_LICENCE)
  install(FILES ${R5LQZ_RUNTIME_LICENCE} DESTINATION licenses RENAME MinGW-w64-runtime.txt COMPONENT driver)
endif()
install(FILES $<TARGET_FILE:r5lqz_ui>.debug DESTINATION symbols COMPONENT symbols OPTIONAL)

find_program(R5LQZ_ZIP zip DOC "Makes the package (Debian: zip)")
if(NOT R5LQZ_ZIP OR NOT TARGET r5lqz_help)
  message(STATUS "zip or the help files are missing: there is no target package")
  return()
endif()
set(package ${CMAKE_BINARY_DIR}/r5-lqz-ui-${PROJECT_VERSION}.zip)
add_custom_target(package
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${CMAKE_BINARY_DIR}/package/files
  COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --prefix ${CMAKE_BINARY_DIR}/package/files
  COMMAND ${CMAKE_COMMAND} -E env ZIP_PROGRAM=${R5LQZ_ZIP}
    ${R5LQZ_BASH} ${CMAKE_SOURCE_DIR}/package/make-zip ${CMAKE_BINARY_DIR}/package/files ${package}
  COMMENT "Packing ${package}"
  VERBATIM)
add_dependencies(package r5lqz_ui r5lqz_help)
