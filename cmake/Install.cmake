# Installs the libraries, their public headers, a CMake package config and a
# pkg-config file, so that a host builds with either
#   find_package(kvsubstance) + target_link_libraries(app kvsubstance::kvsubstance)
# or
#   c++ host.cpp $(pkg-config --cflags --libs kvsubstance)
# and includes headers by path: #include <material/Substance.h>.
include(CMakePackageConfigHelpers)

set(KV_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/kvsubstance)
set(KV_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The libraries find each other next to themselves wherever they are
# installed, and the programs defined after this point (the tools) find them
# from the bin folder.
set_target_properties(kvhost kvsubstance PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET kvengine)
    set_target_properties(kvengine PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
file(RELATIVE_PATH KV_BIN_TO_LIB "/root/${CMAKE_INSTALL_BINDIR}" "/root/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN/${KV_BIN_TO_LIB}")
install(TARGETS kvhost kvsubstance
        EXPORT kvsubstanceTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The engine behind the library's C interface; exported because the material
# library links it.
# kv_source_root comes along as an empty interface: its include path exists
# only in the build tree.
if(TARGET kvengine)
    install(TARGETS kvengine kv_source_root EXPORT kvsubstanceTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

# Public headers keep their folders; internal/ folders stay private.
foreach(layer material bridge framework platform)
    install(DIRECTORY ${KV_SOURCE_ROOT}/${layer}/
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvsubstance/${layer}
            FILES_MATCHING PATTERN "*.h"
            PATTERN "internal" EXCLUDE)
endforeach()
# The one engine header a host may include: why the engine refused a call.
install(FILES ${KV_SOURCE_ROOT}/engine/api/FailureReason.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvsubstance/engine/api)

install(EXPORT kvsubstanceTargets NAMESPACE kvsubstance:: DESTINATION ${KV_INSTALL_CMAKEDIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/kvsubstanceConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/kvsubstanceConfig.cmake
                              INSTALL_DESTINATION ${KV_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvsubstanceConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kvsubstanceConfig.cmake ${PROJECT_BINARY_DIR}/kvsubstanceConfigVersion.cmake
        DESTINATION ${KV_INSTALL_CMAKEDIR})

# The .pc file locates the prefix from its own place, so that it stays right
# when the install prefix is chosen at install time (cmake --install --prefix).
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(KV_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH KV_PC_UP "/root/${KV_INSTALL_PKGCONFIGDIR}" "/root")
    string(REGEX REPLACE "/$" "" KV_PC_UP "${KV_PC_UP}")
    set(KV_PC_PREFIX "\${pcfiledir}/${KV_PC_UP}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/kvsubstance.pc.in ${PROJECT_BINARY_DIR}/kvsubstance.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvsubstance.pc DESTINATION ${KV_INSTALL_PKGCONFIGDIR})
