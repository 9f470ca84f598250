# SPDX-License-Identifier: MIT
# A library in front of Qt that tells the thread sanitizer how Qt orders threads, for all that follows.
add_library(TsanQt SHARED "${PROJECT_SOURCE_DIR}/tests/sanitizers/TsanQt.cpp")
set_target_properties(TsanQt PROPERTIES AUTOMOC OFF CXX_VISIBILITY_PRESET default)
target_link_libraries(TsanQt PRIVATE Qt5::Core ${CMAKE_DL_LIBS})
install(TARGETS TsanQt EXPORT QuillonTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
link_libraries(TsanQt)

# With this sanitizer, GCC 12 takes the end of an optional that was never set for one of unset texts.
set_source_files_properties(update/plan/ManifestHandler.cpp PROPERTIES
    COMPILE_OPTIONS -Wno-maybe-uninitialized
)
