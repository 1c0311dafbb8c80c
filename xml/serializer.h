// Serializer: writes a document into a stream, in the layout that writer.h tells of.
#pragma once

#include "xml/text_streams.h"
#include <tessel/xml/document.h>

namespace Xml {

// Throws the failures of writer.h; what comes before the fault has been written then.
void Serialize(StringWritingStream& stream, const FacePtr<Document>& document);

} // namespace Xml
