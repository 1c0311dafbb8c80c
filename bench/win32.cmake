# The session of the user, with a message bus of the benchmark's own.
tessel_bench(win32 session_bench SOURCES session_bench.cpp LINK tessel::tessel tessel::module ${CMAKE_DL_LIBS})

# Message queues, inside the library: a window has no other owner.
get_property(rooms GLOBAL PROPERTY TESSEL_ROOMS)
tessel_bench(win32 message_bench
    SOURCES message_bench.cpp
        ${PROJECT_SOURCE_DIR}/library/classes.cpp ${PROJECT_SOURCE_DIR}/library/entry.cpp
        ${PROJECT_SOURCE_DIR}/library/module.cpp ${PROJECT_SOURCE_DIR}/module/module.cpp
    LINK ${rooms})
target_compile_options(message_bench PRIVATE -fvisibility=hidden) # as the rooms themselves
