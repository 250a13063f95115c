# Delay-load import libraries: a DLL named in one is loaded when the program first calls into it, not at start.
# Usage: lvbho_delay_import(<target name> <DLL name> <def file> [DEPENDS <target>]) makes an INTERFACE library
# <target name> that links the delay-load library dlltool builds from the .def file for the DLL of that name. A .def
# file that a target writes as it links names that target after DEPENDS instead: the build has no rule of its own
# for such a file, only for the target.
string(REGEX REPLACE "g\\+\\+(-posix)?$" "dlltool" LVBHO_DLLTOOL_GUESS "${CMAKE_CXX_COMPILER}")
find_program(LVBHO_DLLTOOL NAMES ${LVBHO_DLLTOOL_GUESS} x86_64-w64-mingw32-dlltool REQUIRED)

function(lvbho_delay_import name dll def)
    cmake_parse_arguments(PARSE_ARGV 3 ARG "" "" "DEPENDS")
    get_filename_component(stem ${def} NAME_WE)
    set(lib ${CMAKE_CURRENT_BINARY_DIR}/lib${stem}.delay.a)
    set(inputs ${def})
    if(ARG_DEPENDS)
        set(inputs ${ARG_DEPENDS})
    endif()
    # dlltool names the library's symbols after its output path: a relative one keeps the build reproducible in
    # any folder.
    add_custom_command(OUTPUT ${lib}
        COMMAND ${LVBHO_DLLTOOL} --input-def ${def} --output-delaylib lib${stem}.delay.a --dllname ${dll}
        WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
        DEPENDS ${inputs}
        VERBATIM)
    add_custom_target(${name}_lib DEPENDS ${lib})
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${lib})
    add_dependencies(${name} ${name}_lib)
endfunction()
