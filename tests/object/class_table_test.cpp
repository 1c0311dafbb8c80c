// All that the library offers, written out once more: what modules built apart ask for.
#include <tessel/tessel.h>

#include <gtest/gtest.h>

#include <sstream>

// In the order of registration.
const char* const table = R"(
CID_Object::Library_Creator: IID_Object::Library::Creator IID_BaseFace
CID_Mt::TimeBasedBlocker: IID_Mt::TimeBasedBlocker IID_Mt::Blocker IID_BaseFace IID_Mt::Win32::BlockerInfo IID_BaseFace
CID_Mt::CurrentThreadImpl: IID_BaseFace IID_Object::StaticFactory IID_Object::Factory IID_BaseFace
CID_Mt::MultiBlocker: IID_Mt::MultiBlocker IID_Mt::Blocker IID_BaseFace
CID_Mt::MultiBlockerAll: IID_Mt::MultiBlocker IID_Mt::Blocker IID_BaseFace
CID_Mt::Win32::EventFactory: IID_Mt::Win32::EventFactory IID_BaseFace
CID_Mt::ManualEventBasedBlocker: IID_Mt::EventBasedBlocker IID_Mt::Blocker IID_BaseFace IID_Mt::Win32::BlockerInfo IID_BaseFace
CID_Mt::AutoEventBasedBlocker: IID_Mt::EventBasedBlocker IID_Mt::Blocker IID_BaseFace IID_Mt::Win32::BlockerInfo IID_BaseFace
CID_Nls::Language_Creator: IID_Nls::Language::Creator IID_BaseFace IID_Object::StaticFactory IID_Object::Factory IID_BaseFace
CID_Nls::Initializer: IID_Object::Startup IID_BaseFace
CID_Io::BufferingSource_Creator: IID_Object::StaticFactory IID_Object::Factory IID_BaseFace IID_Io::BufferingSource::Creator IID_BaseFace IID_Io::BufferingSink::Creator IID_BaseFace
CID_Io::BufferingSink_Creator: IID_Object::StaticFactory IID_Object::Factory IID_BaseFace IID_Io::BufferingSource::Creator IID_BaseFace IID_Io::BufferingSink::Creator IID_BaseFace
CID_Io::Memory::File: IID_Io::File IID_Io::DataAccessor IID_BaseFace
CID_Io::Fs::PathFactory: IID_Io::Fs::PathFactory IID_BaseFace
CID_Win32::SessionChangeBlocker: IID_Win32::SessionChangeBlocker IID_Mt::Blocker IID_BaseFace IID_Win32::MessageMonitor::Observer IID_BaseFace
CID_Gui::MessageQueue: IID_Gui::MessageQueue IID_Mt::Blocker IID_BaseFace IID_Mt::Win32::BlockerInfo IID_BaseFace
CID_Win32::MessageMonitor: IID_Win32::MessageMonitor IID_BaseFace
CID_Win32::Mutex_Creator: IID_Object::StaticFactory IID_Object::Factory IID_BaseFace IID_Win32::Mutex::Creator IID_BaseFace
CID_Xml::Reader: IID_Xml::Reader IID_BaseFace
CID_Xml::Writer: IID_Xml::Writer IID_BaseFace
CID_Xml::Document: IID_Xml::DocumentNode IID_Xml::Document IID_Xml::ParentNode IID_Xml::Node IID_BaseFace
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
    return lines.str();
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
        "CID_Nls::Initializer: IID_Object::Startup IID_BaseFace\n");
}
