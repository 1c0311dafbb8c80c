#include "tests/platform/temporary_folder.h"
#include "tests/xml/documents.h"
#include "xml/parser.h"

using namespace std::string_literals;

namespace {

// A text, and the document that it is or the failure with line and column.
const std::pair<const char*, const char*> rows[] = {
    // The header counts at the very start only, its attributes in order, and nobody looks at their values.
    {"<?xml version='1.0' encoding=\"x\" standalone='maybe' ?>\n<a/>", "a"}, {"<?xml?><a/>", "a"},
    {"<?xml standalone=''?><a/>", "a"}, {" <?xml version='1.0'?><a/>", "xml-parser-syntax(1:3)"},
    {"<?xml encoding='x' version='1.0'?><a/>", "xml-parser-syntax-header(1:27)"},
    {"<?XML version='1.0'?><a/>", "xml-parser-syntax-header(1:6)"},
    {"<?xmlx?><a/>", "xml-parser-syntax-header(1:7)"}, {"<?\?>", "xml-parser-syntax-header(1:3)"},
    {"<?xml version '1.0'?>", "xml-parser-syntax-header(1:15)"},
    {"<?xml version=1?>", "xml-parser-syntax-header(1:15)"},
    {"<?xml version='1'encoding='x'?>", "xml-parser-syntax-header(1:18)"},
    {"<?xml version='1'", "xml-parser-syntax-header(1:18)"},
    {"<?xml version='1", "xml-parser-syntax-attval(1:17)"}, {"<?xml version='&#49;.0'?><a/>", "a"},
    // One root element, and nothing but comments and white space beside it.
    {"", "xml-parser-syntax-struc(1:1)"}, {"<?xml version='1.0'?>", "xml-parser-syntax-struc(1:22)"},
    {"<!--x-->", "xml-parser-syntax-struc(1:9)"}, {"<!--x--> <a/> <!--y-->\n", "!x! a !y!"},
    {"<a/><b/>", "xml-parser-syntax-struc(1:6)"}, {"\n x<a/>", "xml-parser-syntax-struc(2:2)"},
    {"<a/><![CDATA[x]]>", "xml-parser-syntax-struc(1:7)"}, {"<a/>&#32;", "xml-parser-syntax-struc(1:5)"},
    {"<a><b></a>", "xml-parser-syntax-struc(1:10)"}, {"<a></b>", "xml-parser-syntax-struc(1:7)"},
    {"<a>", "xml-parser-syntax-struc(1:4)"}, {"<a>\n\n", "xml-parser-syntax-struc(3:1)"},
    // Other markup.
    {"<", "xml-parser-syntax(1:2)"}, {"<a/><?x?>", "xml-parser-syntax(1:6)"},
    {"<?xml?><!DOCTYPE a><a/>", "xml-parser-syntax(1:10)"}, {"<a", "xml-parser-syntax(1:3)"},
    {"<a></a b>", "xml-parser-syntax(1:8)"}, {"<a =''/>", "xml-parser-syntax(1:4)"},
    {"<a b=''c=''/>", "xml-parser-syntax(1:8)"}, {"<a\n \t\r b = 'x' \n></a\n>", "a{b=x}"},
    // Attributes: the last of a name counts, the order is that of the names, nothing is normalised.
    {"<r b='1' a='2' B='3' b='4'/>", "r{B=3 a=2 b=4}"},
    {"<r a=\"'\" b='\"&apos;&quot;' c='\t\n'/>", "r{a=' b=\"'\" c=\t\n}"},
    {"<r a=x/>", "xml-parser-syntax-attval(1:6)"}, {"<r a='<'/>", "xml-parser-syntax-attval(1:7)"},
    {"<r a='x", "xml-parser-syntax-attval(1:8)"},
    // White space between markup is nothing, next to text it is text.
    {"<a> <b/>\r\n<!--c--> </a>", "a(b !c!)"}, {"<a>\n x <b/> y\n</a>", "a('\n x ' b ' y\n')"},
    {"<a> <![CDATA[x]]> </a>", "a([x])"}, {"<a> &#32;</a>", "a('  ')"}, {"<a>]]> > ]]</a>", "a(']]> > ]]')"},
    // References: 16 bits that wrap, and a zero that adds nothing.
    {"<a>&amp;&lt;&gt;&apos;&quot;</a>", "a('&<>'\"')"},
    {"<a>&#65601;&#x1004a;&#00065;&#x4A;</a>", "a('AJAJ')"}, {"<a>&#0;</a>", "a('')"},
    {"<a>&#65536;</a>", "a('')"}, {"<a>&#xD83D;&#xDE00;</a>", "a('\xF0\x9F\x98\x80')"},
    {"<a>&#X41;</a>", "xml-parser-syntax-entity(1:6)"}, {"<a>&#x;</a>", "xml-parser-syntax-entity(1:7)"},
    {"<a>&#1a;</a>", "xml-parser-syntax-entity(1:7)"}, {"<a>&ampx;</a>", "xml-parser-syntax-entity(1:8)"},
    {"<a>&apm;</a>", "xml-parser-syntax-entity(1:7)"}, {"<a>&nbsp;</a>", "xml-parser-syntax-entity(1:5)"},
    {"<a>&lt", "xml-parser-syntax-entity(1:7)"},
    // Comments.
    {"<!----><a/>", "!! a"}, {"<!--->--><a/>", "!->! a"}, {"<!-a--><a/>", "xml-parser-syntax-comment(1:4)"},
    {"<!-- a -- b --><a/>", "xml-parser-syntax-comment(1:10)"},
    {"<!-- a ---><a/>", "xml-parser-syntax-comment(1:10)"}, {"<!--a-", "xml-parser-syntax-eof(1:7)"},
    {"<!--a--", "xml-parser-syntax-eof(1:8)"},
    // Sections.
    {"<a><![CDATA[]]></a>", "a([])"}, {"<a><![CDATA[<b>&amp;]]x]]></a>", "a([<b>&amp;]]x])"},
    {"<a><![CDATA[x]]]></a>", "a([x]])"}, {"<a><![CDATA[]]]]]></a>", "a([]]]])"},
    {"<a><![CDATA]]></a>", "xml-parser-syntax-cdata(1:12)"},
    {"<a><![CDATA[x]]", "xml-parser-syntax-eof(1:16)"},
    // Names: by code units of the basic plane.
    {"<\xC3\xA9l\xC2\xB7-.1:_/>", "\xC3\xA9l\xC2\xB7-.1:_"}, {"<-a/>", "xml-parser-syntax(1:2)"},
    {"<a\xC3\x97/>", "xml-parser-syntax(1:3)"}, {"<a\xF0\x90\x80\x80/>", "xml-parser-syntax(1:3)"},
    // A line feed alone ends a line; its own column is that of the line it ends.
    {"<a>\r\r\n\n  </b>", "xml-parser-syntax-struc(3:6)"},
    {"<a>\xF0\x9F\x98\x80&\n", "xml-parser-syntax-entity(1:7)"}};

// Gives a text in pieces of one length.
struct PiecesStream : Face<StringReadingStream> {
    PiecesStream(const WideString& whole, std::size_t pieceUnits) : left(whole.c_str()), units(pieceUnits) { }

