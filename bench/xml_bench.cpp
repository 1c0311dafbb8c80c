// XML documents beside pugixml, tinyxml2, libxml2, Xerces-C and QDomDocument.
//
//   BM_XmlParse/<case>/<side>    a UTF-8 file to a document, and its end
//   BM_XmlFree/<case>/<side>     the end alone; the side "parse" is ours from the file to the end
//   BM_XmlWrite/<case>/<side>    a document to a file
//   BM_XmlWalk/<case>/<side>     every child of every element, with its kind, and the names of elements
//   BM_XmlMemory/<case>/<side>   not a time: bytes of memory for each byte of the file, as the counter
//                                "ratio"; the side "file" is the file itself
//
// Cases are made from a fixed seed: "records" has many small elements, "attributes" eight of them an element,
// "prose" paragraphs of 300 to 1,500 letters with a reference now and then, "cjk" the same in three-byte
// characters, "deep" chains of 90 elements, "settings" 1 kB in all. Real documents are taken from where their
// packages put them, without their document type, which not every side reads; a missing one is left out.
#include <tessel/object/system.h>
#include <tessel/xml/reader.h>
#include <tessel/xml/writer.h>

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pugixml.hpp>
#include <QDomDocument>
#include <QFile>
#include <QTextStream>
#include <tinyxml2.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

// ---- What a document says, the same for every side: no blank text, sections as text

class Fingerprint {
public:
    void Begin(const std::string& name) { Mix('<', name); }
    void Attribute(const std::string& name, const std::string& value) { attributes[name] = value; }
    void EndAttributes()
    {
        for (const auto& [name, value] : attributes) {
            Mix('@', name);
            Mix('=', value);
        }
        attributes.clear();
    }
    void Text(const std::string& text)
    {
        if (text.find_first_not_of(" \t\r\n") != text.npos)
            Mix('t', text);
    }
    void Comment(const std::string& text) { Mix('!', text); }
    void End() { Mix('>', ""); }

    friend bool operator==(const Fingerprint&, const Fingerprint&) = default;

private:
    void Mix(char kind, const std::string& text)
    {
        hash = (hash ^ std::hash<std::string>()(kind + text)) * 0x9E3779B97F4A7C15;
        hash ^= hash >> 29;
        ++count;
    }

    std::map<std::string, std::string> attributes;
    std::size_t hash = 0;
    std::size_t count = 0;
};

std::string Utf8(const char16_t* text)
{
    return QString::fromUtf16(text).toStdString();
}

// ---- The sides: each parses a file, tells what it holds, writes it and walks it

struct Ours {
    static constexpr const char* name = "ours";
    using Document = FacePtr<Xml::Document>;

    static Document Parse(const std::string& path)
    {
        static const FacePtr<Xml::Reader> reader(Clsid{Xml::readerClass});
        return reader->ReadFile(WideString(path.c_str()));
    }
    static void Write(const Document& document, const std::string& path)
    {
        static const FacePtr<Xml::Writer> writer(Clsid{Xml::writerClass});
        writer->WriteFile(document, WideString(path.c_str()));
    }
    static void Tell(const Document& document, Fingerprint& told)
    {
        for (const FacePtr<Xml::Node>& child : document->GetChildren())
            TellNode(child, told);
    }
    static std::size_t Walk(const Document& document) { return WalkChildren(*document); }

private:
    static void TellNode(const FacePtr<Xml::Node>& node, Fingerprint& told)
    {
        const std::string value = Utf8(node->GetValue().c_str());
        if (node->GetType() == Xml::NodeType::Comment)
            return told.Comment(value);
        const FacePtr<Xml::Element> element = node.TryCast<Xml::Element>();
        if (!element)
            return told.Text(value);
        told.Begin(value);
        for (const WideString& attribute : element->GetAttributeNames())
            told.Attribute(Utf8(attribute.c_str()), Utf8(element->GetAttribute(attribute).c_str()));
        told.EndAttributes();
        for (const FacePtr<Xml::Node>& child : element->GetChildren())
            TellNode(child, told);
        told.End();
    }
    static std::size_t WalkChildren(Xml::ParentNode& parent)
    {
        std::size_t seen = 0;
        for (const FacePtr<Xml::Node>& child : parent.GetChildren()) {
            ++seen;
            if (child->GetType() != Xml::NodeType::Element)
                continue;
            seen += child->GetValue().c_str()[0] & 1;
            seen += WalkChildren(*child.TryCast<Xml::ParentNode>());
        }
        return seen;
    }
};

