# Threads and waits. Names between processes are reached through the platform layer, which the library hides.
tessel_bench(mt mt_bench SOURCES mt_bench.cpp LINK tessel::tessel tessel::module)
tessel_bench(mt named_bench SOURCES named_bench.cpp LINK tessel_platform)
