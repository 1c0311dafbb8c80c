# What every target built here is compiled with, and the three kinds of targets that the rooms are made of.

set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(tessel_options INTERFACE)
target_compile_features(tessel_options INTERFACE cxx_std_20)
target_compile_options(tessel_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wundef -Wcast-qual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(tessel_options INTERFACE -fno-gnu-unique)
endif()
if(TESSEL_SEAMS)
    target_compile_definitions(tessel_options INTERFACE TESSEL_SEAMS)
endif()
if(TESSEL_SANITIZE)
    target_compile_options(tessel_options INTERFACE
        -fsanitize=${TESSEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O1)
    target_link_options(tessel_options INTERFACE -fsanitize=${TESSEL_SANITIZE})
endif()

# tessel_room(name [DEPENDS rooms...] SOURCES files...)
# A room of the library: objects that only library/ puts together, so that each room sees only the ones it stands on.
function(tessel_room name)
    cmake_parse_arguments(PARSE_ARGV 1 room "" "" "DEPENDS;SOURCES")
    add_library(tessel_${name} OBJECT ${room_SOURCES})
    set_target_properties(tessel_${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(tessel_${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(tessel_${name} PRIVATE tessel_options)
    foreach(below IN LISTS room_DEPENDS)
        target_include_directories(tessel_${name} PUBLIC
            $<TARGET_PROPERTY:tessel_${below},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    if(NOT name STREQUAL "platform")
        target_include_directories(tessel_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include)
    endif()
endfunction()

# tessel_test(name SOURCES files... [LINK targets...] [LABELS labels...])
# A GoogleTest program; every test of it becomes one of CTest's. The label "concurrent" puts it under ThreadSanitizer.
function(tessel_test name)
    cmake_parse_arguments(PARSE_ARGV 1 test "" "" "SOURCES;LINK;LABELS")
    add_executable(${name} ${test_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE tessel_options ${test_LINK} GTest::gtest GTest::gtest_main)
    gtest_discover_tests(${name} PROPERTIES LABELS "${test_LABELS}" TIMEOUT 300 DISCOVERY_TIMEOUT 60)
endfunction()
