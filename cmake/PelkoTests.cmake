include(GoogleTest)

# Compiles the sources of a program of tests a few at a time: most of compiling one is making the templates of
# the test framework again. So the names at file scope are to be unique within such a program, those in unnamed
# namespaces too.
function(pelko_compile_together target)
    if(DEFINED CMAKE_UNITY_BUILD)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 9)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # It takes what stands in an included file for a header.
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
endfunction()

# Registers the tests of a program with ctest: each under its own name or, with PELKO_GROUP_TESTS, all of them in
# so many processes.
function(pelko_register_tests target processes)
    if(NOT PELKO_GROUP_TESTS)
        gtest_discover_tests(${target} PROPERTIES TIMEOUT 600)
        return()
    endif()
    math(EXPR last "${processes} - 1")
    math(EXPR cost "1000 / ${processes}")  # where they are few, each is long, and starts early
    foreach(index RANGE ${last})
        add_test(NAME ${target}.${index} COMMAND ${target})
        set_tests_properties(${target}.${index} PROPERTIES TIMEOUT 1800 COST ${cost}
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${processes};GTEST_SHARD_INDEX=${index}")
    endforeach()
endfunction()
