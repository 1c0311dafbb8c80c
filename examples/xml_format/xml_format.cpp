// xml_format FILE [TARGET]
// Puts an XML file into the one layout that the library writes: to the terminal, or into another file, which
// may be the same one. Nothing is written if the file cannot be read; the failure names line and column.
#include <tessel/base/utf8.h>
#include <tessel/tessel.h>

#include <cstdlib>
#include <exception>
#include <iostream>

namespace {

void Format(const char* source, const char* target)
{
    const FacePtr<Xml::Reader> reader(Xml::readerClass);
    const FacePtr<Xml::Writer> writer(Xml::writerClass);
    const FacePtr<Xml::Document> document = reader->ReadFile(StringFromUtf8(source));
    if (target != nullptr) {
        writer->WriteFile(document, StringFromUtf8(target));
        return;
    }
    const Binary text = StringToUtf8(writer->Write(document));
    std::cout.write(reinterpret_cast<const char*>(text.GetData()), text.GetSize() - 1) << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: xml_format FILE [TARGET]\n";
        return EXIT_FAILURE;
    }
    try {
        TesselInitialize();
        Format(argv[1], argc == 3 ? argv[2] : nullptr);
    } catch (const Error& error) {
        const Binary text = StringToUtf8(error.Format());
        std::cerr << argv[1] << ": " << reinterpret_cast<const char*>(text.GetData()) << '\n';
        return EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << argv[1] << ": " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
