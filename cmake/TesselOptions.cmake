# What every target built here is compiled with, and the kinds of targets that the rooms are made of.

set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(tessel_options INTERFACE)
target_compile_features(tessel_options INTERFACE cxx_std_20)
# What another module offers is called through its address, for all is bound at once.
target_compile_options(tessel_options INTERFACE -fno-plt -Wall -Wextra -Wpedantic -Wshadow -Wundef -Wcast-qual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(tessel_options INTERFACE -fno-gnu-unique)
endif()
if(TESSEL_SEAMS)
    target_compile_definitions(tessel_options INTERFACE TESSEL_SEAMS)
endif()

# Everything below, client modules too.
if(TESSEL_SANITIZE)
    add_compile_options(-fsanitize=${TESSEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O1)
    add_link_options(-fsanitize=${TESSEL_SANITIZE})
endif()
# ThreadSanitizer needs its fixed places in memory, which a kernel with many random bits gives to others.
if(TESSEL_SANITIZE MATCHES "thread" AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    find_program(TESSEL_SETARCH setarch)
    execute_process(COMMAND ${TESSEL_SETARCH} -R true RESULT_VARIABLE failure ERROR_QUIET)
    if(failure STREQUAL "0")
        set(CMAKE_CROSSCOMPILING_EMULATOR ${TESSEL_SETARCH} -R)
    endif()
endif()

# tessel_room(name [DEPENDS rooms...] SOURCES files...)
# A room of the library: objects that only library/ puts together, so that each room sees only the ones it stands on.
function(tessel_room name)
    cmake_parse_arguments(PARSE_ARGV 1 room "" "" "DEPENDS;SOURCES")
    add_library(tessel_${name} OBJECT ${room_SOURCES})
    set_property(GLOBAL APPEND PROPERTY TESSEL_ROOMS tessel_${name})
    set_target_properties(tessel_${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(tessel_${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(tessel_${name} PRIVATE tessel_options)
    # What is bound within the library may be inlined there, and its few thread-local bytes come with the process.
    target_compile_options(tessel_${name} PRIVATE -fno-semantic-interposition -ftls-model=initial-exec)
    foreach(below IN LISTS room_DEPENDS)
        target_include_directories(tessel_${name} PUBLIC
            $<TARGET_PROPERTY:tessel_${below},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    if(NOT name STREQUAL "platform")
        target_include_directories(tessel_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include)
    endif()
endfunction()

add_custom_target(concurrent_tests)

# tessel_test(name SOURCES files... [LINK targets...] [LABELS labels...])
# A GoogleTest program; every test of it becomes one of CTest's. The label "concurrent" puts it under ThreadSanitizer
# and makes it a part of concurrent_tests.
function(tessel_test name)
    cmake_parse_arguments(PARSE_ARGV 1 test "" "" "SOURCES;LINK;LABELS")
    add_executable(${name} ${test_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE tessel_options ${test_LINK} GTest::gtest GTest::gtest_main)
    set(properties TIMEOUT 300)
    if(test_LABELS)
        list(APPEND properties LABELS "${test_LABELS}")
    endif()
    gtest_discover_tests(${name} PROPERTIES ${properties} DISCOVERY_TIMEOUT 60)
    if("concurrent" IN_LIST test_LABELS)
        add_dependencies(concurrent_tests ${name})
    endif()
endfunction()
