# Archives, bags and the registry.
find_package(Boost REQUIRED COMPONENTS serialization)
find_package(nlohmann_json REQUIRED)
find_package(Qt5 REQUIRED COMPONENTS Core)
find_package(SQLite3 REQUIRED)
tessel_bench(data data_bench SOURCES data_bench.cpp
    LINK tessel::tessel Boost::serialization nlohmann_json::nlohmann_json Qt5::Core SQLite::SQLite3)
tessel_bench(data registry_bench SOURCES registry_bench.cpp LINK tessel_platform SQLite::SQLite3)
