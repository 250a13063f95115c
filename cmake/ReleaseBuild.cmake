# The release build behind `make dist` (preset mingw-dist). Everything is compiled with full debug information,
# which scripts/make-dist splits off into symbol files; and no path of the machine that built it stays in the
# binaries or their symbols, so that two builds of one commit are byte-identical wherever they ran. The PE
# timestamps are the last commit's time: scripts/make-dist passes it as LVBHO_SOURCE_DATE_EPOCH, and every link
# runs with SOURCE_DATE_EPOCH set to it (GNU ld reads it). Being part of the link command, a new value relinks.
option(LVBHO_RELEASE_BUILD "Build the shipped binaries with debug information and no build paths" OFF)
set(LVBHO_SOURCE_DATE_EPOCH "" CACHE STRING "The PE timestamp of a release build (seconds since 1970)")

function(lvbho_release_build_flags)
    if(NOT LVBHO_RELEASE_BUILD)
        return()
    endif()
    if(NOT LVBHO_SOURCE_DATE_EPOCH MATCHES "^[0-9]+$")
        message(FATAL_ERROR "A release build needs LVBHO_SOURCE_DATE_EPOCH (scripts/make-dist sets it)")
    endif()
    foreach(lang C CXX)
        set(CMAKE_${lang}_LINKER_LAUNCHER ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=${LVBHO_SOURCE_DATE_EPOCH}
            PARENT_SCOPE)
    endforeach()
    # GCC tries the last map first: the build folder may lie inside the source folder.
    add_compile_options(-g -ffile-prefix-map=${PROJECT_SOURCE_DIR}=/lvbho/src
                        -ffile-prefix-map=${PROJECT_BINARY_DIR}=/lvbho/build)
    if(jsoncpp_DIR)
        # The mingw build of jsoncpp lives in a per-user cache (lib/cmake/jsoncpp below its prefix).
        get_filename_component(jsoncpp_prefix "${jsoncpp_DIR}/../../.." ABSOLUTE)
        add_compile_options(-ffile-prefix-map=${jsoncpp_prefix}=/lvbho/jsoncpp)
    endif()
endfunction()
