#include "object/compound_factory.h"
#include "object/match.h"
#include "tests/base/bytes.h"
#include "tests/object/test_faces.h"
#include <tessel/object/manager.h>
#include <tessel/object/registration.h>

#include <gtest/gtest.h>

namespace Testing {

// Serves the classes it is given, and can fail in a constructor.
class TestFactory : public Face<Object::StaticFactory> {
public:
    explicit TestFactory(std::vector<WideString> classes) : served(std::move(classes)) { }
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        ++calls;
        if (clsid == u"CID_Testing::Throws")
            throw Error("constructor", "test");
        for (const WideString& name : served)
            if (clsid == name)
                out = FacePtr<Left>(MakeFace<Both>()).Cast<BaseFace>("test");
    }
    void ListClasses(Object::ClassInfoList& out) override
    {
        ++listings;
        for (const WideString& name : served)
            out.push_back(Object::DescribeClass<BothImpl>(name.c_str()));
    }
    std::vector<WideString> served;
    int calls = 0;
    int listings = 0;
};

using TestFactoryObject = Impl<TestFactory, Module>;
using Names = std::vector<WideString>;
const FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};

TEST(Manager, WithoutAStartKnowsOnlyItself)
{
    EXPECT_EQ(manager, FacePtr<Object::Manager>(Clsid(Object::managerClass)));
    EXPECT_TRUE(manager->IsRegistered(Object::managerClass));
    EXPECT_FALSE(manager->IsRegistered(u"CID_Nobody"));
    EXPECT_THROW(manager->GetClassInfo(u"CID_Nobody"), Error);
    EXPECT_EQ(FailureOf([] { Object::CreateObject(Object::managerClass, u"IID_Nothing"); }),
        "clsid-not-found(CID_Object::Manager)")
        << "a missing face fails like an unknown class";
}

TEST(Manager, LastFactoryForAClassServesItAndHasNoFallBack)
{
    const auto first =
        MakeFace<TestFactoryObject>(Names{u"CID_Testing::A", u"CID_Testing::B", u"CID_Testing::Throws"});
    auto second = MakeFace<TestFactoryObject>(Names{u"CID_Testing::A"});
    manager->AddFactory(FacePtr<Object::Factory>(first));
    manager->AddFactory(FacePtr<Object::Factory>(second));
    FacePtr<Left> made{Clsid(u"CID_Testing::A")};
    EXPECT_EQ(made->InLeft(), 2);
    EXPECT_EQ(second->calls, 1);
    second = nullptr;
    EXPECT_THROW(made = Clsid(u"CID_Testing::A"), Error);
    EXPECT_FALSE(made) << "what was held is gone before the class is asked for";
    EXPECT_NO_THROW(made = Clsid(u"CID_Testing::B"));
    EXPECT_EQ(FailureOf([] { Object::CreateObject(u"CID_Testing::Throws", BaseFace::iid); }), "constructor");
}

TEST(Manager, FindsClassesByPatternAndInterface)
{
    const auto compound = MakeFace<Impl<Object::CompoundFactory, Module>>();
    const auto factory = MakeFace<TestFactoryObject>(Names{u"CID_A", u"CID_B", u"CID_C"});
    compound->AddFactory(FacePtr<Object::Factory>(factory));
    factory->listings = 0;
    EXPECT_EQ(compound->FindClasses({}, {}).size(), 3U);
    EXPECT_EQ(factory->listings, 1) << "asked once for all its classes";
    EXPECT_EQ(compound->FindClasses(u"CID_B", Right::iid.text).front().clsid, u"CID_B");
    EXPECT_TRUE(compound->FindClasses({}, u"IID_Other").empty());
}

TEST(Clsid, PatternsNameComponentsFromTheType)
{
    const std::tuple<const char16_t*, const char16_t*, bool> cases[] = {{u"anything", u"", true},
        {u"T|a", u"", true}, {u"plain", u"plain", true}, {u"plain", u"plai", false}, {u"T|a", u"a", true},
        {u"T|a", u"T|a", true}, {u"T|a", u"U|a", false}, {u"T|a|b", u"T|", true}, {u"T|a|b", u"T|a|", true},
        {u"T|a|b", u"T|c|", false}, {u"T|a|b", u"T|a|b", true}, {u"T|a|b", u"T|b", false},
        {u"T|a", u"T|a|", false}, {u"plain", u"T|", false}};
    for (const auto& [clsid, pattern, matches] : cases)
        EXPECT_EQ(Object::MatchesPattern(clsid, pattern), matches)
            << NarrowString(clsid).c_str() << " " << NarrowString(pattern).c_str();
}

} // namespace Testing
