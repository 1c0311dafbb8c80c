// The factories of the library, in the order of their registration.
#include "object/library_factory.h"
#include "xml/document_factory.h"
#include "xml/reader_writer.h"
#include <tessel/object/registration.h>

namespace {

const Object::FactoryRegistration registrations[] = {
    Object::FactoryRegistration::Of<Object::LibraryFactory>("object"),
    Object::FactoryRegistration::Of<Xml::ReaderWriterFactory>("xml"),
    Object::FactoryRegistration::Of<Xml::DocumentFactory>("xml"),
};

} // namespace
