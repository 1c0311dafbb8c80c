# Documents.
find_package(LibXml2 REQUIRED)
find_package(pugixml REQUIRED)
find_package(Qt5 REQUIRED COMPONENTS Xml)
find_package(tinyxml2 REQUIRED)
find_package(XercesC REQUIRED)
tessel_bench(xml xml_bench SOURCES xml_bench.cpp
    LINK tessel::tessel LibXml2::LibXml2 pugixml::pugixml Qt5::Xml tinyxml2::tinyxml2 XercesC::XercesC)
