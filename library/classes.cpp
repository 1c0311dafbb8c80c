// The factories of the library, in the order of their registration.
#include "io/fs/path_factory_impl.h"
#include "io/memory/buffer_factory.h"
#include "io/memory/memory_factory.h"
#include "mt/current_thread_factory.h"
#include "mt/event_factory.h"
#include "mt/multi_blocker_factory.h"
#include "mt/timer_factory.h"
#include "nls/factory_impl.h"
#include "object/library_factory.h"
#include "win32/message_monitor_factory.h"
#include "win32/message_queue.h"
#include "win32/mutex_factory.h"
#include "win32/session_change_blocker_impl.h"
#include "xml/document_factory.h"
#include "xml/reader_writer.h"
#include <tessel/object/registration.h>

namespace {

const Object::FactoryRegistration registrations[] = {
    Object::FactoryRegistration::Of<Object::LibraryFactory>("object"),
    Object::FactoryRegistration::Of<Mt::TimerFactory>("mt"),
    Object::FactoryRegistration::Of<Mt::CurrentThreadFactory>("mt"),
    Object::FactoryRegistration::Of<Mt::MultiBlockerFactory>("mt"),
    Object::FactoryRegistration::Of<Mt::EventFactory>("mt"),
    Object::FactoryRegistration::Of<Nls::FactoryImpl>("nls"),
    Object::FactoryRegistration::Of<Io::Memory::BufferFactory>("memory"),
    Object::FactoryRegistration::Of<Io::Memory::MemoryFactory>("memory"),
    Object::FactoryRegistration::Of<Io::Fs::PathFactoryImpl>("fs"),
    Object::FactoryRegistration::Of<Win32::TerminalFactory>("win32"),
    Object::FactoryRegistration::Of<Gui::MessageQueueFactory>("win32"),
    Object::FactoryRegistration::Of<Win32::MessageMonitorFactory>("win32"),
    Object::FactoryRegistration::Of<Win32::MutexFactory>("win32"),
    Object::FactoryRegistration::Of<Xml::ReaderWriterFactory>("xml"),
    Object::FactoryRegistration::Of<Xml::DocumentFactory>("xml"),
};

} // namespace
