# The language of a thread.
tessel_bench(nls nls_bench SOURCES nls_bench.cpp LINK tessel::tessel tessel::module)
