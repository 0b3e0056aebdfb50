# A layer of the house: a library whose public include directory holds nothing but its own folders.
#
# Sources include headers by their path from the root ("platform/base/Ptr.h"). The root itself is on
# nobody's include path: each layer gets a directory in the build tree with links to its folders
# only, and exports that one. So a source can include what the layers it links offer, and nothing
# of the layers above it.
#
#   layer_headers(TARGET FOLDER...)
function(layer_headers target)
    set(view "${CMAKE_BINARY_DIR}/layers/${target}")
    foreach(folder IN LISTS ARGN)
        get_filename_component(parent "${view}/${folder}" DIRECTORY)
        file(MAKE_DIRECTORY "${parent}")
        if(NOT EXISTS "${view}/${folder}")
            file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${folder}" "${view}/${folder}" SYMBOLIC)
        endif()
    endforeach()
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "INTERFACE_LIBRARY")
        set(scope INTERFACE)  # of headers only
    else()
        set(scope PUBLIC)
    endif()
    target_include_directories(${target} ${scope} "$<BUILD_INTERFACE:${view}>")
endfunction()

# layer_sources(OUT FOLDER...): every .cpp of the folders.
function(layer_sources out)
    set(found "")
    foreach(folder IN LISTS ARGN)
        file(GLOB files CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${folder}/*.cpp")
        list(APPEND found ${files})
    endforeach()
    set(${out} "${found}" PARENT_SCOPE)
endfunction()
