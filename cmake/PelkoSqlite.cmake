# Which SQLite the store links, as PELKO_SQLITE says. Makes pelko::sqlite of it; PELKO_SQLITE_ENCRYPTS tells
# whether it is SQLCipher.
set(PELKO_SQLITE system CACHE STRING
    "The SQLite to link: system, sqlcipher, or the full path of a folder with sqlite3.c and sqlite3.h")
set_property(CACHE PELKO_SQLITE PROPERTY STRINGS system sqlcipher)
set(PELKO_SQLITE_ENCRYPTS OFF)

# From 3.31 on a connection can refuse to trust the schema of its file.
set(pelko_sqlite_minimum 3.31)

if(PELKO_SQLITE STREQUAL "system")
    if(NOT TARGET SQLite::SQLite3)
        pelko_find(SQLite3 libsqlite3-dev ${pelko_sqlite_minimum})
        # Seen by a project that adds this folder, since its targets link SQLite through the store.
        set_target_properties(SQLite::SQLite3 PROPERTIES IMPORTED_GLOBAL TRUE)
    endif()
    set(pelko_sqlite_target SQLite::SQLite3)

elseif(PELKO_SQLITE STREQUAL "sqlcipher")
    find_package(SQLCipher ${pelko_sqlite_minimum} QUIET)
    if(NOT SQLCipher_FOUND AND SQLCipher_LIBRARY AND SQLCipher_VERSION)
        message(FATAL_ERROR
            "SQLCipher in ${SQLCipher_INCLUDE_DIR}/sqlcipher is made of SQLite ${SQLCipher_VERSION}, and the "
            "store needs ${pelko_sqlite_minimum}: SQLCipher 4.4 or newer, which Debian has from 13 on. Install "
            "one and point CMAKE_PREFIX_PATH to it, or set PELKO_SQLITE to the folder of its amalgamation.")
    endif()
    pelko_find(SQLCipher libsqlcipher-dev ${pelko_sqlite_minimum})
    set_target_properties(SQLCipher::SQLCipher PROPERTIES IMPORTED_GLOBAL TRUE)
    set(pelko_sqlite_target SQLCipher::SQLCipher)
    set(PELKO_SQLITE_ENCRYPTS ON)

elseif(IS_ABSOLUTE "${PELKO_SQLITE}")
    foreach(file IN ITEMS sqlite3.c sqlite3.h)
        if(NOT EXISTS "${PELKO_SQLITE}/${file}")
            message(FATAL_ERROR
                "PELKO_SQLITE is the folder ${PELKO_SQLITE}, and there is no ${file} in it. It must hold the "
                "amalgamation of SQLite or SQLCipher: sqlite3.c and sqlite3.h.")
        endif()
    endforeach()
    file(STRINGS "${PELKO_SQLITE}/sqlite3.h" pelko_sqlite_version REGEX "^#define SQLITE_VERSION +\""
         LIMIT_COUNT 1)
    string(REGEX REPLACE ".*\"(.*)\".*" "\\1" pelko_sqlite_version "${pelko_sqlite_version}")
    if(pelko_sqlite_version VERSION_LESS pelko_sqlite_minimum)
        message(FATAL_ERROR
            "The amalgamation in ${PELKO_SQLITE} is SQLite ${pelko_sqlite_version}, and the store needs "
            "${pelko_sqlite_minimum}. Set PELKO_SQLITE to the folder of a newer one.")
    endif()
    enable_language(C)
    find_package(Threads REQUIRED)
    add_library(pelko_sqlite3 STATIC "${PELKO_SQLITE}/sqlite3.c")
    target_include_directories(pelko_sqlite3 SYSTEM PUBLIC "$<BUILD_INTERFACE:${PELKO_SQLITE}>")
    target_link_libraries(pelko_sqlite3 PRIVATE Threads::Threads $<$<BOOL:${UNIX}>:m>)
    # Within a shared library of the client's it must not stand in the way of the system's SQLite.
    set_target_properties(pelko_sqlite3 PROPERTIES POSITION_INDEPENDENT_CODE ON C_VISIBILITY_PRESET hidden)
    target_compile_definitions(pelko_sqlite3 PRIVATE
        SQLITE_THREADSAFE=2         # the store's callers serialise: a connection needs no locks of its own
        SQLITE_DEFAULT_MEMSTATUS=0  # nobody asks how much memory is in use
        SQLITE_OMIT_LOAD_EXTENSION  # no code comes into the process by a statement
        $<$<BOOL:${UNIX}>:HAVE_USLEEP=1>)  # some versions wait for a lock by whole seconds without it
    if(CMAKE_C_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(pelko_sqlite3 PRIVATE -w)
    endif()

    file(STRINGS "${PELKO_SQLITE}/sqlite3.c" pelko_sqlcipher REGEX "^(static )?int sqlcipher_")
    if(pelko_sqlcipher)
        pelko_find(OpenSSL libssl-dev)
        target_link_libraries(pelko_sqlite3 PRIVATE OpenSSL::Crypto)
        target_compile_definitions(pelko_sqlite3
            PUBLIC SQLITE_HAS_CODEC
            PRIVATE SQLCIPHER_CRYPTO_OPENSSL
            SQLITE_TEMP_STORE=2)  # what is sorted on the way never reaches a file
        # Newer ones are made ready by SQLite's own start.
        if(pelko_sqlcipher MATCHES "sqlcipher_extra_init")
            target_compile_definitions(pelko_sqlite3 PRIVATE
                SQLITE_EXTRA_INIT=sqlcipher_extra_init SQLITE_EXTRA_SHUTDOWN=sqlcipher_extra_shutdown)
        endif()
        set(PELKO_SQLITE_ENCRYPTS ON)
    endif()
    set(pelko_sqlite_target pelko_sqlite3)

else()
    message(FATAL_ERROR
        "PELKO_SQLITE is '${PELKO_SQLITE}'. Set it to system, to sqlcipher, or to the full path of a folder "
        "with the amalgamation of SQLite or SQLCipher: sqlite3.c and sqlite3.h.")
endif()

# There is no alias of an alias, which a client's own SQLite::SQLite3 may be.
get_target_property(pelko_sqlite_original ${pelko_sqlite_target} ALIASED_TARGET)
if(pelko_sqlite_original)
    set(pelko_sqlite_target ${pelko_sqlite_original})
endif()
add_library(pelko::sqlite ALIAS ${pelko_sqlite_target})
