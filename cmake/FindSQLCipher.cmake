# Finds SQLCipher, an SQLite that encrypts its files and brings no CMake package. Makes SQLCipher::SQLCipher.
# SQLCipher_VERSION is the version of the SQLite that it is made of.
find_path(SQLCipher_INCLUDE_DIR sqlcipher/sqlite3.h)
find_library(SQLCipher_LIBRARY sqlcipher)
mark_as_advanced(SQLCipher_INCLUDE_DIR SQLCipher_LIBRARY)

if(SQLCipher_INCLUDE_DIR)
    file(STRINGS "${SQLCipher_INCLUDE_DIR}/sqlcipher/sqlite3.h" SQLCipher_VERSION
         REGEX "^#define SQLITE_VERSION +\"" LIMIT_COUNT 1)
    string(REGEX REPLACE ".*\"(.*)\".*" "\\1" SQLCipher_VERSION "${SQLCipher_VERSION}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(SQLCipher REQUIRED_VARS SQLCipher_LIBRARY SQLCipher_INCLUDE_DIR
                                  VERSION_VAR SQLCipher_VERSION)

if(SQLCipher_FOUND AND NOT TARGET SQLCipher::SQLCipher)
    add_library(SQLCipher::SQLCipher UNKNOWN IMPORTED)
    # Without the definition its header does not declare what takes the key.
    set_target_properties(SQLCipher::SQLCipher PROPERTIES
        IMPORTED_LOCATION "${SQLCipher_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${SQLCipher_INCLUDE_DIR}/sqlcipher"
        INTERFACE_COMPILE_DEFINITIONS SQLITE_HAS_CODEC)
endif()
