#include "tests/xml/documents.h"
#include <map>
#include <random>
#include <thread>

using Xml::NodeType;

namespace {

// A client's own node, which passes on the questions that it does not answer itself.
class Proxy final : public ImplHeap<Face<Xml::Node>, Proxy, Module> {
public:
    explicit Proxy(FacePtr<Xml::Node> its) : inner(std::move(its)) { }

    BaseFace* Cast(const char16_t* wanted) noexcept override
    {
        BaseFace* const own = ImplBase::Cast(wanted);
        return own != nullptr ? own : inner->Cast(wanted);
    }
    NodeType GetType() override { return inner->GetType(); }
    WideString GetValue() override { return inner->GetValue(); }
    void SetValue(const WideString& value) override { inner->SetValue(value); }
    FacePtr<Xml::Node> GetParent() override { return inner->GetParent(); }

private:
    FacePtr<Xml::Node> inner;
};

} // namespace

TEST(Facades, AnswerToTheInterfacesOfTheirKind)
{
    const FacePtr<Xml::Document> document = GetReader()->Read(u"<a>x</a>");
    const FacePtr<Xml::Element> element = document->GetRootElement();
    const std::pair<FacePtr<Xml::Node>, std::string> cases[] = {
        {document, "BaseFace Xml::Node Xml::ParentNode Xml::Document Xml::DocumentNode "},
        {element, "BaseFace Xml::Node Xml::ParentNode Xml::Element "},
        {element->GetChildren()[0], "BaseFace Xml::Node "}};
    for (const auto& [node, expected] : cases) {
        std::string faces;
        for (const char* face : {"BaseFace", "Xml::Node", "Xml::ParentNode", "Xml::Element", "Xml::Document",
                 "Xml::DocumentNode", "Xml::DomNode", "Xml::Nod", ""})
            if (FacePtr<BaseFace>::Adopt(node->Cast(Wide(std::string("IID_") + face).c_str())))
                faces += std::string(face) + " ";
        EXPECT_EQ(faces, expected);
    }
    // Reader and writer are one object, a document is made anew.
    EXPECT_EQ(FacePtr<BaseFace>(GetReader().TryCast<Xml::Writer>()), FacePtr<BaseFace>(GetWriter()));
    EXPECT_NE(MakeEmptyDocument(), MakeEmptyDocument());
    // Facades are new on each call, and the deepest keeps the document.
    const FacePtr<Xml::Node> text = ReadRoot("<a>x</a>")->GetChildren()[0];
    EXPECT_NE(text->GetParent(), text->GetParent());
    EXPECT_NE(element->GetChildren()[0], element->GetChildren()[0]);
    EXPECT_EQ(text->GetParent()->GetParent()->GetType(), NodeType::Document);
}

TEST(Facades, AreReleasedInAnyThread)
{
    for (int round = 0; round < 200; ++round) {
        std::vector<FacePtr<Xml::Node>> held[2];
        {
            const FacePtr<Xml::Element> root = ReadRoot("<a><b>x</b><c>y</c><d/></a>");
            held[0] = root->GetChildren();
            held[1] = root->GetChildren();
            root->RemoveChild(held[0][0]);
            root->RemoveChild(held[0][1]);
        }
        std::thread other([&] { held[1].clear(); });
        held[0].clear();
        other.join();
    }
}

TEST(Document, StartsEmptyAndHasCommentsAndOneElement)
{
    const FacePtr<Xml::Document> document = MakeEmptyDocument();
    document->SetValue(u"x");
    EXPECT_TRUE(document->GetValue().IsEmpty() && document->GetChildren().empty());
    EXPECT_TRUE(document->GetRootElement() == nullptr && document->GetParent() == nullptr);
    const auto insert = [&](NodeType type) {
        return FailureOf([&] { document->InsertChild(type, u"x", nullptr); });
    };
    EXPECT_EQ(insert(NodeType::Comment), "");
    EXPECT_EQ(insert(NodeType::Element), "");
    EXPECT_EQ(insert(NodeType::Comment), "");
    for (const NodeType type : {NodeType::Element, NodeType::Text, NodeType::CData, NodeType::Document})
        EXPECT_EQ(insert(type), "xml-domnode-err");
    EXPECT_EQ(FailureOf([&] { document->GetRootElement()->InsertChild(NodeType::Document, u"", nullptr); }),
        "xml-domnode-err");
    document->RemoveChild(document->GetRootElement());
    EXPECT_EQ(document->GetRootElement(), nullptr);
    document->InsertChild(NodeType::Element, u"new", nullptr);
    EXPECT_EQ(Tell(document), "!x! !x! new");
    EXPECT_EQ(Tell(document->GetRootElement()), "new");
}

TEST(Children, GoInFrontOfTheOneShownOrToTheEnd)
{
    const FacePtr<Xml::Element> root = ReadRoot("<r><a/><b/></r>");
    root->InsertChild(NodeType::Text, u"1", root->GetChildren()[0]);
    root->InsertChild(NodeType::Text, u"2", root->GetChildElement(u"b", false));
    root->InsertChild(NodeType::Text, u"3", nullptr);
    // no children of this one, and one that counts by what it shows
    root->InsertChild(NodeType::Text, u"4", ReadRoot("<r><a/></r>")->GetChildren()[0]);
    root->InsertChild(NodeType::Text, u"5", root);
    root->InsertChild(NodeType::Text, u"6", MakeFace<Proxy>(root->GetChildren()[0]));
    EXPECT_EQ(Tell(root), "r('6' '1' a '2' b '3' '4' '5')");
    EXPECT_EQ(
        root->InsertChild(static_cast<NodeType>(9), u"x", nullptr)->GetType(), static_cast<NodeType>(9));
}

