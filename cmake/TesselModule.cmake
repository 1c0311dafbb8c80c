# tessel_add_module(name sources...)
# A client module: a shared object NAME.dll that the library finds, loads, and can really unload again.
function(tessel_add_module name)
    add_library(${name} MODULE ${ARGN})
    set_target_properties(${name} PROPERTIES
        PREFIX "" SUFFIX ".dll" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    target_link_libraries(${name} PRIVATE tessel::module tessel::tessel)
    # Unique symbols would pin the module in memory for ever.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
    if(NOT TESSEL_SANITIZE AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "-fsanitize|-fprofile|-finstrument")
        target_compile_definitions(${name} PRIVATE
            $<$<AND:$<CXX_COMPILER_ID:Clang>,$<CONFIG:Release,RelWithDebInfo>>:TESSEL_OPTIMISED_TAIL>)
    endif()
    # Nothing is bound late or left undefined, and nothing leaves but the two names that the library asks for.
    target_link_options(${name} PRIVATE
        -Wl,-z,now -Wl,-z,defs -Wl,-u,Module_GetStaticList
        -Wl,--version-script=${TESSEL_MODULE_MAP})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${TESSEL_MODULE_MAP})
endfunction()

set(TESSEL_MODULE_MAP ${CMAKE_CURRENT_LIST_DIR}/module.map)
