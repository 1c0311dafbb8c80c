# The two functions for those who build on tessel, in its own tree and from an installed copy alike.

# tessel_add_module(name sources...)
# A client module: a shared object NAME.dll that the library finds, loads, and can really unload again. After the
# link the file is checked for what would pin it in memory, and the build fails if there is something.
function(tessel_add_module name)
    set(map ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/module.map)
    add_library(${name} MODULE ${ARGN})
    set_target_properties(${name} PROPERTIES
        PREFIX "" SUFFIX ".dll" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        INSTALL_RPATH "$ORIGIN" LINK_DEPENDS ${map})
    target_link_libraries(${name} PRIVATE tessel::module tessel::tessel)
    # Unique symbols would pin the module in memory for ever; and all is bound at once, so that nothing is called
    # by way of a stub.
    target_compile_options(${name} PRIVATE -fno-plt $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
    if(NOT TESSEL_SANITIZE AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "-fsanitize|-fprofile|-finstrument")
        target_compile_definitions(${name} PRIVATE
            $<$<AND:$<CXX_COMPILER_ID:Clang>,$<CONFIG:Release,RelWithDebInfo>>:TESSEL_OPTIMISED_TAIL>)
    endif()
    # Nothing is bound late or left undefined, and nothing leaves but the two names that the library asks for.
    target_link_options(${name} PRIVATE
        -Wl,-z,now -Wl,-z,defs -Wl,-u,Module_GetStaticList -Wl,-u,Module_IsUnlocked
        -Wl,--version-script=${map})
    if(NOT CMAKE_CROSSCOMPILING)
        add_custom_command(TARGET ${name} POST_BUILD
            COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:tessel::tool> check $<TARGET_FILE:${name}>
            VERBATIM)
        add_dependencies(${name} tessel::tool)
    endif()
    set_property(GLOBAL APPEND PROPERTY TESSEL_MODULES ${name})
endfunction()

# tessel_product_folder(folder targets...)
# Puts hosts and modules of the build tree into a folder of their own, beside a link to the library. A host that
# runs there loads the library through the link, and so finds the modules of that folder and no others.
function(tessel_product_folder folder)
    foreach(target IN LISTS ARGN)
        set_target_properties(${target} PROPERTIES
            RUNTIME_OUTPUT_DIRECTORY ${folder} LIBRARY_OUTPUT_DIRECTORY ${folder})
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "EXECUTABLE")
            set_target_properties(${target} PROPERTIES BUILD_RPATH "$ORIGIN")
            add_custom_command(TARGET ${target} POST_BUILD
                COMMAND ${CMAKE_COMMAND} -E create_symlink
                    $<TARGET_FILE:tessel::tessel> ${folder}/$<TARGET_SONAME_FILE_NAME:tessel::tessel>
                VERBATIM)
        endif()
    endforeach()
endfunction()
