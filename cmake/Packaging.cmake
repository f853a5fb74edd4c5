# What `cmake --install` puts where. The program looks for its table in ../data beside the folder of the executable,
# and for the probe beside itself.

install(TARGETS tessaly tessaly_probe RUNTIME DESTINATION lib/tessaly/bin)
install(DIRECTORY "${CMAKE_SOURCE_DIR}/data/" DESTINATION lib/tessaly/data)
install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK ../lib/tessaly/bin/tessaly \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/tessaly\" SYMBOLIC)
")

# Entries for the desktop.
set(TESSALY_APP_ID org.tessaly.Tessaly)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/${TESSALY_APP_ID}.desktop"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/${TESSALY_APP_ID}.metainfo.xml"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/tessaly-mime.xml"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/tessaly.1"
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES "${CMAKE_SOURCE_DIR}/resources/artwork/emblem.svg"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps RENAME ${TESSALY_APP_ID}.svg)
install(FILES "${CMAKE_SOURCE_DIR}/resources/Logo_Orvane_rgb_randlos_keinText.png"
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/512x512/apps RENAME ${TESSALY_APP_ID}.png)
