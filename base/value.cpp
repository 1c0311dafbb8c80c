#include <tessel/base/value.h>

#include <cstddef>

void Value::ThrowBadType(Type asked)
{
    // The layout that modules built apart share.
    static_assert(offsetof(Value, type) == 0 && offsetof(Value, number) == 8 && offsetof(Value, string) == 8
        && offsetof(Value, binary) == 8 && offsetof(Value, face) == 8 && offsetof(Value, handle) == 8);
    throw Error("bad val type %d", "tessel/val", asked);
}

WriteArchive& operator<<(WriteArchive& archive, const Value& value)
{
    archive << static_cast<std::uint32_t>(value.GetType());
    switch (value.GetType()) {
    case Value::Type::number:
        return archive << value.GetNumber();
    case Value::Type::string:
        return archive << value.GetString();
    case Value::Type::binary:
        return archive << value.GetBinary();
    case Value::Type::handle:
        return archive << value.GetHandle().value;
    default:
        return archive;
    }
}

namespace {
template <class Payload>
void ReadPayload(ReadArchive& archive, Value& value)
{
    Payload payload{};
    archive >> payload;
    value = payload;
}
} // namespace

ReadArchive& operator>>(ReadArchive& archive, Value& value)
{
    std::uint32_t type = 0;
    archive >> type;
    switch (static_cast<Value::Type>(type)) {
    case Value::Type::none:
        value.Reset();
        break;
    case Value::Type::number:
        ReadPayload<std::uint32_t>(archive, value);
        break;
    case Value::Type::string:
        ReadPayload<WideString>(archive, value);
        break;
    case Value::Type::binary:
        ReadPayload<Binary>(archive, value);
        break;
    case Value::Type::handle: {
        std::uint64_t number = 0;
        archive >> number;
        value = Handle{number};
        break;
    }
    default:
        ReadArchive::ThrowBadFormat();
    }
    return archive;
}