struct Pugi {
    static constexpr const char* name = "pugixml";
    using Document = std::unique_ptr<pugi::xml_document>;

    static Document Parse(const std::string& path)
    {
        auto document = std::make_unique<pugi::xml_document>();
        const auto result = document->load_file(
            path.c_str(), pugi::parse_default | pugi::parse_comments, pugi::encoding_utf8);
        return result ? std::move(document) : nullptr;
    }
    static void Write(const Document& document, const std::string& path)
    {
        document->save_file(path.c_str(), "  ", pugi::format_default, pugi::encoding_utf8);
    }
    static void Tell(const Document& document, Fingerprint& told)
    {
        for (const pugi::xml_node& child : document->children())
            TellNode(child, told);
    }
    static std::size_t Walk(const Document& document) { return WalkChildren(*document); }

private:
    static void TellNode(const pugi::xml_node& node, Fingerprint& told)
    {
        if (node.type() == pugi::node_comment)
            return told.Comment(node.value());
        if (node.type() != pugi::node_element)
            return told.Text(node.value());
        told.Begin(node.name());
        for (const pugi::xml_attribute& attribute : node.attributes())
            told.Attribute(attribute.name(), attribute.value());
        told.EndAttributes();
        for (const pugi::xml_node& child : node.children())
            TellNode(child, told);
        told.End();
    }
    static std::size_t WalkChildren(const pugi::xml_node& parent)
    {
        std::size_t seen = 0;
        for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
            ++seen;
            if (child.type() == pugi::node_element)
                seen += (child.name()[0] & 1) + WalkChildren(child);
        }
        return seen;
    }
};

struct Tiny {
    static constexpr const char* name = "tinyxml2";
    using Document = std::unique_ptr<tinyxml2::XMLDocument>;

    static Document Parse(const std::string& path)
    {
        auto document = std::make_unique<tinyxml2::XMLDocument>();
        return document->LoadFile(path.c_str()) == tinyxml2::XML_SUCCESS ? std::move(document) : nullptr;
    }
    static void Write(const Document& document, const std::string& path) { document->SaveFile(path.c_str()); }
    static void Tell(const Document& document, Fingerprint& told) { TellChildren(*document, told); }
    static std::size_t Walk(const Document& document) { return WalkChildren(*document); }

private:
    static void TellChildren(const tinyxml2::XMLNode& parent, Fingerprint& told)
    {
        for (const tinyxml2::XMLNode* child = parent.FirstChild(); child; child = child->NextSibling()) {
            if (child->ToComment())
                told.Comment(child->Value());
            else if (child->ToText())
                told.Text(child->Value());
            else if (const tinyxml2::XMLElement* const element = child->ToElement())
                TellElement(*element, told);
        }
    }
    static void TellElement(const tinyxml2::XMLElement& element, Fingerprint& told)
    {
        told.Begin(element.Name());
        for (const tinyxml2::XMLAttribute* at = element.FirstAttribute(); at; at = at->Next())
            told.Attribute(at->Name(), at->Value());
        told.EndAttributes();
        TellChildren(element, told);
        told.End();
    }
    static std::size_t WalkChildren(const tinyxml2::XMLNode& parent)
    {
        std::size_t seen = 0;
        for (const tinyxml2::XMLNode* child = parent.FirstChild(); child; child = child->NextSibling()) {
            ++seen;
            if (const tinyxml2::XMLElement* const element = child->ToElement())
                seen += (element->Name()[0] & 1) + WalkChildren(*element);
        }
        return seen;
    }
};

struct LibXml2 {
    static constexpr const char* name = "libxml2";
    struct End {
        void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    };
    using Document = std::unique_ptr<xmlDoc, End>;

