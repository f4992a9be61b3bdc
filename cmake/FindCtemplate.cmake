# Finds the template engine ctemplate, which brings no CMake package. Makes the target Ctemplate::ctemplate.
find_path(Ctemplate_INCLUDE_DIR ctemplate/template.h)
# The variant without locks first: one thread uses it here.
find_library(Ctemplate_LIBRARY NAMES ctemplate_nothreads ctemplate)
mark_as_advanced(Ctemplate_INCLUDE_DIR Ctemplate_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Ctemplate REQUIRED_VARS Ctemplate_LIBRARY Ctemplate_INCLUDE_DIR)

if(Ctemplate_FOUND AND NOT TARGET Ctemplate::ctemplate)
    # It needs the threads library without saying so where it is linked statically.
    find_package(Threads REQUIRED)
    add_library(Ctemplate::ctemplate UNKNOWN IMPORTED)
    set_target_properties(Ctemplate::ctemplate PROPERTIES
        IMPORTED_LOCATION "${Ctemplate_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Ctemplate_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES Threads::Threads)
endif()
