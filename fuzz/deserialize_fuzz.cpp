// Any bytes as the stored form of a string, at an even and at an odd address.
#include "fuzz/require.h"
#include <tessel/base/string.h>

#include <cstring>
#include <memory>

namespace {

void Check(const std::uint8_t* bytes, std::uint32_t size)
{
    WideString text = u"what was there before";
    const std::uint32_t used = text.Deserialize(bytes, size);
    Require(used <= size);
    Require(used != 0 || text.IsEmpty());
    Require(used == 4 || used == 0 || used >= 8);
    // A text may grow when it is widened, but no character comes out of nothing.
    Require(text.GetLength() <= size);
    const std::uint32_t storedSize = text.GetSerializedSize();
    const std::unique_ptr<std::uint8_t[]> stored(new std::uint8_t[storedSize]);
    Require(text.Serialize(stored.get()) == storedSize);
    WideString again;
    Require(again.Deserialize(stored.get(), storedSize) == storedSize);
    Require(again == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    for (const std::size_t shift : {0U, 1U}) {
        // An allocation of exactly this size, so that no byte behind it can be read unseen.
        const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[size + shift]);
        std::memcpy(copy.get() + shift, bytes, size);
        Check(copy.get() + shift, static_cast<std::uint32_t>(size));
    }
    return 0;
}
