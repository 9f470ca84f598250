# SPDX-License-Identifier: MIT
# The module as a CMake package: find_package(Quillon) gives Quillon::Quillon. The open host libraries come
# with it; a host that has its own puts them in their place when it links.
include(CMakePackageConfigHelpers)

install(TARGETS Quillon CommonLib CvCommonLib
    EXPORT QuillonTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
)
install(FILES
    api/QuillonExport.h
    api/QuillonInit.h
    api/UpdateInit.h
    api/UpdateMain.h
    api/UpdateTrust.h
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/Quillon/api"
)
install(DIRECTORY host/CommonLib host/CvCommonLib
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/Quillon/host"
    FILES_MATCHING PATTERN "*.h"
)
install(FILES host/HvUtilities/HvUtilities.h
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/Quillon/host/HvUtilities"
)
if(WIN32)
    # Looked for beside the host's program.
    install(TARGETS HvUtilities LIBRARY DESTINATION "${CMAKE_INSTALL_BINDIR}")
    install(FILES host/HvUtilities/Customization.xml DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(NOT WIN32)
    install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
endif()
install(EXPORT QuillonTargets
    NAMESPACE Quillon::
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/Quillon"
)
configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/QuillonConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/QuillonConfig.cmake"
    INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/Quillon"
)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QuillonConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion
)
install(FILES
    "${PROJECT_BINARY_DIR}/QuillonConfig.cmake"
    "${PROJECT_BINARY_DIR}/QuillonConfigVersion.cmake"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/Quillon"
)