    static Document Parse(const std::string& path)
    {
        return Document(
            xmlReadFile(path.c_str(), nullptr, XML_PARSE_HUGE | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT));
    }
    static void Write(const Document& document, const std::string& path)
    {
        xmlSaveFormatFileEnc(path.c_str(), document.get(), "UTF-8", 1);
    }
    static void Tell(const Document& document, Fingerprint& told) { TellSiblings(document->children, told); }
    static std::size_t Walk(const Document& document) { return WalkSiblings(document->children); }

private:
    static std::string String(const xmlChar* text) { return reinterpret_cast<const char*>(text); }
    static void TellSiblings(xmlNode* node, Fingerprint& told)
    {
        for (; node; node = node->next) {
            if (node->type == XML_COMMENT_NODE) {
                told.Comment(String(node->content));
            } else if (node->type != XML_ELEMENT_NODE) {
                told.Text(String(node->content));
            } else {
                const auto qualified = [](const xmlNs* space, const xmlChar* local) {
                    return (space && space->prefix ? String(space->prefix) + ":" : "") + String(local);
                };
                told.Begin(qualified(node->ns, node->name));
                for (const xmlNs* space = node->nsDef; space; space = space->next)
                    told.Attribute(
                        space->prefix ? "xmlns:" + String(space->prefix) : "xmlns", String(space->href));
                for (xmlAttr* at = node->properties; at; at = at->next) {
                    xmlChar* const value = xmlNodeListGetString(node->doc, at->children, 1);
                    told.Attribute(qualified(at->ns, at->name), value ? String(value) : "");
                    xmlFree(value);
                }
                told.EndAttributes();
                TellSiblings(node->children, told);
                told.End();
            }
        }
    }
    static std::size_t WalkSiblings(const xmlNode* node)
    {
        std::size_t seen = 0;
        for (; node; node = node->next) {
            ++seen;
            if (node->type == XML_ELEMENT_NODE)
                seen += (node->name[0] & 1) + WalkSiblings(node->children);
        }
        return seen;
    }
};

struct Xerces {
    static constexpr const char* name = "xerces";
    using Document = std::unique_ptr<xercesc::XercesDOMParser>;

    static Document Parse(const std::string& path)
    {
        auto parser = std::make_unique<xercesc::XercesDOMParser>();
        parser->setValidationScheme(xercesc::XercesDOMParser::Val_Never);
        parser->parse(path.c_str());
        return parser->getErrorCount() == 0 ? std::move(parser) : nullptr;
    }
    static void Tell(const Document& document, Fingerprint& told)
    {
        TellChildren(*document->getDocument(), told);
    }

private:
    static void TellChildren(const xercesc::DOMNode& parent, Fingerprint& told)
    {
        using xercesc::DOMNode;
        for (const DOMNode* child = parent.getFirstChild(); child; child = child->getNextSibling()) {
            if (child->getNodeType() == DOMNode::COMMENT_NODE) {
                told.Comment(Utf8(child->getNodeValue()));
            } else if (child->getNodeType() != DOMNode::ELEMENT_NODE) {
                told.Text(Utf8(child->getNodeValue()));
            } else {
                told.Begin(Utf8(child->getNodeName()));
                const xercesc::DOMNamedNodeMap& attributes = *child->getAttributes();
                for (XMLSize_t i = 0; i < attributes.getLength(); ++i)
                    told.Attribute(
                        Utf8(attributes.item(i)->getNodeName()), Utf8(attributes.item(i)->getNodeValue()));
                told.EndAttributes();
                TellChildren(*child, told);
                told.End();
            }
        }
    }
};

struct QDom {
    static constexpr const char* name = "qt";
    using Document = std::unique_ptr<QDomDocument>;

    static Document Parse(const std::string& path)
    {
        QFile file(path.c_str());
        file.open(QIODevice::ReadOnly);
        auto document = std::make_unique<QDomDocument>();
        return document->setContent(&file) ? std::move(document) : nullptr;
    }
    static void Write(const Document& document, const std::string& path)
    {
        QFile file(path.c_str());
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        QTextStream stream(&file);
        stream.setCodec("UTF-8");
        document->save(stream, 2);
    }
    static void Tell(const Document& document, Fingerprint& told) { TellChildren(*document, told); }
    static std::size_t Walk(const Document& document) { return WalkChildren(*document); }

private:
    static void TellChildren(const QDomNode& parent, Fingerprint& told)
    {
        for (QDomNode child = parent.firstChild(); !child.isNull(); child = child.nextSibling()) {
            if (child.isComment()) {
                told.Comment(child.nodeValue().toStdString());
            } else if (child.isText()) {
                told.Text(child.nodeValue().toStdString());
            } else if (child.isElement()) {
                told.Begin(child.nodeName().toStdString());
                const QDomNamedNodeMap attributes = child.attributes();
                for (int i = 0; i < attributes.size(); ++i)
                    told.Attribute(attributes.item(i).nodeName().toStdString(),
                        attributes.item(i).nodeValue().toStdString());
                told.EndAttributes();
                TellChildren(child, told);
                told.End();
            }
        }
    }
    static std::size_t WalkChildren(const QDomNode& parent)
    {
        std::size_t seen = 0;
        for (QDomNode child = parent.firstChild(); !child.isNull(); child = child.nextSibling()) {
            ++seen;
            if (child.isElement())
                seen += (child.nodeName()[0].unicode() & 1) + WalkChildren(child);
        }
        return seen;
    }
};

