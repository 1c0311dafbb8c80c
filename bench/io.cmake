# Files, folders and paths.
tessel_bench(io io_bench SOURCES io_bench.cpp LINK tessel::tessel)
