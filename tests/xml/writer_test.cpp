#include "tests/platform/temporary_folder.h"
#include "tests/xml/documents.h"

using Xml::NodeType;

namespace {

FacePtr<Xml::Element> Insert(Xml::ParentNode& parent, const char16_t* name)
{
    return parent.InsertChild(NodeType::Element, name, nullptr).Cast<Xml::Element>("test");
}

// One document for all that the layout knows.
FacePtr<Xml::Document> MakeExample()
{
    FacePtr<Xml::Document> document = MakeEmptyDocument();
    document->InsertChild(NodeType::Comment, u" settings ", nullptr);
    const FacePtr<Xml::Element> root = Insert(*document, u"root");
    root->SetAttribute(u"b", u"x&y");
    root->SetAttribute(u"a", u"1 < 2");
    Insert(*root, u"title")->InsertChild(NodeType::Text, u"Hello & <world>", nullptr);
    root->InsertChild(NodeType::Comment, u" note ", nullptr);
    Insert(*root, u"empty");
    root->InsertChild(NodeType::Text, u"tail", nullptr);
    Insert(*root, u"after");
    root->InsertChild(NodeType::CData, u"<raw>", nullptr);
    return document;
}

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
    const std::string text = Written(document);
    return text.substr(text.find('\n') + 1);
}

} // namespace

TEST(Writer, HasOneLayoutAlsoForAForeignDocument)
{
    EXPECT_EQ(Written(MakeEmptyDocument()), "<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    EXPECT_EQ(Written(MakeExample()), example);
    const ForeignDocuments foreign;
    EXPECT_EQ(Written(MakeExample()), example);
    EXPECT_EQ(FailureOf([] { GetWriter()->Write(MakeEmptyDocument()); }), "Cast<IID_Xml::Node>");
}

TEST(Writer, BreaksNoLineWhereTextStands)
{
    const auto addText = [](const char16_t* text) {
        return [text](Xml::Element& root) { root.InsertChild(NodeType::Text, text, nullptr); };
    };
    EXPECT_EQ(WrittenRoot([](Xml::Element&) {}), "<r/>");
    EXPECT_EQ(WrittenRoot(addText(u"")), "<r></r>");
    EXPECT_EQ(WrittenRoot(addText(u"\"'>]]>\t\n")), "<r>\"'>]]>\t\n</r>");
    EXPECT_EQ(WrittenRoot([](Xml::Element& root) {
        root.InsertChild(NodeType::Text, u"x", nullptr);
        Insert(*Insert(root, u"a"), u"b");
        root.InsertChild(NodeType::Text, u"y", nullptr);
    }),
        "<r>x<a>\n    <b/>\n  </a>y</r>");
    EXPECT_EQ(WrittenRoot([](Xml::Element& root) { root.SetAttribute(u"q", u"\"'>\n&"); }),
        "<r q=\"&quot;'>\n&amp;\"/>");
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
        std::string expected = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\xC3\xA9\xEF\xBF\xBD|"
                               "\xEF\xBF\xBD&lt;";
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
    EXPECT_EQ(folder.Content("x.xml"), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\n  <a>x</a>\n  ");
    EXPECT_EQ(FailureOf([&] { GetWriter()->WriteFile(document, Wide(folder.Path())); }), "read-io-err");
}
