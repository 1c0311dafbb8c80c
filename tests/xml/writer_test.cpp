#include "tests/platform/temporary_folder.h"
#include "tests/xml/documents.h"

using Xml::NodeType;

namespace {

FacePtr<Xml::Element> Insert(Xml::ParentNode& parent, const char16_t* name)
{
    return parent.InsertChild(NodeType::Element, name, nullptr).Cast<Xml::Element>("test");
}

const std::string header = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

// All that the layout knows.
const char* const example = R"(<?xml version="1.0" encoding="utf-8"?>
<!-- settings -->
<root a="1 &lt; 2" b="x&amp;y">
  <title>Hello &amp; &lt;world></title>
  <!-- note -->
  <empty/>tail<after/>
  <![CDATA[<raw>]]>
</root>)";

// What is written for the children of a root element "r".
std::string WrittenRoot(const std::function<void(Xml::Element&)>& fill)
{
    const FacePtr<Xml::Document> document = MakeEmptyDocument();
    fill(*Insert(*document, u"r"));
    return Written(document).substr(header.size());
}

} // namespace

TEST(Writer, HasOneLayoutAlsoForAForeignDocument)
{
    EXPECT_EQ(Written(MakeEmptyDocument()), "<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    EXPECT_EQ(Written(GetReader()->Read(Wide(example))), example);
    const ForeignDocuments foreign;
    EXPECT_EQ(Written(GetReader()->Read(Wide(example))), example);
    EXPECT_EQ(FailureOf([] { GetWriter()->Write(MakeEmptyDocument()); }), "Cast<IID_Xml::Node>");
}

TEST(Writer, BreaksNoLineWhereTextStands)
{
    const std::pair<const char*, std::string> cases[] = {{"<r></r>", "<r/>"}, {"<r>&#0;</r>", "<r></r>"},
        {"<r>\"'>]]>\t\n</r>", "<r>\"'>]]>\t\n</r>"},
        {"<r>x<a><b/></a>y</r>", "<r>x<a>\n    <b/>\n  </a>y</r>"},
        {"<r q='\"&apos;>\n&amp;'/>", "<r q=\"&quot;'>\n&amp;\"/>"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(Written(GetReader()->Read(Wide(text))), header + expected);
    EXPECT_EQ(
        WrittenRoot([](Xml::Element& root) { root.InsertChild(static_cast<NodeType>(7), u"x", nullptr); }),
        "<r>\n  \n</r>");
}

TEST(Writer, RefusesWhatTheReaderWouldNotTake)
{
    const auto failureOf = [](const std::function<void(Xml::Element&)>& fill) {
        return FailureOf([&] { WrittenRoot(fill); });
    };
    for (const char16_t* name : {u"", u"1a", u"a b", u"a\xD83D\xDE00", u"\xD7"}) {
        EXPECT_EQ(failureOf([&](Xml::Element& root) { root.SetValue(name); }), "xml-writer-comment");
        EXPECT_EQ(failureOf([&](Xml::Element& root) { root.SetAttribute(name, u""); }), "xml-writer-comment");
    }
    const auto leaf = [&](NodeType type, const char16_t* text) {
        return failureOf([=](Xml::Element& root) { root.InsertChild(type, text, nullptr); });
    };
    EXPECT_EQ(leaf(NodeType::Comment, u"a--b"), "xml-writer-comment");
    EXPECT_EQ(leaf(NodeType::Comment, u"a-"), ""); // and the reader refuses it
    EXPECT_EQ(leaf(NodeType::CData, u"a]]>b"), "xml-writer-cdata");
    EXPECT_EQ(leaf(NodeType::CData, u"a]]"), "");
    EXPECT_NE(FailureOf([] { GetWriter()->Write(nullptr); }).find("IID_Xml::Document"), std::string::npos);
}

// Texts go to the file in pieces of some thousand units: at no length may a pair of surrogates be cut.
TEST(WriterOfFiles, WritesUtf8WithoutAMarkIntoAnEmptiedFile)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("x.xml");
    folder.MakeFile("x.xml", std::string(100000, 'x'));
    for (const std::u16string start : {u"\xE9\xDC00|\xD800<", u"\xE9\xDC00|\xD800<x"}) {
        std::u16string text = start;
        std::string expected = header + "<r>\xC3\xA9\xEF\xBF\xBD|\xEF\xBF\xBD&lt;";
        expected += start.back() == u'x' ? "x" : "";
        for (int i = 0; i < 10000; ++i) {
            text += u"\xD83D\xDE00";
            expected += "\xF0\x9F\x98\x80";
        }
        const FacePtr<Xml::Document> document = MakeEmptyDocument();
        Insert(*document, u"r")->InsertChild(NodeType::Text, text.c_str(), nullptr);
        GetWriter()->WriteFile(document, Wide(path));
        EXPECT_EQ(folder.Content("x.xml"), expected + "</r>");
    }
}

TEST(WriterOfFiles, LeavesWhatCameBeforeAFailure)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("x.xml");
    const FacePtr<Xml::Document> document = GetReader()->Read(u"<r><a>x</a></r>");
    document->GetRootElement()->InsertChild(NodeType::CData, u"]]>", nullptr);
    EXPECT_EQ(FailureOf([&] { GetWriter()->WriteFile(document, Wide(path)); }), "xml-writer-cdata");
    EXPECT_EQ(folder.Content("x.xml"), header + "<r>\n  <a>x</a>\n  ");
    EXPECT_EQ(FailureOf([&] { GetWriter()->WriteFile(document, Wide(folder.Path())); }), "read-io-err");
}
