# The session of the user, with a message bus of the benchmark's own.
tessel_bench(win32 session_bench SOURCES session_bench.cpp LINK tessel::tessel tessel::module ${CMAKE_DL_LIBS})
