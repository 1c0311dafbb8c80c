// All that the library offers, written out once more: what modules built apart ask for.
#include <tessel/tessel.h>

#include <gtest/gtest.h>

#include <sstream>

// In the order of registration. B is IID_BaseFace, S is IID_Object::StaticFactory IID_Object::Factory
// IID_BaseFace.
const char* const table = R"(
CID_Object::Library_Creator: IID_Object::Library::Creator B
CID_Mt::TimeBasedBlocker: IID_Mt::TimeBasedBlocker IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B
CID_Mt::CurrentThreadImpl: B S
CID_Mt::MultiBlocker: IID_Mt::MultiBlocker IID_Mt::Blocker B
CID_Mt::MultiBlockerAll: IID_Mt::MultiBlocker IID_Mt::Blocker B
CID_Mt::Win32::EventFactory: IID_Mt::Win32::EventFactory B
CID_Mt::ManualEventBasedBlocker: IID_Mt::EventBasedBlocker IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B
CID_Mt::AutoEventBasedBlocker: IID_Mt::EventBasedBlocker IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B
CID_Nls::Language_Creator: IID_Nls::Language::Creator B S
CID_Nls::Initializer: IID_Object::Startup B
CID_Io::BufferingSource_Creator: S IID_Io::BufferingSource::Creator B IID_Io::BufferingSink::Creator B
CID_Io::BufferingSink_Creator: S IID_Io::BufferingSource::Creator B IID_Io::BufferingSink::Creator B
CID_Io::Memory::File: IID_Io::File IID_Io::DataAccessor B
CID_Io::Fs::PathFactory: IID_Io::Fs::PathFactory B
CID_Win32::SessionChangeBlocker: IID_Win32::SessionChangeBlocker IID_Mt::Blocker B IID_Win32::MessageMonitor::Observer B
CID_Gui::MessageQueue: IID_Gui::MessageQueue IID_Mt::Blocker B IID_Mt::Win32::BlockerInfo B
CID_Win32::MessageMonitor: IID_Win32::MessageMonitor B
CID_Win32::Mutex_Creator: S IID_Win32::Mutex::Creator B
CID_Xml::Reader: IID_Xml::Reader B
CID_Xml::Writer: IID_Xml::Writer B
CID_Xml::Document: IID_Xml::DocumentNode IID_Xml::Document IID_Xml::ParentNode IID_Xml::Node B
)";

std::string Spelled(const Object::ClassInfoList& classes)
{
    std::ostringstream lines;
    for (const Object::ClassInfo& described : classes) {
        lines << NarrowString(described.clsid.c_str()).c_str() << ':';
        for (const WideString& interface : described.interfaces)
            lines << ' ' << NarrowString(interface.c_str()).c_str();
        lines << '\n';
    }
    std::string text = lines.str();
    const auto shorten = [&text](std::string_view whole, const char* shortForm) {
        for (std::size_t at = 0; (at = text.find(whole, at)) != text.npos;)
            text.replace(at, whole.size(), shortForm);
    };
    shorten("IID_Object::StaticFactory IID_Object::Factory IID_BaseFace", "S");
    shorten("IID_BaseFace", "B");
    return text;
}

TEST(ClassTable, HasEveryClassWithItsInterfacesInTheirOrder)
{
    std::string found;
    for (const auto* node = Module::GetStaticList(); node != nullptr; node = node->next) {
        Object::ClassInfoList served;
        node->factory.Cast<Object::StaticFactory>("test")->ListClasses(served);
        found.insert(0, Spelled(served));
    }
    EXPECT_EQ('\n' + found, table);
    TesselInitialize();
    const FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    EXPECT_EQ(manager->FindClasses({}, {}).size(), 22U) << "and the manager itself";
    EXPECT_EQ(Spelled(manager->FindClasses({}, u"IID_Object::Startup")),
        "CID_Nls::Initializer: IID_Object::Startup B\n");
}
