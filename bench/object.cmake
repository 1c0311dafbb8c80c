# The object system. The start is measured in processes of their own, in a folder of a thousand modules.
find_package(PkgConfig REQUIRED)
pkg_check_modules(gio REQUIRED IMPORTED_TARGET gio-2.0)
pkg_check_modules(gobject REQUIRED IMPORTED_TARGET gobject-2.0)

tessel_add_module(many start/many.cpp)
target_compile_options(many PRIVATE -g0) # a thousand copies are made of it
set_target_properties(many PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench/start)
add_executable(start_run start/start_run.cpp)
target_link_libraries(start_run PRIVATE tessel::tessel tessel_options PkgConfig::gio)
set_target_properties(start_run PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench/start)

tessel_bench(object object_bench SOURCES object_bench.cpp
    LINK tessel::tessel tessel::module PkgConfig::gobject)
tessel_bench(object start_bench SOURCES start/start_bench.cpp)
add_dependencies(start_bench many start_run)
target_compile_definitions(start_bench PRIVATE
    TESSEL_LIBRARY="$<TARGET_FILE:tessel>" TESSEL_SONAME="$<TARGET_SONAME_FILE_NAME:tessel>"
    TESSEL_MANY="$<TARGET_FILE:many>" TESSEL_START_RUN="$<TARGET_FILE:start_run>")
