# What `cmake --install` gives: headers, the library in a folder of its own, which is where it looks for modules,
# what modules are linked with, the `tessel` command, and the package that find_package(tessel) reads.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/tessel)

install(TARGETS tessel tessel_module tessel_tool EXPORT tessel
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tessel
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/tessel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT tessel NAMESPACE tessel:: FILE tesselTargets.cmake DESTINATION ${package_folder})
install(FILES cmake/TesselModule.cmake cmake/module.map DESTINATION ${package_folder})

configure_package_config_file(cmake/tesselConfig.cmake.in tesselConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(tesselConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tesselConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/tesselConfigVersion.cmake
    DESTINATION ${package_folder})
