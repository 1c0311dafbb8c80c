// Parser: one parse of a text into a document.
#pragma once

#include "xml/text_streams.h"
#include <tessel/xml/document.h>

namespace Xml {

// Throws the failures of reader.h.
FacePtr<Document> Parse(StringReadingStream& stream);

} // namespace Xml