TEST(Children, ThatAreTakenOutLiveOnAsATreeOfTheirOwn)
{
    FacePtr<Xml::Element> taken;
    FacePtr<Xml::Node> below;
    {
        const FacePtr<Xml::Document> document = GetReader()->Read(u"<r><a/><b><c/>x</b><d/></r>");
        const FacePtr<Xml::Element> root = document->GetRootElement();
        taken = root->GetChildElement(u"b", false);
        below = taken->GetChildren()[1];
        root->RemoveChild(root->GetChildren()[1]); // another facade of it
        EXPECT_EQ(Tell(document), "r(a d)");
        root->RemoveChild(taken);
        root->RemoveChild(below);
        root->RemoveChild(nullptr);
        root->RemoveChild(root);
        EXPECT_EQ(Tell(document), "r(a d)");
        root->InsertChild(NodeType::Element, u"e", taken);
        EXPECT_EQ(Tell(document), "r(a d e)");
    }
    EXPECT_EQ(taken->GetParent(), nullptr);
    taken->InsertChild(NodeType::Comment, u"new", below);
    EXPECT_EQ(Tell(taken), "b(c !new! 'x')");
    taken = nullptr; // what is below holds it, although it was shown before
    EXPECT_EQ(Tell(below->GetParent()), "b(c !new! 'x')");
}

// From an array to a tree and through both, against the container of the standard library.
TEST(Elements, HaveAnyNumberOfAttributes)
{
    std::map<std::string, std::string> expected;
    std::minstd_rand random(1);
    std::string text = "<r";
    const auto nameOf = [&](unsigned below) { return "n" + std::to_string(random() % below); };
    for (int i = 0; i < 60000; ++i) {
        const std::string name = nameOf(50000);
        text += " " + name + "='" + std::to_string(i) + "'";
        expected[name] = std::to_string(i);
    }
    FacePtr<Xml::Element> element = ReadRoot(text + "/>");
    for (int i = 0; i < 100000; ++i) {
        const std::string name = nameOf(i < 5000 ? 60000 : 30 + (100000 - i) / 2);
        if (random() % 3 == 0) {
            element->SetAttribute(Wide(name), Wide(std::to_string(i)));
            expected[name] = std::to_string(i);
        } else {
            EXPECT_EQ(element->RemoveAttribute(Wide(name)), expected.erase(name));
        }
    }
    std::string told;
    for (const auto& [name, value] : expected)
        told += (told.empty() ? "" : " ") + name + "=" + value;
    EXPECT_EQ(Tell(element), "r{" + told + "}");
    // In the order of code units, and whether one is there is one question, what it holds another.
    element = ReadRoot("<r b='1' a='1' B='1' \xC3\xA9='1' aa='1' empty=''/>");
    element->SetAttribute(u"a", u"2");
    EXPECT_EQ(Tell(element), "r{B=1 a=2 aa=1 b=1 empty= \xC3\xA9=1}");
    EXPECT_TRUE(element->HasAttribute(u"empty") && !element->HasAttribute(u"none"));
    EXPECT_TRUE(element->GetAttribute(u"none").IsEmpty() && element->GetAttribute(u"empty", u"x").IsEmpty());
    EXPECT_EQ(Narrow(element->GetAttribute(u"none", u"x")), "x");
}

TEST(Elements, AreFoundOrMadeByNameAndRenamed)
{
    const FacePtr<Xml::Element> root = ReadRoot("<r>a<b x='1'><a/></b><b x='2'/></r>");
    EXPECT_EQ(Tell(root->GetChildElement(u"b", true)), "b{x=1}(a)");
    EXPECT_EQ(root->GetChildElement(u"a", false), nullptr);
    root->GetChildElement(u"a", true)->SetAttribute(u"y", u"3");
    EXPECT_EQ(Tell(root->GetChildElement(u"a", true)), "a{y=3}");
    root->GetChildElement(u"a", false)->SetValue(u"");
    root->GetChildren()[0]->SetValue(u"y\x20AC");
    EXPECT_EQ(Tell(root), "r('y\xE2\x82\xAC' b{x=1}(a) b{x=2} {y=3})");
    EXPECT_EQ(FailureOf([&] { root->FindElements(u"a"); }), "xml-find-notimpl");
    EXPECT_EQ(FailureOf([&] { root->FindElement(u"a"); }), "xml-find-notimpl");
}

TEST(Normalize, MergesTextAndTurnsSections)
{
    const std::pair<std::uint32_t, const char*> cases[] = {{0, "r('1' '2' !c! '3' [4] '5' a('6' [7]))"},
        {1, "r('12' !c! '3' [4] '5' a('6' [7]))"}, {2, "r('1' '2' !c! '3' '4' '5' a('6' '7'))"},
        {3 | 0xF0, "r('12' !c! '345' a('67'))"}};
    for (const auto& [flags, expected] : cases) {
        const FacePtr<Xml::Element> root = ReadRoot("<r>2<!--c-->3<![CDATA[4]]>5<a>6<![CDATA[7]]></a></r>");
        root->InsertChild(NodeType::Text, u"1", root->GetChildren()[0]);
        root->Normalize(flags);
        EXPECT_EQ(Tell(root), expected);
    }
    // Facades show the change.
    const FacePtr<Xml::Element> root = ReadRoot("<r>1<![CDATA[2]]></r>");
    const std::vector<FacePtr<Xml::Node>> children = root->GetChildren();
    root->Normalize(Xml::Element::CDataToText);
    EXPECT_EQ(children[1]->GetType(), NodeType::Text);
    root->Normalize(Xml::Element::MergeText);
    EXPECT_EQ(Tell(children[0]), "'12'");
    EXPECT_EQ(Tell(children[1]), "'2'");
    EXPECT_EQ(children[1]->GetParent(), nullptr);
}
