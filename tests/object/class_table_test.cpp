// All that the library offers, written out once more: what modules built apart ask for.
#include <tessel/tessel.h>

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace {

struct Row {
    std::string clsid;
    std::string
        interfaces; // B is IID_BaseFace, S is IID_Object::StaticFactory IID_Object::Factory IID_BaseFace
};

const Row table[] = {
    {"CID_Object::Manager", "IID_Object::Manager B"},
    {"CID_Object::Library_Creator", "IID_Object::Library::Creator B"},
    {"CID_Mt::TimeBasedBlocker", "IID_Mt::TimeBasedBlocker IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B"},
    {"CID_Mt::CurrentThreadImpl", "B S"},
    {"CID_Mt::MultiBlocker", "IID_Mt::MultiBlocker IID_Mt::Blocker B"},
    {"CID_Mt::MultiBlockerAll", "IID_Mt::MultiBlocker IID_Mt::Blocker B"},
    {"CID_Mt::Win32::EventFactory", "IID_Mt::Win32::EventFactory B"},
    {"CID_Mt::ManualEventBasedBlocker",
        "IID_Mt::EventBasedBlocker IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B"},
    {"CID_Mt::AutoEventBasedBlocker",
        "IID_Mt::EventBasedBlocker IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B"},
    {"CID_Nls::Language_Creator", "IID_Nls::Language::Creator B S"},
    {"CID_Nls::Initializer", "IID_Object::Startup B"},
    {"CID_Io::BufferingSource_Creator",
        "S IID_Io::BufferingSource::Creator B IID_Io::BufferingSink::Creator B"},
    {"CID_Io::BufferingSink_Creator",
        "S IID_Io::BufferingSource::Creator B IID_Io::BufferingSink::Creator B"},
    {"CID_Io::Memory::File", "IID_Io::File IID_Io::DataAccessor B"},
    {"CID_Io::Fs::PathFactory", "IID_Io::Fs::PathFactory B"},
    {"CID_Win32::SessionChangeBlocker",
        "IID_Win32::SessionChangeBlocker IID_Mt::Blocker B IID_Win32::MessageMonitor::Observer B"},
    {"CID_Gui::MessageQueue", "IID_Gui::MessageQueue IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B"},
    {"CID_Win32::MessageMonitor", "IID_Win32::MessageMonitor B"},
    {"CID_Win32::Mutex_Creator", "S IID_Win32::Mutex::Creator B"},
    {"CID_Xml::Reader", "IID_Xml::Reader B"},
    {"CID_Xml::Writer", "IID_Xml::Writer B"},
    {"CID_Xml::Document", "IID_Xml::DocumentNode IID_Xml::Document IID_Xml::ParentNode IID_Xml::Node B"},
};

// The first class of each registration, the first registered first.
const std::vector<std::string> registered = {"CID_Object::Library_Creator", "CID_Mt::TimeBasedBlocker",
    "CID_Mt::CurrentThreadImpl", "CID_Mt::MultiBlocker", "CID_Mt::Win32::EventFactory",
    "CID_Nls::Language_Creator", "CID_Io::BufferingSource_Creator", "CID_Io::Memory::File",
    "CID_Io::Fs::PathFactory", "CID_Win32::SessionChangeBlocker", "CID_Gui::MessageQueue",
    "CID_Win32::MessageMonitor", "CID_Win32::Mutex_Creator", "CID_Xml::Reader", "CID_Xml::Document"};

std::string Narrow(const WideString& text)
{
    return NarrowString(text.c_str()).c_str();
}

std::string Spelled(const std::string& interfaces)
{
    std::istringstream words(interfaces);
    std::string line;
    for (std::string word; words >> word;)
        line += word == "S" ? "IID_Object::StaticFactory IID_Object::Factory IID_BaseFace "
                            : (word == "B" ? "IID_BaseFace" : word) + ' ';
    return line;
}

using Lines = std::multiset<std::string>;

Lines Found(const WideString& interface)
{
    Lines lines;
    const FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    for (const Object::ClassInfo& described : manager->FindClasses({}, interface)) {
        std::string line = Narrow(described.clsid) + ": ";
        for (const WideString& listed : described.interfaces)
            line += Narrow(listed) + ' ';
        lines.insert(line);
    }
    return lines;
}

} // namespace

TEST(ClassTable, HasEveryClassOnceWithItsInterfacesInOrder)
{
    TesselInitialize();
    Lines expected;
    for (const Row& row : table)
        expected.insert(row.clsid + ": " + Spelled(row.interfaces));
    EXPECT_EQ(Found({}), expected);
    EXPECT_EQ(
        Found(u"IID_Object::Startup"), Lines{"CID_Nls::Initializer: IID_Object::Startup IID_BaseFace "});
}

TEST(ClassTable, IsRegisteredInItsOrder)
{
    std::vector<std::string> found;
    for (const auto* node = Module::GetStaticList(); node != nullptr; node = node->next) {
        Object::ClassInfoList served;
        node->factory.Cast<Object::StaticFactory>("test")->ListClasses(served);
        found.insert(found.begin(), Narrow(served.front().clsid));
    }
    EXPECT_EQ(found, registered);
}
