# Installs the bridge library, its two default platform libraries, the public headers, a CMake
# package (find_package(cpd_joystick) -> cpd_joystick::cpd_joystick) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS cpd_joystick cpd_joystick_log cpd_joystick_store
  EXPORT cpd_joystickTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/cpd_joystick DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(CPD_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/cpd_joystick)
install(EXPORT cpd_joystickTargets NAMESPACE cpd_joystick:: DESTINATION ${CPD_CMAKE_DIR})
configure_package_config_file(cmake/cpd_joystickConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/cpd_joystickConfig.cmake INSTALL_DESTINATION ${CPD_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/cpd_joystickConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/cpd_joystickConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/cpd_joystickConfigVersion.cmake
        DESTINATION ${CPD_CMAKE_DIR})

# The .pc file finds its prefix relative to itself, so the package can be moved.
file(RELATIVE_PATH CPD_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/cpd_joystick.pc.in ${CMAKE_CURRENT_BINARY_DIR}/cpd_joystick.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/cpd_joystick.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
