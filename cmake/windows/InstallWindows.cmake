# SPDX-License-Identifier: MIT
# What a Windows developer unpacks and uses: beside the module the host replacements, the demo host, the
# tools, and the libraries that they need at run time.
set(sdk "${QUILLON_WINDOWS_SDK}")

install(TARGETS bspatch RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(QUILLON_BUILD_DEMO)
    install(TARGETS corvina-demo RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(QUILLON_BUILD_TOOLS)
    install(TARGETS quillon-publish RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
    install(PROGRAMS "${sdk}/bin/bsdiff.exe" DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

install(PROGRAMS
    "${sdk}/bin/Qt5Concurrent.dll"
    "${sdk}/bin/Qt5Core.dll"
    "${sdk}/bin/Qt5Gui.dll"
    "${sdk}/bin/Qt5Network.dll"
    "${sdk}/bin/Qt5Widgets.dll"
    "${sdk}/bin/Qt5Xml.dll"
    # Qt's own libraries want these of the compiler's.
    "${sdk}/bin/libgcc_s_seh-1.dll"
    "${sdk}/bin/libstdc++-6.dll"
    "${sdk}/bin/libwinpthread-1.dll"
    DESTINATION "${CMAKE_INSTALL_BINDIR}"
)
install(PROGRAMS "${sdk}/plugins/platforms/qwindows.dll"
    DESTINATION "${CMAKE_INSTALL_BINDIR}/platforms"
)
install(PROGRAMS "${sdk}/plugins/styles/qwindowsvistastyle.dll"
    DESTINATION "${CMAKE_INSTALL_BINDIR}/styles"
)
install(DIRECTORY "${sdk}/licences" DESTINATION .)
install(FILES
    docs/windows.md docs/publishing.md docs/trust.md README.md CHANGELOG.md LICENSE SECURITY.md
    DESTINATION .
)
