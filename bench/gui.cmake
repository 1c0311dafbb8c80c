# Message queues, inside the library: nothing that it exports posts a message.
get_property(rooms GLOBAL PROPERTY TESSEL_ROOMS)
tessel_bench(gui gui_bench
    SOURCES gui_bench.cpp
        ${PROJECT_SOURCE_DIR}/library/classes.cpp ${PROJECT_SOURCE_DIR}/library/entry.cpp
        ${PROJECT_SOURCE_DIR}/library/module.cpp ${PROJECT_SOURCE_DIR}/module/module.cpp
    LINK ${rooms})
target_compile_options(gui_bench PRIVATE -fvisibility=hidden) # as the rooms themselves
