// The archive form of an Error: one byte of 0 where it has no layers, else 1, version, data, details, shown
// layer, and the layers as code and text, the oldest first.
#include "base/error_record.h"
#include <tessel/base/archive.h>

#include <algorithm>

namespace {
constexpr std::uint32_t leastLayerBytes = 8; // a code and an empty text
constexpr std::uint32_t fixedBytes = 20; // version, data, details, shown layer and count, all empty
} // namespace

WriteArchive& operator<<(WriteArchive& archive, const Error& error)
{
    const bool hasLayers = error.GetLayerCount() != 0;
    archive << static_cast<std::uint8_t>(hasLayers);
    if (!hasLayers)
        return archive;
    const Error::Record& record = *error.record;
    archive.Reserve(std::uint64_t{leastLayerBytes} * record.layers.size() + fixedBytes);
    archive << record.version << record.data << record.details << record.shownLayer;
    archive << static_cast<std::uint32_t>(record.layers.size());
    for (const Error::Layer& layer : record.layers)
        archive << layer.code << layer.text;
    return archive;
}

ReadArchive& operator>>(ReadArchive& archive, Error& error)
{
    error.Clear();
    std::uint8_t hasLayers = 0;
    archive >> hasLayers;
    if (hasLayers == 0)
        return archive;
    error.MakeWritable(false);
    Error::Record& record = *error.record;
    std::uint32_t version = 0;
    archive >> version;
    if (version != Error::Record::currentVersion)
        ReadArchive::ThrowBadFormat();
    record.version = version;
    std::uint32_t count = 0;
    archive >> record.data >> record.details >> record.shownLayer >> count;
    std::uint32_t left = 0;
    archive.StartReading(left, 1);
    record.layers.reserve(std::min(count, left / leastLayerBytes)); // a false count reserves nothing more
    for (; count != 0; --count) {
        Error::Layer layer{};
        archive >> layer.code >> layer.text;
        record.layers.push_back(std::move(layer)); // and not AddLayer, which would change codes and texts
    }
    return archive;
}
