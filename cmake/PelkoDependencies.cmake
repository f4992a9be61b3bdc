# Finds a package, or stops with the name of the Debian package that brings it.
# A macro, so that what find_package sets is seen by the caller.
macro(pelko_find name debian_package)
    find_package(${name} ${ARGN} QUIET)
    if(NOT ${name}_FOUND)
        message(FATAL_ERROR "${name} was not found. On Debian or Ubuntu install it with: "
                            "apt-get install ${debian_package} (or run script/bootstrap, which installs "
                            "all that is missing).")
    endif()
endmacro()
