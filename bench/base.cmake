# Text. What the library keeps to itself is linked as objects.
find_package(Qt5 REQUIRED COMPONENTS Core)
find_package(ICU REQUIRED COMPONENTS uc)
tessel_bench(base utf_bench SOURCES utf_bench.cpp LINK tessel_platform Qt5::Core ICU::uc)
tessel_bench(base printf_bench SOURCES printf_bench.cpp LINK tessel_platform)
tessel_bench(base string_bench SOURCES string_bench.cpp LINK tessel::tessel)
