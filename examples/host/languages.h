// One error in several languages.
#pragma once

namespace Demo {

void SpeakLanguages();

} // namespace Demo