// ---- Cases

class Maker {
public:
    std::string Words(std::size_t letters)
    {
        std::string text;
        while (text.size() < letters) {
            for (unsigned left = 1 + random() % 9; left > 0; --left)
                text += "etaoinshrdlucmfwypvbgkqjxz"[random() % 26];
            text += ' ';
        }
        text.back() = '.';
        return text;
    }
    std::string Number(unsigned below) { return std::to_string(random() % below); }

    std::string Records()
    {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<records>\n";
        for (int i = 0; text.size() < 4 << 20; ++i)
            text += "  <record id=\"" + std::to_string(i) + "\">\n    <name>" + Words(12)
                + "</name>\n    <size>" + Number(100000) + "</size>\n    <kind>" + Number(9)
                + "</kind>\n    <empty/>\n  </record>\n";
        return text + "</records>\n";
    }
    std::string Attributes()
    {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<shapes>\n";
        while (text.size() < 4 << 20)
            text += "  <rect x=\"" + Number(2000) + "\" y=\"" + Number(2000) + "\" width=\"" + Number(200)
                + "\" height=\"" + Number(200) + "\" fill=\"#" + Number(999999) + "\" stroke=\"none\" id=\"r"
                + Number(1000000) + "\" class=\"" + Words(14) + "\"/>\n";
        return text + "</shapes>\n";
    }
    std::string Prose()
    {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<book>\n";
        while (text.size() < 4 << 20)
            text +=
                "<p>" + Words(300 + random() % 1200) + (random() % 4 == 0 ? " Q &amp; A." : "") + "</p>\n";
        return text + "</book>\n";
    }
    std::string Cjk()
    {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<book>\n";
        while (text.size() < 4 << 20) {
            text += "<p>";
            for (unsigned left = 200 + random() % 400; left > 0; --left)
                text += QString(QChar(static_cast<ushort>(0x4E00 + random() % 0x4000))).toStdString();
            text += "</p>\n";
        }
        return text + "</book>\n";
    }
    std::string Deep()
    {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<top>";
        while (text.size() < 1 << 20) {
            for (int i = 0; i < 90; ++i)
                text += "<level>";
            text += Words(10);
            for (int i = 0; i < 90; ++i)
                text += "</level>";
        }
        return text + "</top>\n";
    }
    std::string Settings()
    {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<settings>\n";
        while (text.size() < 1000)
            text += "  <setting name=\"" + Words(10) + "\">" + Number(100) + "</setting>\n";
        return text + "</settings>\n";
    }

private:
    std::mt19937 random{1};
};

// The text of a file without its document type; empty if there is no such file.
std::string WithoutDocumentType(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream whole;
    whole << file.rdbuf();
    std::string text = whole.str();
    const std::size_t begin = text.find("<!DOCTYPE");
    if (begin == text.npos)
        return text;
    const std::size_t inner = text.find_first_of("[>", begin);
    const std::size_t end = text[inner] == '[' ? text.find("]>", inner) + 2 : inner + 1;
    return text.erase(begin, end - begin);
}

// ---- Running

class Folder {
public:
    Folder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "xml_bench.XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path); }

    std::string PathOf(const std::string& name) const { return path / name; }

private:
    std::filesystem::path path;
};

struct Case {
    std::string name;
    std::string path;
    std::size_t bytes;
};

template <class Side>
Fingerprint FingerprintOf(const Case& tested)
{
    Fingerprint told;
    const auto document = Side::Parse(tested.path);
    if (!document) {
        std::fprintf(stderr, "xml_bench: %s does not read %s\n", Side::name, tested.name.c_str());
        std::abort();
    }
    Side::Tell(document, told);
    return told;
}

void RequireEqual(const Fingerprint& left, const Fingerprint& right, const char* side, const Case& tested)
{
    if (left == right)
        return;
    std::fprintf(stderr, "xml_bench: %s has another document of %s\n", side, tested.name.c_str());
    std::abort();
}

