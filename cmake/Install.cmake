# Installs the engine headers, the host-framework library, the plug-in in its
# plug-ins folder and the demo, with a CMake package and a pkg-config file:
#   find_package(KeloOGL)  ->  KeloOGL::KeloOGL (headers + KeloHost),
#                              KELOOGL_PLUGIN_DIR (where libKeloOGL.so lives)
include(CMakePackageConfigHelpers)

set(KELO_INSTALL_PLUGIN_DIR ${CMAKE_INSTALL_LIBDIR}/kelo/plugins)
set(KELO_INSTALL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KeloOGL)

add_library(KeloOGLInterface INTERFACE)
target_link_libraries(KeloOGLInterface INTERFACE KeloHost)
set_target_properties(KeloOGLInterface PROPERTIES EXPORT_NAME KeloOGL)

install(DIRECTORY include/kelo DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS KeloHost KeloOGLInterface EXPORT KeloOGLTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS KeloOGL LIBRARY DESTINATION ${KELO_INSTALL_PLUGIN_DIR})
install(TARGETS kelo-demo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT KeloOGLTargets NAMESPACE KeloOGL:: DESTINATION ${KELO_INSTALL_CMAKE_DIR})

configure_package_config_file(cmake/KeloOGLConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KeloOGLConfig.cmake
  INSTALL_DESTINATION ${KELO_INSTALL_CMAKE_DIR}
  PATH_VARS KELO_INSTALL_PLUGIN_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KeloOGLConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KeloOGLConfig.cmake
  ${PROJECT_BINARY_DIR}/KeloOGLConfigVersion.cmake DESTINATION ${KELO_INSTALL_CMAKE_DIR})

# Relocatable: the prefix is found from where the .pc file lies.
file(RELATIVE_PATH KELO_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/keloogl.pc.in ${PROJECT_BINARY_DIR}/keloogl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/keloogl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
