// Documents from any bytes. The text in one piece and in pieces of the length that the first byte gives must
// say the same. What was read is written, and must read as the same tree, but for white space that stands
// alone.
#include "fuzz/require.h"
#include "xml/document_factory.h"
#include "xml/parser.h"
#include "xml/reader_writer.h"
#include <tessel/base/error.h>
#include <tessel/base/utf8.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>
#include <tessel/object/manager.h>

#include <string>
#include <string_view>

using Xml::NodeType;

namespace {

struct PiecesStream : Face<StringReadingStream> {
    PiecesStream(std::u16string_view whole, std::size_t pieceUnits) : left(whole), units(pieceUnits) { }

    WideString Read() override
    {
        const std::u16string_view piece = left.substr(0, units);
        left.remove_prefix(piece.size());
        return WideString(piece.data(), piece.data() + piece.size());
    }

    std::u16string_view left;
    std::size_t units;
};

// ---- What was read, as a text: the tree without blank texts, or the failure

void Tell(const FacePtr<Xml::Node>& node, std::u16string& told)
{
    const std::u16string value = node->GetValue().c_str();
    const NodeType type = node->GetType();
    if (type == NodeType::Text && value.find_first_not_of(u" \t\r\n") == value.npos)
        return;
    told += static_cast<char16_t>(type);
    told += value + u'\0';
    if (const FacePtr<Xml::Element> element = node.TryCast<Xml::Element>())
        for (const WideString& name : element->GetAttributeNames())
            told += std::u16string(u"@") + name.c_str() + u'\0' + element->GetAttribute(name).c_str() + u'\0';
    if (const FacePtr<Xml::ParentNode> parent = node.TryCast<Xml::ParentNode>())
        for (const FacePtr<Xml::Node>& child : parent->GetChildren())
            Tell(child, told);
    told += u'\1';
}

struct Outcome {
    FacePtr<Xml::Document> document;
    std::u16string told;
};

template <class Read>
Outcome OutcomeOf(Read read)
{
    Outcome outcome;
    try {
        outcome.document = read();
        Tell(outcome.document, outcome.told);
    } catch (const Error& error) {
        outcome.told = error.GetLayerText(0).c_str();
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* input, std::size_t size)
{
    static const FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    static const auto documents = MakeFace<Impl<Xml::DocumentFactory, Module>>();
    static const auto readerWriter = MakeFace<Impl<Xml::ReaderWriterFactory, Module>>();
    [[maybe_unused]] static const bool added = (manager->AddFactory(documents), true);
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(input) + 1, size - 1);
    const std::u16string text = StringFromUtf8(std::string(bytes).c_str()).c_str();
    const auto read = [](const std::u16string& whole) {
        return OutcomeOf([&] { return readerWriter->Read(whole.c_str()); });
    };
    const Outcome whole = read(text);
    const std::size_t units = input[0] % 64 + 1;
    const auto pieces = MakeFace<Impl<PiecesStream, Module>>(text, units);
    Require(OutcomeOf([&] { return Xml::Parse(*pieces); }).told == whole.told);
    if (whole.document)
        Require(read(readerWriter->Write(whole.document).c_str()).told == whole.told);
    return 0;
}
