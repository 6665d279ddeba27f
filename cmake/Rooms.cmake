# Libraries of the program's folders. What one may be linked with is what its folder may include: cmake/rooms.txt.
set(rooms_table ${PROJECT_SOURCE_DIR}/cmake/rooms.txt)
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${rooms_table})

# Sets `result` to the library of a folder.
function(room_library folder result)
    if(folder MATCHES "^hostapi")
        set(library qzflstorageprovider)
    else()
        string(REGEX REPLACE "^host" "qzstorage_host" library ${folder})
        string(REPLACE "/" "_" library ${library})
    endif()
    set(${result} ${library} PARENT_SCOPE)
endfunction()

# Declares the library of the folder that this is called in, with all sources there, and links it by the table.
#   LIBRARIES          others that its headers show
#   PRIVATE_LIBRARIES  others
function(add_room)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "LIBRARIES;PRIVATE_LIBRARIES")
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    file(STRINGS ${rooms_table} row REGEX "^${folder}:")
    string(REGEX REPLACE "^[^:]*: *" "" allowed "${row}")
    if(NOT allowed)
        message(FATAL_ERROR "${rooms_table}: no row of ${folder}")
    endif()
    string(REPLACE " " ";" allowed "${allowed}")
    if(allowed STREQUAL "*")
        file(STRINGS ${rooms_table} allowed REGEX "^host/")
        list(TRANSFORM allowed REPLACE ":.*" "")
    endif()

    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/main.cpp)
    room_library(${folder} library)
    add_library(${library} STATIC ${sources})
    foreach(other ${allowed})
        room_library(${other} other_library)
        target_link_libraries(${library} PUBLIC ${other_library})
    endforeach()
    target_link_libraries(${library}
        PUBLIC ${arg_LIBRARIES}
        PRIVATE ${arg_PRIVATE_LIBRARIES} qzstorage_compiler_settings qzstorage_fuzzing)
endfunction()
