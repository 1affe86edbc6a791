# The installed headers are the roots below and every header they include,
# followed through `#include "..."` lines; nothing else in the tree is public.
# A root that starts to include an internal header stops the configure, so an
# internal name can never leak into the installed interface by accident.

# verda_public_headers(<out-var> ROOTS <header>... INTERNAL <header>...)
# Paths relative to the source root, as the headers include each other.
function(verda_public_headers out)
    cmake_parse_arguments(arg "" "" "ROOTS;INTERNAL" ${ARGN})
    set(pending ${arg_ROOTS})
    set(found)
    while(pending)
        list(POP_FRONT pending header)
        if(header IN_LIST found)
            continue()
        endif()
        if(header IN_LIST arg_INTERNAL)
            message(FATAL_ERROR "internal header ${header} is reached from a public one: "
                                "the installed headers must not include it")
        endif()
        set(path ${PROJECT_SOURCE_DIR}/${header})
        if(NOT EXISTS ${path})
            message(FATAL_ERROR "public header ${header} does not exist")
        endif()
        list(APPEND found ${header})
        # A new include in a public header changes the installed set.
        set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
        file(STRINGS ${path} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
        foreach(line IN LISTS lines)
            string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\".*" "\\1" included "${line}")
            list(APPEND pending ${included})
        endforeach()
    endwhile()
    list(SORT found)
    set(${out} ${found} PARENT_SCOPE)
endfunction()

# Every name declared in the public headers is exported from the shared
# object; everything else is hidden. The sources are compiled with hidden
# visibility and this prelude forced in first, so the public declarations are
# the first ones the compiler sees, with default visibility, and the
# definitions in the sources inherit it. No header carries an export macro.
function(verda_visibility_prelude out)
    set(text "// Generated: the public headers, declared with default visibility.\n")
    string(APPEND text "#pragma GCC visibility push(default)\n")
    foreach(header IN LISTS ARGN)
        string(APPEND text "#include \"${header}\"\n")
    endforeach()
    string(APPEND text "#pragma GCC visibility pop\n")
    file(CONFIGURE OUTPUT ${out} CONTENT "${text}")
endfunction()

# Compiles target's sources as the library's: position-independent, with
# hidden visibility and the prelude above forced in first, so that only the
# public declarations are exported from the shared object that links them.
function(verda_compile_as_library target)
    set_target_properties(${target} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden)
    target_compile_options(${target} PRIVATE -include ${VERDA_VISIBILITY_PRELUDE})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()