    WideString Read() override
    {
        const std::u16string piece = left.substr(0, units);
        left.erase(0, piece.size());
        return piece.c_str();
    }

    std::u16string left;
    std::size_t units;
};

std::string FileOutcome(const std::string& bytes)
{
    const TemporaryFolder folder;
    folder.MakeFile("x.xml", bytes);
    return OutcomeOf([&] { return GetReader()->ReadFile(Wide(folder.Path("x.xml"))); });
}

} // namespace

TEST(Reader, GivesTheDocumentOrThePlaceOfTheFault)
{
    for (const auto& [text, outcome] : rows) {
        EXPECT_EQ(Outcome(text), outcome) << "for " << text;
        for (const std::size_t units : {1, 2, 3, 7}) {
            const auto stream = MakeFace<Impl<PiecesStream, Module>>(Wide(text), units);
            EXPECT_EQ(OutcomeOf([&] { return Xml::Parse(*stream); }), outcome) << units << " for " << text;
        }
    }
    const ForeignDocuments foreign; // filled through its interfaces
    for (const auto& [text, outcome] : rows)
        EXPECT_EQ(Outcome(text), outcome) << "for " << text;
}

TEST(ReaderOfFiles, KnowsAMarkAtTheStartAndWhatIsNoUtf8)
{
    const std::string mark = "\xEF\xBB\xBF";
    const std::string head(2045, 'x');
    const std::pair<std::string, std::string> files[] = {// the mark
        {"", "xml-parser-syntax-struc(1:1)"}, {mark, "xml-parser-syntax-struc(1:1)"}, {mark + "<a/>", "a"},
        {mark + mark + "<a/>", "xml-parser-syntax-struc(1:1)"},
        {"<a>" + head + mark + "</a>", "a('" + head + mark + "')"},
        // other bytes, a zero, a character that is cut off by the end
        {"<a>\xFF\xC3(\xE2\x82)</a>", "a('\xEF\xBF\xBD\xEF\xBF\xBD(\xEF\xBF\xBD)')"}, {"<a/>\0<b/>"s, "a"},
        {"<a>\0</a>"s, "xml-parser-syntax-struc(1:4)"}, {"<a/>" + std::string(5000, ' ') + "\xE2\x82", "a"},
        // bytes that only continue, over whole blocks, are replaced and not carried
        {"\xFE" + std::string(5000, '\x80'), "xml-parser-syntax-struc(1:1)"}};
    for (const auto& [bytes, outcome] : files)
        EXPECT_EQ(FileOutcome(bytes), outcome) << "for " << bytes;
    EXPECT_EQ(FileOutcome("<a>" + std::string(10000, '\x80') + "</a>").size(), 4 + 30000 + 1);
    // Characters are carried across blocks.
    for (const std::string character : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"})
        for (std::size_t length = 2035; length < 2053; ++length) {
            const std::string text = std::string(length, 'x') + character + "y";
            EXPECT_EQ(FileOutcome("<a>" + text + "</a>"), "a('" + text + "')") << length;
        }
}

TEST(ReaderOfFiles, TellsAFileThatCannotBeRead)
{
    const TemporaryFolder folder;
    for (const std::string& path : {folder.Path("none.xml"), folder.Path(), ""s})
        EXPECT_EQ(FailureOf([&] { GetReader()->ReadFile(Wide(path)); }), "read-io-err") << path;
}
