// Shapes of documents that would take hours, or end the process, if anything here were quadratic or went down
// the stack: the time limit of the test program is what finds it out.
#include "tests/allocation_plan.h"
#include "tests/xml/documents.h"

#include <functional>
#include <pthread.h>

using Xml::NodeType;

namespace {

void RunOnSmallStack(std::function<void()> run)
{
    pthread_attr_t attributes;
    pthread_t thread{};
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 64 * 1024), 0);
    const auto entry = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, entry, &run), 0);
    pthread_join(thread, nullptr);
}

std::string Repeated(std::size_t count, const std::string& text)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

// Levels that each hold what is written before and behind the next one.
WideString Nested(std::size_t depth, const char* before, const char* behind)
{
    return Wide(Repeated(depth, before) + Repeated(depth, behind));
}

std::size_t CountLevels(FacePtr<Xml::Element> element)
{
    std::size_t levels = 0;
    for (; element; ++levels)
        element = element->GetChildElement(u"a", false);
    return levels;
}

} // namespace

TEST(Depth, CostsNoStackAndNoMoreThanWidth)
{
    RunOnSmallStack([] {
        constexpr std::size_t depth = 1000000;
        FacePtr<Xml::Document> document = GetReader()->Read(Nested(depth, "<a>x<![CDATA[y]]>", "z</a>"));
        document->GetRootElement()->Normalize(3);
        EXPECT_EQ(CountLevels(document->GetRootElement()), depth);
        const WideString written = GetWriter()->Write(document);
        EXPECT_TRUE(written
            == WideString(u"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n") + Nested(depth, "<a>xy", "z</a>"));
        FacePtr<Xml::Element> taken = document->GetRootElement();
        document->RemoveChild(taken);
        document = nullptr;
        taken = nullptr;

        // Lines are indented only so far.
        const FacePtr<Xml::Document> refused = GetReader()->Read(Nested(depth, "<a>", "</a>"));
        EXPECT_EQ(FailureOf([&] { GetWriter()->Write(refused); }), "xml-writer-depth");
        const FacePtr<Xml::Document> allowed = GetReader()->Read(Nested(3000, "<a>", "</a>"));
        EXPECT_EQ(CountLevels(GetReader()->Read(GetWriter()->Write(allowed))->GetRootElement()), 3000U);
    });
}

// Takes a deep tree apart from its top: each step must not look at all that is below.
TEST(Depth, IsTakenApartLevelByLevel)
{
    const FacePtr<Xml::Document> document = GetReader()->Read(Nested(300000, "<a>", "</a>"));
    FacePtr<Xml::ParentNode> parent = document;
    for (int i = 0; i < 299999; ++i) {
        const FacePtr<Xml::Node> child = parent->GetChildren()[0];
        parent->RemoveChild(child);
        parent = child.Cast<Xml::ParentNode>("test");
    }
    EXPECT_EQ(Tell(parent), "a(a)");
}

TEST(Width, MakesNoChangeOfAKnownChildSlow)
{
    constexpr std::size_t width = 200000;
    const FacePtr<Xml::Element> root = ReadRoot("<r>" + Repeated(width, "<a/>") + "</r>");
    const std::vector<FacePtr<Xml::Node>> children = root->GetChildren();
    ASSERT_EQ(children.size(), width);
    for (std::size_t i = width; i-- > 0;) {
        root->InsertChild(NodeType::Comment, u"", children[i]);
        if (i % 2 == 0)
            root->RemoveChild(children[i]);
    }
    EXPECT_EQ(root->GetChildren().size(), width + width / 2);
}

TEST(Length, OfATextIsCollectedOnce)
{
    const std::string text(10000000, 'x');
    const FacePtr<Xml::Element> root = ReadRoot("<r>&lt;" + text + "</r>");
    EXPECT_EQ(root->GetChildren()[0]->GetValue().GetLength(), text.size() + 1);
    for (int i = 0; i < 100000; ++i)
        root->InsertChild(NodeType::Text, u"y", nullptr);
    root->Normalize(Xml::Element::MergeText);
    EXPECT_EQ(root->GetChildren()[0]->GetValue().GetLength(), text.size() + 1 + 100000);
}

// Whatever is taken out, renamed or replaced leaves memory that serves again.
TEST(Memory, DoesNotGrowWithTheNumberOfChanges)
{
    const FacePtr<Xml::Element> root = ReadRoot("<r><a/></r>");
    const FacePtr<Xml::Element> element = root->GetChildElement(u"a", false);
    const auto change = [&](int times) {
        for (int i = 0; i < times; ++i) {
            const WideString fresh = Wide("n" + std::to_string(i));
            element->SetValue(fresh);
            element->SetAttribute(fresh, fresh);
            const FacePtr<Xml::Element> child = element->GetChildElement(fresh, true);
            child->InsertChild(NodeType::Text, fresh, nullptr);
            element->InsertChild(NodeType::Text, fresh, child);
            element->InsertChild(NodeType::Text, fresh, child);
            element->Normalize(Xml::Element::MergeText);
            element->RemoveAttribute(fresh);
            while (!element->GetChildren().empty())
                element->RemoveChild(element->GetChildren()[0]);
        }
    };
    change(1000);
    const long before = AllocationPlan::Living();
    change(20000);
    EXPECT_LE(AllocationPlan::Living(), before + 2);
}
