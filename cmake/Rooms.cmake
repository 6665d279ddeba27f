# Libraries of the folders of the program and of the benchmarks. A library may link exactly what its folder
# may include: cmake/rooms.txt.
set(includes_table ${PROJECT_SOURCE_DIR}/cmake/rooms.txt)
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${includes_table})

# Sets `result` to the library of a folder.
function(folder_library folder result)
    if(folder MATCHES "^hostapi")
        set(library qzflstorageprovider)
    else()
        string(REPLACE "/" "_" library "qzstorage_${folder}")
    endif()
    set(${result} ${library} PARENT_SCOPE)
endfunction()

# Declares the library of the calling folder with all its sources, and links it by the table.
#   LIBRARIES          other libraries that its headers use
#   PRIVATE_LIBRARIES  other libraries
#   OPTIONAL_SOURCES   not added; the caller adds them if their dependencies are found
function(add_folder_library)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "LIBRARIES;PRIVATE_LIBRARIES;OPTIONAL_SOURCES")
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    file(STRINGS ${includes_table} row REGEX "^${folder}:")
    if(NOT row)
        message(FATAL_ERROR "${includes_table}: no row for ${folder}")
    endif()
    string(REGEX REPLACE "^[^:]*: *" "" allowed "${row}")
    string(REPLACE " " ";" allowed "${allowed}")
    if(allowed STREQUAL "*")
        file(STRINGS ${includes_table} allowed REGEX "^host/")
        list(TRANSFORM allowed REPLACE ":.*" "")
    endif()

    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    list(TRANSFORM arg_OPTIONAL_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/main.cpp ${arg_OPTIONAL_SOURCES})
    folder_library(${folder} library)
    add_library(${library} STATIC ${sources})
    target_include_directories(${library} PUBLIC ${PROJECT_SOURCE_DIR})
    foreach(other ${allowed})
        folder_library(${other} other_library)
        target_link_libraries(${library} PUBLIC ${other_library})
    endforeach()
    target_link_libraries(${library}
        PUBLIC ${arg_LIBRARIES}
        PRIVATE ${arg_PRIVATE_LIBRARIES} qzstorage_compiler_settings qzstorage_fuzzing)
endfunction()