template <class Side>
void Parse(benchmark::State& state, const Case& tested)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Side::Parse(tested.path));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * tested.bytes));
}

template <class Side>
void Free(benchmark::State& state, const Case& tested)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto document = Side::Parse(tested.path);
        state.ResumeTiming();
        document = nullptr;
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * tested.bytes));
}

template <class Side>
void Write(benchmark::State& state, const Case& tested)
{
    const auto document = Side::Parse(tested.path);
    const std::string path = tested.path + ".written";
    for (auto _ : state)
        Side::Write(document, path);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * tested.bytes));
}

template <class Side>
void Walk(benchmark::State& state, const Case& tested)
{
    const auto document = Side::Parse(tested.path);
    std::size_t seen = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(seen = Side::Walk(document));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * seen));
}

std::size_t BytesInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

template <class Side>
void Memory(benchmark::State& state, const Case& tested)
{
    double ratio = 0;
    for (auto _ : state) {
        const std::size_t before = BytesInUse();
        const auto document = Side::Parse(tested.path);
        ratio = static_cast<double>(BytesInUse() - before) / static_cast<double>(tested.bytes);
        benchmark::DoNotOptimize(document);
    }
    state.counters["ratio"] = ratio;
}

template <class Side>
void Register(const Case& tested)
{
    // The document is the one that pugixml has, and what is written reads as the same again.
    const Fingerprint expected = FingerprintOf<Pugi>(tested);
    RequireEqual(FingerprintOf<Side>(tested), expected, Side::name, tested);
    const auto addAs = [&](const char* side, const char* figure,
                           void (*run)(benchmark::State&, const Case&)) {
        return benchmark::RegisterBenchmark(
            (std::string("BM_Xml") + figure + "/" + tested.name + "/" + side).c_str(),
            [run, tested](benchmark::State& state) { run(state, tested); });
    };
    const auto add = [&](const char* figure, void (*run)(benchmark::State&, const Case&)) {
        return addAs(Side::name, figure, run);
    };
    add("Parse", Parse<Side>);
    add("Memory", Memory<Side>)->Iterations(1);
    if constexpr (std::is_same_v<Side, Ours>) {
        addAs("parse", "Free", Parse<Side>)->Iterations(15);
        addAs("file", "Memory", [](benchmark::State& state, const Case&) {
            for (auto _ : state)
                state.counters["ratio"] = 1;
        })->Iterations(1);
    }
    if constexpr (requires { Side::Walk; }) {
        Case written = tested;
        written.path += ".written";
        Side::Write(Side::Parse(tested.path), written.path);
        RequireEqual(FingerprintOf<Pugi>(written), expected, Side::name, written);
        add("Free", Free<Side>)->Iterations(15); // each of which has to parse first
        add("Write", Write<Side>);
        add("Walk", Walk<Side>);
    }
}

void RegisterCase(const Folder& folder, const std::string& name, const std::string& text)
{
    const Case tested{name, folder.PathOf(name + ".xml"), text.size()};
    std::ofstream(tested.path, std::ios::binary) << text;
    Register<Ours>(tested);
    Register<Pugi>(tested);
    Register<Tiny>(tested);
    Register<LibXml2>(tested);
    Register<Xerces>(tested);
    Register<QDom>(tested);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    xercesc::XMLPlatformUtils::Initialize();
    TesselInitialize();
    const Folder folder;
    Maker maker;
    RegisterCase(folder, "records", maker.Records());
    RegisterCase(folder, "attributes", maker.Attributes());
    RegisterCase(folder, "prose", maker.Prose());
    RegisterCase(folder, "cjk", maker.Cjk());
    RegisterCase(folder, "deep", maker.Deep());
    RegisterCase(folder, "settings", maker.Settings());
    const struct {
        const char* name;
        const char* path;
    } real[] = {{"mime_types", "/usr/share/mime/packages/freedesktop.org.xml"},
        {"languages", "/usr/share/xml/iso-codes/iso_639-3.xml"},
        {"registry", "/usr/share/vulkan/registry/vk.xml"}};
    for (const auto& document : real)
        if (const std::string text = WithoutDocumentType(document.path); !text.empty())
            RegisterCase(folder, document.name, text);
    benchmark::RunSpecifiedBenchmarks();
}
