# What `cmake --install` puts where, and the Debian package. The program looks for its table and the manual in ../data beside
# the folder of the executable, for the legal documents in ../share/tessaly/licenses, for libraries of
# its own in ../lib, and for the probe beside itself: the tree runs from below any prefix.

# The legal documents of what has been linked, in the same place relative to the program in the build tree.
set(licenses_dir "${CMAKE_BINARY_DIR}/share/tessaly/licenses")
find_package(Python3 3.9 COMPONENTS Interpreter)
find_program(DPKG_QUERY dpkg-query)
if(Python3_FOUND AND DPKG_QUERY)
    set(notices_script "${CMAKE_SOURCE_DIR}/scripts/third_party_notices.py")
    file(GLOB agreement CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/licenses/*.md")
    add_custom_command(OUTPUT "${CMAKE_BINARY_DIR}/licenses.stamp"
        COMMAND Python3::Interpreter "${notices_script}" --agreement "${CMAKE_SOURCE_DIR}/licenses"
            --output "${licenses_dir}" --qwt-source "${QWT_SOURCE_DIR}" $<TARGET_FILE:tessaly> $<TARGET_FILE:tessaly_codecs>
        COMMAND ${CMAKE_COMMAND} -E touch "${CMAKE_BINARY_DIR}/licenses.stamp"
        DEPENDS tessaly tessaly_codecs "${notices_script}" ${agreement}
        COMMENT "Collecting the notices of third-party libraries"
        VERBATIM)
    add_custom_target(licenses ALL DEPENDS "${CMAKE_BINARY_DIR}/licenses.stamp")
endif()

# Everything that is installed. Tests and tools need not be built for a package.
add_custom_target(packaged DEPENDS tessaly tessaly_batch_program tessaly_probe tessaly_codecs manual)
if(TARGET licenses)
    add_dependencies(packaged licenses)
endif()

set(program_dir lib/tessaly)
install(TARGETS tessaly tessaly_batch_program tessaly_probe RUNTIME DESTINATION ${program_dir}/bin)
install(TARGETS tessaly_codecs tessaly_ondemand LIBRARY DESTINATION ${program_dir}/lib)
install(FILES "${CMAKE_SOURCE_DIR}/data/LUT_LE_2D_FEM.txt" "${CMAKE_BINARY_DIR}/data/tessaly.qch"
    DESTINATION ${program_dir}/data)
install(DIRECTORY "${licenses_dir}" DESTINATION ${program_dir}/share/tessaly OPTIONAL)
install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    foreach(program tessaly tessaly_batch)
        file(CREATE_LINK ../lib/tessaly/bin/\${program}
            \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/\${program}\" SYMBOLIC)
    endforeach()
")

# For many files on one machine or a cluster.
install(DIRECTORY "${CMAKE_SOURCE_DIR}/workflow" DESTINATION ${CMAKE_INSTALL_DATADIR}/tessaly USE_SOURCE_PERMISSIONS)

# Entries for the desktop.
set(TESSALY_APP_ID org.tessaly.Tessaly)
set(packaging_dir "${CMAKE_SOURCE_DIR}/packaging")
install(FILES "${packaging_dir}/${TESSALY_APP_ID}.desktop" DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES "${packaging_dir}/${TESSALY_APP_ID}.metainfo.xml" DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES "${packaging_dir}/tessaly-mime.xml" DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES "${CMAKE_SOURCE_DIR}/resources/artwork/emblem.svg"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps RENAME ${TESSALY_APP_ID}.svg)
install(FILES "${CMAKE_SOURCE_DIR}/resources/Logo_Orvane_rgb_randlos_keinText.png"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/512x512/apps RENAME ${TESSALY_APP_ID}.png)
# Measurements get the program's emblem, too.
install(FILES "${CMAKE_SOURCE_DIR}/resources/artwork/emblem.svg"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/mimetypes RENAME application-x-vqd.svg)

# Papers, compressed without a time so that the same source gives the same package.
find_program(GZIP_PROGRAM gzip)
if(GZIP_PROGRAM)
    function(tessaly_compressed source name destination)
        set(packed "${CMAKE_BINARY_DIR}/packaging/${name}")
        file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/packaging")
        add_custom_command(OUTPUT "${packed}"
            COMMAND sh -c "exec \"$0\" -9nc \"$1\" > \"$2\"" "${GZIP_PROGRAM}" "${source}" "${packed}"
            DEPENDS "${source}" VERBATIM)
        string(MAKE_C_IDENTIFIER "papers_${name}" target)
        add_custom_target(${target} ALL DEPENDS "${packed}")
        add_dependencies(packaged ${target})
        install(FILES "${packed}" DESTINATION ${destination})
    endfunction()
    tessaly_compressed("${packaging_dir}/tessaly.1" tessaly.1.gz ${CMAKE_INSTALL_MANDIR}/man1)
    tessaly_compressed("${packaging_dir}/tessaly_batch.1" tessaly_batch.1.gz ${CMAKE_INSTALL_MANDIR}/man1)
    tessaly_compressed("${packaging_dir}/changelog" changelog.gz ${CMAKE_INSTALL_DATADIR}/doc/tessaly)
endif()
install(FILES "${packaging_dir}/copyright" DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tessaly)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessaly)
set(CPACK_PACKAGE_VENDOR "Tessaly developers")
set(CPACK_PACKAGE_CONTACT "Tessaly developers <support@tessaly.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "analysis of deformability cytometry measurements")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Tessaly opens the measurement files (.vqd) of a deformability cytometer
and shows every cell as a dot, with its camera image and fluorescence
traces beside it. It filters by ranges and polygons, computes Young's
moduli and fluorescence features, compares groups of measurements
statistically, and exports figures, tables, image galleries and videos.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Loaded at run time, so that no tool finds them: the database behind the manual, and the fast linear algebra.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6sql6-sqlite, libopenblas0")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, xdg-utils, qt6-wayland")
include(CPack)
