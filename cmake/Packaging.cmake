# What `cmake --install` puts where. The program looks for its table in ../data beside the folder of the executable.

install(TARGETS tessaly RUNTIME DESTINATION ${CMAKE_INSTALL_PREFIX}/lib/tessaly/bin)
install(DIRECTORY "${CMAKE_SOURCE_DIR}/data/" DESTINATION ${CMAKE_INSTALL_PREFIX}/lib/tessaly/data)
install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK ../lib/tessaly/bin/tessaly \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/tessaly\" SYMBOLIC)
")
