# Installation: header, library, pkg-config file and a relocatable CMake
# package with the target morva::morva.
include(CMakePackageConfigHelpers)

install(TARGETS morva EXPORT morvaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT morvaTargets NAMESPACE morva:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morva)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/morvaConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/morvaConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morva)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/morvaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morvaConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/morvaConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/morva)

# The pkg-config file finds its prefix from its own place, so that an installed
# tree can move.
file(RELATIVE_PATH MORVA_PC_TO_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/morva.pc.in ${CMAKE_CURRENT_BINARY_DIR}/morva.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morva.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
