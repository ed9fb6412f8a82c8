# SPDX-License-Identifier: Apache-2.0
# Installs the build into PREFIX and checks that a desktop finds Quillo's pieces there.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                RESULT_VARIABLE failed OUTPUT_QUIET)
if(failed)
    message(FATAL_ERROR "cmake --install failed")
endif()
foreach(path
        bin/quillo bin/quillo-server bin/quillo-tool
        share/applications/app.quillo.mac.desktop
        share/metainfo/app.quillo.mac.metainfo.xml
        share/icons/hicolor/scalable/apps/app.quillo.mac.svg
        share/icons/hicolor/16x16/apps/app.quillo.mac.png
        share/icons/hicolor/48x48/apps/app.quillo.mac.png
        share/icons/hicolor/512x512/apps/app.quillo.mac.png)
    if(NOT EXISTS ${PREFIX}/${path})
        message(FATAL_ERROR "not installed: ${path}")
    endif()
endforeach()
file(GLOB units ${PREFIX}/lib*/systemd/user/*.service)
list(LENGTH units count)
if(NOT count EQUAL 2)
    message(FATAL_ERROR "expected the two systemd user units, found: ${units}")
endif()
file(REMOVE_RECURSE ${PREFIX})
