# What `cmake --install` puts where, in three components: library (shared libraries), dev (what a client is
# built with) and tool.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers
    PelkoChatTarget.h
    PelkoMedia.h
    PelkoMessage.h
    PelkoNotify.h
    classes/platform/DefaultPlatform.h
    classes/platform/Export.h
    classes/platform/FileUtil.h
    classes/platform/Log.h
    classes/platform/LoginContext.h
    classes/platform/StringFormatUtil.h
    classes/sqlite/CppSQLite3.h
    classes/sqlite/DatabaseKey.h
    classes/storage/PelkoDBManager.h
    classes/storage/PelkoSession.h
    classes/storage/PelkoTypes.h)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/pelko-storage)
foreach(header IN LISTS headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${header_folder}/${folder} COMPONENT dev)
endforeach()

# How a client finds the SQLite that the store is linked to.
set(libraries pelko_storage pelko_platform)
set(sqlite_find "")      # for CMake
set(sqlite_requires "")  # for pkg-config
set(sqlite_libs "")
if(PELKO_SQLITE STREQUAL "system")
    set(sqlite_find "find_dependency(SQLite3 ${pelko_sqlite_minimum})")
    set(sqlite_requires "sqlite3 >= ${pelko_sqlite_minimum}")
elseif(PELKO_SQLITE STREQUAL "sqlcipher")
    set(sqlite_find "list(APPEND CMAKE_MODULE_PATH \${CMAKE_CURRENT_LIST_DIR})\nfind_dependency(SQLCipher)")
    set(sqlite_requires "sqlcipher")
elseif(NOT BUILD_SHARED_LIBS)
    # It is an archive of ours. A shared store holds it, and shows nothing of it. A client that also uses SQLite
    # itself uses this copy, by its header.
    list(APPEND libraries pelko_sqlite3)
    install(FILES "${PELKO_SQLITE}/sqlite3.h" DESTINATION ${header_folder} COMPONENT dev)
    set_target_properties(pelko_sqlite3 PROPERTIES EXPORT_NAME sqlite)
    set(sqlite_find "find_dependency(Threads)")
    set(sqlite_libs "-lpelko_sqlite3 -lpthread -lm")
    if(PELKO_SQLITE_ENCRYPTS)
        string(APPEND sqlite_find "\nfind_dependency(OpenSSL)")
        string(APPEND sqlite_libs " -lcrypto")
    endif()
endif()
set_target_properties(pelko_storage PROPERTIES EXPORT_NAME storage)
set_target_properties(pelko_platform PROPERTIES EXPORT_NAME platform)
install(TARGETS ${libraries} EXPORT PelkoStorageTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
    INCLUDES DESTINATION ${header_folder})

# For find_package.
set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/PelkoStorage)
install(EXPORT PelkoStorageTargets NAMESPACE pelko:: DESTINATION ${cmake_folder} COMPONENT dev)
configure_package_config_file(cmake/PelkoStorageConfig.cmake.in PelkoStorageConfig.cmake
    INSTALL_DESTINATION ${cmake_folder})
# Until version 1 the second number says what fits together.
write_basic_package_version_file(PelkoStorageConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PelkoStorageConfig.cmake
              ${PROJECT_BINARY_DIR}/PelkoStorageConfigVersion.cmake cmake/FindSQLCipher.cmake
    DESTINATION ${cmake_folder} COMPONENT dev)

# For pkg-config. The folders are told from where the file lies, so that what is installed can be moved.
file(RELATIVE_PATH prefix_from_here /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_here ${prefix_from_here})
foreach(package IN ITEMS pelko-storage pelko-platform)
    configure_file(cmake/${package}.pc.in ${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT dev)
endforeach()

# The tool writes its man page and its completions itself.
if(PELKO_BUILD_TOOL)
    set(pages ${PROJECT_BINARY_DIR}/pages)
    file(MAKE_DIRECTORY ${pages})
    # By its path: built for another machine that this one runs without an emulator, its name is not replaced.
    set(run ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:pelko>)
    add_custom_command(OUTPUT ${pages}/pelko.1 ${pages}/pelko ${pages}/_pelko
        COMMAND ${run} manual >${pages}/pelko.1
        COMMAND ${run} completion bash >${pages}/pelko
        COMMAND ${run} completion zsh >${pages}/_pelko
        DEPENDS pelko)
    add_custom_target(pelko_pages ALL DEPENDS ${pages}/pelko.1)
    install(TARGETS pelko RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    install(FILES ${pages}/pelko.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${pages}/pelko DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT tool)
    install(FILES ${pages}/_pelko DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tool)
endif()
