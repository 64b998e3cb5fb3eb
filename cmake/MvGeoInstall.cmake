# What `cmake --install` puts where, and the package that find_package(MvGeoThirdparty) finds afterwards.

include(CMakePackageConfigHelpers)
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/MvGeoThirdparty")

# The SDK goes along if this build makes it. One that was found elsewhere stays there, and whoever uses the package
# defines mvgeo::hostsdk as this build did.
set(to_install MvGeoThirdparty)
get_target_property(host_sdk mvgeo::hostsdk ALIASED_TARGET)
get_target_property(host_sdk_is_imported mvgeo::hostsdk IMPORTED)
if(host_sdk AND NOT host_sdk_is_imported)
    set_target_properties(${host_sdk} PROPERTIES EXPORT_NAME hostsdk)
    list(APPEND to_install ${host_sdk})
endif()

install(TARGETS ${to_install} EXPORT MvGeoThirdpartyTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/mvgeothirdparty" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    FILES_MATCHING PATTERN "*.h")
if(host_sdk STREQUAL "mvgeo_hostsdk")
    install(DIRECTORY "${MVGEO_HOST_SDK}/include/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/mvgeohostsdk"
        FILES_MATCHING PATTERN "*.h")
endif()

install(EXPORT MvGeoThirdpartyTargets NAMESPACE mvgeo:: DESTINATION "${package_folder}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/MvGeoThirdpartyConfig.cmake.in"
    "${CMAKE_CURRENT_BINARY_DIR}/MvGeoThirdpartyConfig.cmake"
    INSTALL_DESTINATION "${package_folder}" NO_SET_AND_CHECK_MACRO)
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/MvGeoThirdpartyConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/MvGeoThirdpartyConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/MvGeoThirdpartyConfigVersion.cmake"
    DESTINATION "${package_folder}")
